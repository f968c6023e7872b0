// A termination signal makes the access library give up the call that is under way: whichever
// call of the tree build it is, nothing is said or done about it.
#include "fileSupport.h"

#include "ZANTO.h"
#include "ZANTOlife.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr std::chrono::milliseconds watchdog{20000};

// The end of the process can only go forward, so each case has a process of its own.
class InterruptedCallDeathTest : public StartupFilesTest {
protected:
    void SetUp() override
    {
        StartupFilesTest::SetUp();
        GTEST_FLAG_SET(death_test_style, "threadsafe");
    }

    // Every kind of call, as few of each as there can be.
    static FakeCrate crateOfEveryCall()
    {
        FakeCrate crate = smallFakeCrate();
        crate.slots.resize(1);
        crate.slots[0].channels.resize(1);
        return crate;
    }
};

off_t printedSoFar()
{
    std::fflush(stdout);
    return lseek(STDOUT_FILENO, 0, SEEK_CUR);
}

// What a process ends with whose build is interrupted.
enum Outcome { silent = 0, spoke = 11, wentOn = 12, didNotStop = 13, wasNotStopped = 14 };

struct Interruption {
    std::size_t calls = 0;
    off_t printed = 0;

    // For the thread that ends the process.
    [[noreturn]] void judge() const
    {
        ZANTOTakeOverEnd();
        if (!ZANTOAwaitStartup(watchdog))
            _exit(didNotStop);
        if (printedSoFar() != printed)
            _exit(spoke);
        _exit(FakeAccessLibrary::instance().calls().size() == calls ? silent : wentOn);
    }
};

void endBegins(Interruption &interruption)
{
    interruption.calls = FakeAccessLibrary::instance().calls().size();
    interruption.printed = printedSoFar();
    ZANTONoteSignal(SIGTERM); // as its handler does
    std::thread([&interruption] { interruption.judge(); }).detach();
}

// Builds with the n-th call interrupted; for a process of its own.
[[noreturn]] void buildInterrupted(int n)
{
    static Interruption interruption;
    static int seen = 0;
    ZANTOBeginLife();
    FakeAccessLibrary &fake = FakeAccessLibrary::instance();
    fake.failCalls("", -EINTR, n);
    fake.setHook([n](const std::string &) {
        if (++seen == n)
            endBegins(interruption);
    });
    DEBUG = 2;
    StdoutCapture capture;
    createSystemTree("CRATE", "10.0.0.9", "admin", "secret");
    _exit(wasNotStopped);
}

int outcomeOf(int n)
{
    const pid_t child = fork();
    if (child == 0)
        buildInterrupted(n);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// For a process of one thread.
int outcomesThatAreNotSilent(const Lines &calls)
{
    int wrong = 0;
    for (std::size_t i = 0; i < calls.size(); ++i) {
        const int outcome = outcomeOf(static_cast<int>(i) + 1);
        if (outcome == silent)
            continue;
        ++wrong;
        std::fprintf(stderr, "%s: %d\n", calls[i].c_str(), outcome);
    }
    return wrong;
}

} // namespace

TEST_F(InterruptedCallDeathTest, NothingIsSaidAndNoCallFollows)
{
    const auto allCalls = [this] {
        fake.setCrate(crateOfEveryCall());
        Lines calls;
        fake.setHook([&calls](const std::string &call) { calls.push_back(call); });
        {
            StdoutCapture quiet;
            createSystemTree("CRATE", "10.0.0.9", "admin", "secret");
        }
        fake.setHook(nullptr);
        fake.forgetCalls();
        return calls;
    };
    EXPECT_EXIT(
        {
            const Lines calls = allCalls();
            _exit(calls.size() < 40 ? 99 : outcomesThatAreNotSilent(calls));
        },
        ::testing::ExitedWithCode(0), "^$");
}
