#include "ZANTOcommandline.h"

#include "ZANTOtypes.h"

#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

constexpr size_t longestText = 254;
constexpr size_t longestCrate = 1023;

std::string bounded(const char *text, size_t longest)
{
    return std::string(text, strnlen(text, longest));
}

// Walks the arguments; an option's value is the argument behind it, if there is one.
class Arguments {
public:
    Arguments(int argc, char *argv[]) : m_argc(argc), m_argv(argv) {}

    bool next() { return ++m_index < m_argc; }
    std::string_view current() const { return m_argv[m_index]; }
    char *value() { return m_index + 1 < m_argc ? m_argv[++m_index] : nullptr; }

private:
    int m_argc;
    char **m_argv;
    int m_index = 1;
};

void readCrate(const char *value, ZANTOCommandLine &line)
{
    ++line.crateCount;
    ZANTOSplitCrate(bounded(value, longestCrate), line.crateName, line.host);
}

void readPassword(char *value, ZANTOCommandLine &line)
{
    line.password = bounded(value, longestText);
    std::memset(value, ' ', std::strlen(value));
}

// An option that takes a value and stands last is ignored, as is what is no option.
void readOption(Arguments &arguments, ZANTOCommandLine &line)
{
    const std::string_view option = arguments.current();
    if (option == "-v") {
        line.version = true;
    } else if (option == "-d") {
        line.daemon = true;
    } else if (option == "-c" || option == "-u" || option == "-p" || option == "-D") {
        char *value = arguments.value();
        if (value == nullptr)
            return;
        line.credentials = line.credentials || option == "-u" || option == "-p";
        if (option == "-c")
            readCrate(value, line);
        else if (option == "-u")
            line.user = bounded(value, longestText);
        else if (option == "-p")
            readPassword(value, line);
        else
            DEBUG = static_cast<int16_t>(std::strtol(value, nullptr, 10));
    }
}

} // namespace

void ZANTOSplitCrate(const std::string &value, std::string &crateName, std::string &host)
{
    const auto token = [&value](size_t &at, const char *byDefault) {
        at = value.find_first_not_of('@', at);
        if (at == std::string::npos)
            return std::string(byDefault);
        const size_t end = value.find('@', at);
        std::string text = value.substr(at, end - at);
        at = end;
        return text;
    };
    size_t at = 0;
    crateName = token(at, "ZANTO");
    host = token(at, "127.0.0.1");
}

ZANTOCommandLine ZANTOParseCommandLine(int argc, char *argv[])
{
    ZANTOCommandLine line;
    if (argc > 1)
        line.script = bounded(argv[1], longestText);
    Arguments arguments(argc, argv);
    while (!line.version && arguments.next())
        readOption(arguments, line);
    return line;
}
