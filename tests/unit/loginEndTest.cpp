// Ends of a process that is logging in, or whose tree build fails.
#include "fileSupport.h"

#include "Contender.h"
#include "ZANTO.h"
#include "ZANTOclock.h"
#include "ZANTOend.h"
#include "ZANTOlife.h"
#include "ZANTOsignals.h"

#include <atomic>
#include <csignal>
#include <stdio_ext.h>
#include <thread>
#include <unistd.h>

using ::testing::Eq;
using ::testing::ExitedWithCode;

namespace {

// How often the thread that ends the process has looked at the clock: when it begins, and
// before each step that has a limit.
std::atomic<int> looks{0};
std::atomic<pid_t> ender{0};

const ZANTOClock watched = {ZANTOSystemClock.now,
                            [] {
                                if (ZANTOIsEnder()) {
                                    ender = gettid();
                                    ++looks;
                                }
                                return std::chrono::steady_clock::now();
                            },
                            ZANTOSystemClock.pause};

// Each scenario in a child whose standard error tells the logins and logouts.
class LoginEndDeathTest : public StartupFilesTest {
protected:
    void SetUp() override
    {
        StartupFilesTest::SetUp();
        GTEST_FLAG_SET(death_test_style, "threadsafe");
    }

    // Builds from this crate; `during` is done inside the call that begins with `prefix`.
    void buildFrom(const FakeCrate &crate, const std::string &prefix,
                   const std::function<void()> &during)
    {
        __fpurge(stdout); // what the test program has printed itself
        alarm(20);        // watchdog
        fake.setCrate(crate);
        fake.setHook([=](const std::string &call) {
            if (isSession(call))
                dprintf(STDERR_FILENO, "%s\n", call.c_str());
            if (call.rfind(prefix, 0) == 0)
                during();
        });
        SetSigShutdownHandler();
        ZANTOStartSignalAnswer();
        StdoutCapture quiet;
        createSystemTree("CRATE", "10.0.0.9", "admin", "secret");
    }

    static bool isSession(const std::string &call)
    {
        return call.rfind("InitSystem", 0) == 0 || call.rfind("DeinitSystem", 0) == 0;
    }

    // The build throws on it, after the login.
    static FakeCrate brokenCrate()
    {
        FakeCrate crate = smallFakeCrate();
        crate.withheldLists = {"channelCounts"};
        return crate;
    }

    // Returns when the end of the process waits for the start-up work of the calling thread.
    static void signalAndWaitForTheEndToWait()
    {
        ZANTOPresentClock = &watched;
        raise(SIGTERM);
        while (looks < 2 || !sleeps(ender)) {
            if (looks > 2)
                _exit(94); // it has gone beyond
            std::this_thread::yield();
        }
    }

    [[noreturn]] static void waitForTheEnd()
    {
        while (true)
            pause();
    }
};

constexpr const char *login = "InitSystem(2, 0, 10.0.0.9, admin, secret)\n";
constexpr const char *loginAndLogout = "InitSystem(2, 0, 10.0.0.9, admin, secret)\n"
                                       "DeinitSystem(7)\n";

void nothing() {}

} // namespace

TEST_F(LoginEndDeathTest, ALoginThatIsAnsweredAfterTheSignalIsLoggedOut)
{
    EXPECT_EXIT(
        {
            buildFrom(smallFakeCrate(), "InitSystem", signalAndWaitForTheEndToWait);
            waitForTheEnd();
        },
        ExitedWithCode(0), Eq(loginAndLogout));
}

TEST_F(LoginEndDeathTest, ALoginThatFailsAfterTheSignalIsNotLoggedOut)
{
    EXPECT_EXIT(
        {
            fake.failCalls("InitSystem", 5);
            buildFrom(smallFakeCrate(), "InitSystem", signalAndWaitForTheEndToWait);
            waitForTheEnd();
        },
        ExitedWithCode(0), Eq(login));
}

TEST_F(LoginEndDeathTest, ASignalAfterABuildThatFailedDoesNotLogOutOnceMore)
{
    EXPECT_EXIT(
        {
            buildFrom(brokenCrate(), "InitSystem", nothing);
            raise(SIGTERM);
            ZANTOExit(); // as main does next
        },
        ExitedWithCode(0), Eq(loginAndLogout));
}

TEST_F(LoginEndDeathTest, ASignalDuringTheLogoutOfABuildThatFailedDoesNotLogOutOnceMore)
{
    EXPECT_EXIT(
        {
            buildFrom(brokenCrate(), "DeinitSystem", [] { raise(SIGTERM); });
            ZANTOExit();
        },
        ExitedWithCode(0), Eq(loginAndLogout));
}

TEST_F(LoginEndDeathTest, ASignalBeforeABuildFailsLogsOutOnce)
{
    EXPECT_EXIT(
        {
            buildFrom(brokenCrate(), "GetCrateMap", signalAndWaitForTheEndToWait);
            waitForTheEnd();
        },
        ExitedWithCode(0), Eq(loginAndLogout));
}
