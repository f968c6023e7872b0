#include "ZANTOmessages.h"

#include "ZANTOlife.h"
#include "ZANTOstatic.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <new>
#include <string>
#include <vector>

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

// How often a thread that waits for the output looks whether the process is ending.
constexpr milliseconds glance{20};
// How long it leaves the stream to others that print past this module.
constexpr milliseconds streamPause{1};
// A pipe that takes anything takes this much without blocking (POSIX' least PIPE_BUF).
constexpr std::size_t portion = 512;

struct Output {
    std::mutex mutex;
    std::condition_variable changed;
    bool taken = false; // guarded by mutex
    // The ender's own.
    bool patient = true; // waits without a limit
    steady_clock::time_point giveUpAt;
    std::string unsaid;
};

std::atomic<void (*)()> beforeMessage{nullptr};

Output &output()
{
    static ZANTONeverDestroyed<Output> instance;
    return instance.get();
}

// The calling thread has no reason to wait any longer.
bool isInVain()
{
    if (!ZANTOMaySpeak())
        return true;
    return ZANTOIsEnder() && !output().patient && steady_clock::now() >= output().giveUpAt;
}

// The turn to print, for a scope, so that messages stay whole.
class Turn {
public:
    Turn()
    {
        Output &out = output();
        std::unique_lock<std::mutex> lock(out.mutex);
        while (out.taken && !isInVain())
            out.changed.wait_for(lock, glance);
        m_has = !out.taken && ZANTOMaySpeak();
        out.taken = out.taken || m_has;
    }
    ~Turn()
    {
        if (!m_has)
            return;
        Output &out = output();
        std::lock_guard<std::mutex> lock(out.mutex);
        out.taken = false;
        out.changed.notify_one();
    }
    Turn(const Turn &) = delete;
    Turn &operator=(const Turn &) = delete;

    explicit operator bool() const { return m_has; }

private:
    bool m_has = false;
};

// The stream's own lock for a scope: others print past this module and may be stuck in it.
class Stream {
public:
    Stream()
    {
        while (!(m_has = ftrylockfile(stdout) == 0) && !isInVain())
            poll(nullptr, 0, static_cast<int>(streamPause.count()));
    }
    ~Stream()
    {
        if (m_has)
            funlockfile(stdout);
    }
    Stream(const Stream &) = delete;
    Stream &operator=(const Stream &) = delete;

    explicit operator bool() const { return m_has; }

private:
    bool m_has = false;
};

// False when waiting for it is in vain. An error is left for the writing to find.
bool outputTakesSomething()
{
    pollfd out = {fileno(stdout), POLLOUT, 0};
    int ready = poll(&out, 1, 0);
    while (ready == 0 || (ready < 0 && errno == EINTR)) {
        if (isInVain())
            return false;
        ready = poll(&out, 1, static_cast<int>(glance.count()));
    }
    return true;
}

void prepareMessage()
{
    if (void (*const call)() = beforeMessage)
        call();
}

// How much was printed, in portions that do not block.
std::size_t printPortions(const char *text, std::size_t length)
{
    std::size_t printed = 0;
    while (printed < length && outputTakesSomething()) {
        if (printed == 0)
            prepareMessage();
        const std::size_t part = std::min(length - printed, portion);
        std::fwrite(text + printed, 1, part, stdout);
        printed += part;
    }
    return printed;
}

std::size_t printNow(const char *text, std::size_t length)
{
    const Turn turn;
    if (!turn)
        return 0;
    const Stream stream;
    return stream ? printPortions(text, length) : 0;
}

void printForTheEnd(const char *text, std::size_t length)
{
    std::string &unsaid = output().unsaid;
    bool kept = true;
    try {
        unsaid.append(text, length);
    } catch (const std::bad_alloc &) {
        kept = false; // said now or never: the end goes on
    }
    unsaid.erase(0, printNow(unsaid.data(), unsaid.size()));
    if (!kept && unsaid.empty())
        printNow(text, length);
}

__attribute__((format(printf, 1, 0))) void printLong(const char *format, std::size_t length,
                                                     va_list arguments, const char *beginning)
{
    std::vector<char> text;
    try {
        text.resize(length + 1);
    } catch (const std::bad_alloc &) {
        ZANTOPrintText(beginning, std::strlen(beginning));
        return;
    }
    std::vsnprintf(text.data(), text.size(), format, arguments);
    ZANTOPrintText(text.data(), length);
}

} // namespace

void ZANTOPrint(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    ZANTOPrintList(format, arguments);
    va_end(arguments);
}

void ZANTOPrintLine(const char *text) { ZANTOPrint("%s\n", text); }

void ZANTOPrintList(const char *format, va_list arguments)
{
    char text[1024];
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(text, sizeof(text), format, arguments);
    if (length >= static_cast<int>(sizeof(text))) {
        printLong(format, static_cast<std::size_t>(length), again, text);
    } else if (length > 0) {
        ZANTOPrintText(text, static_cast<std::size_t>(length));
    }
    va_end(again);
}

void ZANTOPrintText(const char *text, std::size_t length)
{
    if (ZANTOIsEnder())
        printForTheEnd(text, length);
    else
        printNow(text, length);
}

void ZANTOSetBeforeMessage(void (*call)()) { beforeMessage = call; }

void ZANTOSetPrintPatience(milliseconds patience)
{
    output().patient = false;
    output().giveUpAt = steady_clock::now() + patience;
}

bool ZANTOFinishPrinting()
{
    printForTheEnd("", 0);
    if (!output().unsaid.empty())
        return false;
    const Turn turn;
    const Stream stream;
    if (!turn || !stream || !outputTakesSomething())
        return false;
    std::fflush(stdout);
    return true;
}
