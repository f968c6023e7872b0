#include "ZANTOprogress.h"

#include "ZANTOclock.h"
#include "ZANTOlife.h"
#include "ZANTOmessages.h"
#include "ZANTOstatic.h"
#include "ZANTOtypes.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <mutex>
#include <string_view>

using std::chrono::milliseconds;
using std::chrono::seconds;

namespace {

// Who reads a small crate sees nothing flicker.
constexpr milliseconds firstShown{500};
constexpr milliseconds shownEvery{100};
constexpr std::size_t widthWhenUnknown = 80;
// To the first column and to the end of the line: what the terminal echoed goes too.
constexpr std::string_view erase = "\r\033[K";

struct Line {
    std::mutex mutex;
    // Guarded by mutex.
    int terminal = -1;   // its own, non-blocking; -1: none
    bool stands = false; // something of it may be there
    bool over = true;    // no more will be shown
};

Line &line()
{
    static ZANTONeverDestroyed<Line> instance;
    return instance.get();
}

// ---- the terminal ----

bool canErase()
{
    const char *kind = std::getenv("TERM");
    return kind != nullptr && *kind != '\0' && std::string_view(kind) != "dumb";
}

// A way to the same terminal whose mode nobody else shares; -1: there shall be no line.
int openTerminal(int descriptor)
{
    const bool messagesAreShown = DEBUG > 0 && isatty(STDOUT_FILENO) != 0;
    if (messagesAreShown || isatty(descriptor) == 0 || !canErase())
        return -1;
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    return open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
}

// In the background the terminal is somebody else's, and may stop whoever writes to it.
bool isInFront(int terminal)
{
    const pid_t front = tcgetpgrp(terminal);
    return front < 0 || front == getpgrp();
}

std::size_t widthOf(int terminal)
{
    winsize size = {};
    return ioctl(terminal, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col
                                                                      : widthWhenUnknown;
}

// False when the terminal took a part of it at most and may take the rest later.
bool writeTo(int terminal, std::string_view text)
{
    const ssize_t written = write(terminal, text.data(), text.size());
    if (written < 0)
        return errno != EAGAIN && errno != EINTR;
    return static_cast<std::size_t>(written) == text.size();
}

// ---- the line, its mutex being held ----

void wipe(Line &l)
{
    if (l.stands && isInFront(l.terminal))
        l.stands = !writeTo(l.terminal, erase);
    if (l.stands || !l.over || l.terminal < 0)
        return;
    close(l.terminal);
    l.terminal = -1;
    ZANTOSetBeforeMessage(nullptr);
}

// The cursor waits in the first column, and what others print begins there.
void show(Line &l, std::string text)
{
    if (l.terminal < 0 || !ZANTOMaySpeak() || !isInFront(l.terminal))
        return;
    text.resize(std::min(text.size(), widthOf(l.terminal) - 1));
    l.stands = true;
    writeTo(l.terminal, std::string(erase) + text + '\r');
}

std::string counted(uint32_t count, const std::string &what)
{
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

} // namespace

std::string ZANTOTimeLeftText(seconds left)
{
    constexpr int64_t step = 5;
    constexpr int64_t minute = 60;
    constexpr int64_t hour = 60 * minute;
    const auto rounded = [count = left.count()](int64_t unit) { return (count + unit / 2) / unit; };
    std::string text;
    if (left.count() < minute - step)
        text = std::to_string(std::max((left.count() + step - 1) / step, int64_t{1}) * step) + " s";
    else if (left.count() < 2 * hour)
        text = std::to_string(rounded(minute)) + " min";
    else
        text = std::to_string(rounded(hour)) + " h";
    return "about " + text + " left";
}

std::string ZANTOReadingText(const ZANTOReadingState &state, milliseconds elapsed)
{
    std::string text = "Reading the crate: ";
    if (state.slot >= 0)
        text += "slot " + std::to_string(state.slot) + ", ";
    if (state.channel >= 0)
        text += "channel " + std::to_string(state.channel) + ", ";
    text += counted(state.parameters, "parameter");
    if (state.channelsRead == 0 || state.channels < state.channelsRead)
        return text;
    const milliseconds left = elapsed * (state.channels - state.channelsRead) / state.channelsRead;
    return text + ", " + ZANTOTimeLeftText(std::chrono::duration_cast<seconds>(left));
}

ZANTOReadingProgress::ZANTOReadingProgress(int descriptor)
    : m_begin(ZANTOSteadyNow()), m_next(m_begin + firstShown)
{
    Line &l = line();
    std::lock_guard<std::mutex> lock(l.mutex);
    if (l.terminal < 0)
        l.terminal = openTerminal(descriptor);
    m_shown = l.terminal >= 0;
    l.over = !m_shown;
    if (m_shown)
        ZANTOSetBeforeMessage(ZANTOWipeProgress);
}

ZANTOReadingProgress::~ZANTOReadingProgress()
{
    Line &l = line();
    std::lock_guard<std::mutex> lock(l.mutex);
    l.over = true;
    wipe(l);
}

void ZANTOReadingProgress::moveTo(int32_t slot, int32_t channel)
{
    m_state.slot = slot;
    m_state.channel = channel;
}

void ZANTOReadingProgress::parameterRead()
{
    ++m_state.parameters;
    if (!m_shown)
        return;
    const auto now = ZANTOSteadyNow();
    if (now < m_next)
        return;
    m_next = now + shownEvery;
    Line &l = line();
    std::lock_guard<std::mutex> lock(l.mutex);
    show(l, ZANTOReadingText(m_state, std::chrono::duration_cast<milliseconds>(now - m_begin)));
}

void ZANTOWipeProgress()
{
    Line &l = line();
    std::lock_guard<std::mutex> lock(l.mutex);
    wipe(l);
}
