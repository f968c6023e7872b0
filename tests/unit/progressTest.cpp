#include "unitSupport.h"

#include "Installed.h"
#include "ZANTOclock.h"
#include "ZANTOlife.h"
#include "ZANTOmessages.h"
#include "ZANTOprogress.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>

using std::chrono::milliseconds;
using std::chrono::seconds;
using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

// ---- text ----

TEST(ProgressText, TheTimeLeftIsRounded)
{
    const struct {
        seconds left;
        const char *text;
    } cases[] = {
        {seconds(0), "about 5 s left"},    {seconds(5), "about 5 s left"},
        {seconds(6), "about 10 s left"},   {seconds(54), "about 55 s left"},
        {seconds(55), "about 1 min left"}, {seconds(89), "about 1 min left"},
        {seconds(90), "about 2 min left"}, {seconds(7199), "about 120 min left"},
        {seconds(7200), "about 2 h left"}, {seconds(80000), "about 22 h left"},
    };
    for (const auto &each : cases)
        EXPECT_EQ(ZANTOTimeLeftText(each.left), each.text);
}

TEST(ProgressText, SlotChannelAndParametersAreTold)
{
    ZANTOReadingState state;
    EXPECT_EQ(ZANTOReadingText(state, seconds(1)), "Reading the crate: 0 parameters");
    state.slot = 3;
    state.parameters = 1;
    EXPECT_EQ(ZANTOReadingText(state, seconds(1)), "Reading the crate: slot 3, 1 parameter");
    state.channel = 17;
    state.parameters = 1234;
    EXPECT_EQ(ZANTOReadingText(state, seconds(1)),
              "Reading the crate: slot 3, channel 17, 1234 parameters");
}

TEST(ProgressText, TheTimeLeftFollowsFromTheShareOfChannels)
{
    ZANTOReadingState state;
    state.channels = 768;
    EXPECT_THAT(ZANTOReadingText(state, seconds(60)), EndsWith("0 parameters"));
    state.channelsRead = 256;
    EXPECT_THAT(ZANTOReadingText(state, seconds(60)), EndsWith(", about 2 min left"));
    state.channelsRead = 768;
    EXPECT_THAT(ZANTOReadingText(state, seconds(60)), EndsWith(", about 5 s left"));
    state.channelsRead = 769; // more than the crate had said
    EXPECT_THAT(ZANTOReadingText(state, seconds(60)), EndsWith("0 parameters"));
}

// ---- line ----

namespace {

// A terminal that nobody is in front of; read by the test.
class Pty {
public:
    Pty()
    {
        EXPECT_EQ(grantpt(m_master), 0);
        EXPECT_EQ(unlockpt(m_master), 0);
        terminal = open(ptsname(m_master), O_RDWR | O_NOCTTY);
        EXPECT_GE(terminal, 0);
        termios settings = {};
        tcgetattr(terminal, &settings);
        cfmakeraw(&settings);
        tcsetattr(terminal, TCSANOW, &settings);
        setWidth(100);
    }
    ~Pty()
    {
        close(terminal);
        close(m_master);
    }
    Pty(const Pty &) = delete;
    Pty &operator=(const Pty &) = delete;

    void setWidth(uint16_t columns) const
    {
        winsize size = {};
        size.ws_col = columns;
        EXPECT_EQ(ioctl(terminal, TIOCSWINSZ, &size), 0);
    }
    // Ctrl-S and Ctrl-Q
    void stop() const { EXPECT_EQ(tcflow(terminal, TCOOFF), 0); }
    void goOn() const { EXPECT_EQ(tcflow(terminal, TCOON), 0); }
    // Until it takes no byte more.
    void fill() const
    {
        const int own = open(ptsname(m_master), O_WRONLY | O_NONBLOCK | O_NOCTTY);
        while (write(own, "x", 1) == 1) {
        }
        close(own);
    }

    // What it was given since the last time.
    std::string shown() const
    {
        std::string text;
        char part[4096];
        for (ssize_t got = read(m_master, part, sizeof(part)); got > 0;
             got = read(m_master, part, sizeof(part)))
            text.append(part, static_cast<std::size_t>(got));
        return text;
    }

    int terminal = -1;

private:
    const int m_master = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
};

std::chrono::steady_clock::time_point present;

const ZANTOClock handClock = {ZANTOSystemClock.now, [] { return present; }, ZANTOSystemClock.pause};

constexpr const char *wiped = "\r\033[K";

class ProgressLine : public ZantoTest {
protected:
    void SetUp() override
    {
        ZantoTest::SetUp();
        const char *kind = std::getenv("TERM");
        m_kind = kind == nullptr ? std::nullopt : std::optional<std::string>(kind);
        setenv("TERM", "xterm", 1);
        beginNewLife();
    }
    void TearDown() override
    {
        if (m_kind)
            setenv("TERM", m_kind->c_str(), 1);
        else
            unsetenv("TERM");
        beginNewLife();
        ZantoTest::TearDown();
    }

    static void read(ZANTOReadingProgress &progress, milliseconds later)
    {
        present += later;
        progress.parameterRead();
    }
    void start(int descriptor) { m_progress.emplace(descriptor); }
    void start() { start(pty.terminal); }
    void read(milliseconds later) { read(*m_progress, later); }
    void finish() { m_progress.reset(); }
    // As `count` parameters, each so much later.
    void read(int count, milliseconds later)
    {
        for (int i = 0; i < count; ++i)
            read(later);
    }

