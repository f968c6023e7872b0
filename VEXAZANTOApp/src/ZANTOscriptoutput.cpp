#include "ZANTOscriptoutput.h"

#include "ZANTOlife.h"
#include "ZANTOmessages.h"

#include <epicsStdio.h>

#include <sys/types.h>

namespace {

ssize_t print(void *, const char *text, size_t length)
{
    ZANTOParkIfEnding();
    ZANTOPrintText(text, length);
    ZANTOParkIfEnding();
    return static_cast<ssize_t>(length);
}

} // namespace

ZANTOScriptOutput::ZANTOScriptOutput()
{
    cookie_io_functions_t functions = {};
    functions.write = print;
    m_stream.reset(fopencookie(nullptr, "w", functions));
    if (m_stream == nullptr)
        return;
    std::setvbuf(m_stream.get(), nullptr, _IOLBF, 0);
    epicsSetThreadStdout(m_stream.get());
}

ZANTOScriptOutput::~ZANTOScriptOutput()
{
    if (m_stream != nullptr)
        epicsSetThreadStdout(nullptr);
}
