// Ends of a process that is logging in, or whose tree build fails.
#include "fileSupport.h"

#include "ZANTO.h"
#include "ZANTOend.h"
#include "ZANTOlife.h"
#include "ZANTOsignals.h"

#include <csignal>
#include <stdio_ext.h>
#include <thread>
#include <unistd.h>

using ::testing::Eq;
using ::testing::ExitedWithCode;

namespace {

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
    static void signalAndWaitForTheEndToBegin()
    {
        raise(SIGTERM);
        // The pause of a thread that does no such work is only cut short.
        std::thread([] { ZANTOStartupPause(std::chrono::hours(1)); }).join();
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
            buildFrom(smallFakeCrate(), "InitSystem", signalAndWaitForTheEndToBegin);
            waitForTheEnd();
        },
        ExitedWithCode(0), Eq(loginAndLogout));
}

TEST_F(LoginEndDeathTest, ALoginThatFailsAfterTheSignalIsNotLoggedOut)
{
    EXPECT_EXIT(
        {
            fake.failCalls("InitSystem", 5);
            buildFrom(smallFakeCrate(), "InitSystem", signalAndWaitForTheEndToBegin);
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
            buildFrom(brokenCrate(), "GetCrateMap", signalAndWaitForTheEndToBegin);
            waitForTheEnd();
        },
        ExitedWithCode(0), Eq(loginAndLogout));
}