    Pty pty;

private:
    const Installed<ZANTOClock> m_installed{ZANTOPresentClock, handClock};
    std::optional<ZANTOReadingProgress> m_progress;
    std::optional<std::string> m_kind;
};

long long occurrences(const std::string &text, const std::string &wanted)
{
    long long count = 0;
    for (auto at = text.find(wanted); at != text.npos; at = text.find(wanted, at + 1))
        ++count;
    return count;
}

} // namespace

TEST_F(ProgressLine, ItIsShownAndWiped)
{
    start();
    read(milliseconds(500));
    EXPECT_EQ(pty.shown(), std::string(wiped) + "Reading the crate: 1 parameter\r");
    finish();
    EXPECT_EQ(pty.shown(), wiped);
}

TEST_F(ProgressLine, NothingIsShownOfASmallCrate)
{
    start();
    read(499, milliseconds(1));
    finish();
    EXPECT_EQ(pty.shown(), "");
}

TEST_F(ProgressLine, ItIsShownTenTimesASecond)
{
    start();
    read(milliseconds(500));
    pty.shown();
    read(100'000, milliseconds(1)); // 100 s
    // More than the terminal takes unread is left out.
    EXPECT_LE(occurrences(pty.shown(), "Reading"), 1000);
    read(1000, milliseconds(1));
    EXPECT_EQ(occurrences(pty.shown(), "Reading"), 10);
}

TEST_F(ProgressLine, ItIsNoWiderThanTheTerminal)
{
    start();
    pty.setWidth(11);
    read(milliseconds(500));
    EXPECT_EQ(pty.shown(), std::string(wiped) + "Reading th\r");
    pty.setWidth(1);
    read(milliseconds(500));
    EXPECT_EQ(pty.shown(), std::string(wiped) + "\r");
    pty.setWidth(0); // nobody knows
    read(milliseconds(500));
    EXPECT_THAT(pty.shown(), EndsWith("3 parameters\r"));
}

TEST_F(ProgressLine, ThereIsNoneWithoutATerminal)
{
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
    start(ends[1]);
    read(2, seconds(1));
    finish();
    char byte = 0;
    EXPECT_EQ(::read(ends[0], &byte, 1), -1);
    EXPECT_EQ(errno, EAGAIN);
    close(ends[0]);
    close(ends[1]);
}

TEST_F(ProgressLine, ThereIsNoneOnATerminalThatCannotErase)
{
    for (const char *kind : {"dumb", "", static_cast<const char *>(nullptr)}) {
        kind == nullptr ? unsetenv("TERM") : setenv("TERM", kind, 1);
        start();
        read(2, seconds(1));
        finish();
        EXPECT_EQ(pty.shown(), "");
    }
}

TEST_F(ProgressLine, ThereIsNoneAmongMessagesOnATerminal)
{
    const int saved = dup(STDOUT_FILENO);
    dup2(pty.terminal, STDOUT_FILENO);
    DEBUG = 1;
    start();
    read(2, seconds(1));
    finish();
    DEBUG = 0;
    dup2(saved, STDOUT_FILENO);
    close(saved);
    EXPECT_EQ(pty.shown(), "");
}

TEST_F(ProgressLine, ItDoesNotDisturbMessagesThatGoElsewhere)
{
    const StdoutCapture elsewhere;
    DEBUG = 1;
    start();
    read(seconds(1));
    finish();
    DEBUG = 0;
    EXPECT_THAT(pty.shown(), HasSubstr("Reading"));
}

TEST_F(ProgressLine, AMessageWipesIt)
{
    StdoutCapture output;
    start();
    read(seconds(1));
    pty.shown();
    ZANTOPrintLine("a message");
    EXPECT_EQ(pty.shown(), wiped);
    ZANTOPrintLine("another");
    EXPECT_EQ(pty.shown(), "");
    read(seconds(1));
    EXPECT_THAT(pty.shown(), HasSubstr("2 parameters"));
    finish();
    EXPECT_EQ(output.text(), "a message\nanother\n");
}

TEST_F(ProgressLine, TheEndOfTheProcessWipesItForGood)
{
    start();
    read(seconds(1));
    pty.shown();
    ASSERT_TRUE(ZANTONoteSignal(SIGTERM)); // this thread is not the one that ends the process
    ZANTOWipeProgress();
    EXPECT_EQ(pty.shown(), wiped);
    read(seconds(1));
    EXPECT_EQ(pty.shown(), "");
    finish();
    EXPECT_EQ(pty.shown(), "");
}

TEST_F(ProgressLine, AStoppedTerminalIsNotWaitedFor)
{
    const StdoutCapture elsewhere;
    start();
    read(seconds(1));
    pty.shown();
    pty.stop();
    read(5, seconds(1));
    finish();
    EXPECT_EQ(pty.shown(), "");
    pty.goOn();
    ZANTOPrintLine("the next message wipes what still stands there");
    EXPECT_EQ(pty.shown(), wiped);
    ZANTOPrintLine("then there is nothing more to wipe");
    EXPECT_EQ(pty.shown(), "");
}

TEST_F(ProgressLine, AFullTerminalIsNotWaitedFor)
{
    const StdoutCapture elsewhere;
    start();
    read(seconds(1));
    pty.fill();
    read(5, seconds(1));
    finish();
    EXPECT_THAT(pty.shown(), AllOf(StartsWith(wiped), EndsWith("xx")));
    ZANTOPrintLine("the next message wipes what still stands there");
    EXPECT_EQ(pty.shown(), wiped);
}

TEST_F(ProgressLine, TheTerminalIsClosed)
{
    const int next = dup(STDIN_FILENO);
    close(next);
    start();
    read(seconds(1));
    finish();
    const int now = dup(STDIN_FILENO);
    close(now);
    EXPECT_EQ(now, next);
}
