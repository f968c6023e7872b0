#include "shutdownSupport.h"

#include <epicsExit.h>

#include <atomic>
#include <cstdlib>
#include <thread>

using ::testing::Eq;
using ::testing::ExitedWithCode;

// ---- shutdown ----

TEST_F(ShutdownDeathTest, UnsubscribesLogsOutAndEndsWithStatus0)
{
    EXPECT_EXIT(shutDown(0), ExitedWithCode(0), Eq(loggedOut));
}

TEST_F(ShutdownDeathTest, TellsItsBeginAndEndFromLevel1On)
{
    EXPECT_EXIT(shutDown(1), ExitedWithCode(0), Eq(withMessages(loggedOut)));
}

TEST_F(ShutdownDeathTest, WithoutATreeCallsNothing)
{
    EXPECT_EXIT(
        {
            prepare(0);
            Shutdown();
        },
        ExitedWithCode(0), Eq(""));
    EXPECT_EXIT(
        {
            prepare(1);
            Shutdown();
        },
        ExitedWithCode(0), Eq(withMessages("")));
}

TEST_F(ShutdownDeathTest, OfATreeThatIsNotCompleteOnlyLogsOut)
{
    EXPECT_EXIT(
        {
            prepare(0);
            ZANTOBeginTree();
            plantTree(ZANTOPhase::building);
            Shutdown();
        },
        ExitedWithCode(0), Eq("DeinitSystem(7)\n"));
}

TEST_F(ShutdownDeathTest, IgnoresWhatUnsubscribeAndLogoutReturn)
{
    fake.failCalls("UnSubscribe", 5);
    fake.failCalls("DeinitSystem", 6);
    EXPECT_EXIT(shutDown(0), ExitedWithCode(0), Eq(loggedOut));
}

TEST_F(ShutdownDeathTest, DeletesTheTree)
{
    EXPECT_EXIT(
        {
            std::atexit([] {
                dprintf(STDERR_FILENO, "%d nodes, root %s\n", liveNodes(),
                        systemNode == nullptr ? "gone" : "there");
            });
            shutDown(0);
        },
        ExitedWithCode(0), Eq(std::string(loggedOut) + "0 nodes, root gone\n"));
}

TEST_F(ShutdownDeathTest, FromManyThreadsHappensOnce)
{
    EXPECT_EXIT(
        {
            prepare(1);
            plantTree();
            ZANTOOpenTree();
            std::thread(Shutdown).detach();
            std::thread(Shutdown).detach();
            Shutdown();
        },
        ExitedWithCode(0), Eq(withMessages(loggedOut)));
}

// Exit hooks would take apart what the script is putting together.
TEST_F(ShutdownDeathTest, InsideTheScriptRunsNoExitHooksButLosesNoOutput)
{
    EXPECT_EXIT(
        {
            prepare(0);
            static char buffer[BUFSIZ]; // without one of its own the stream stays unbuffered
            std::setvbuf(stdout, buffer, _IOFBF, sizeof(buffer));
            std::printf("buffered\n");
            std::atexit([] { dprintf(STDERR_FILENO, "exit hook\n"); });
            reach(ZANTOPhase::script);
            Shutdown();
        },
        ExitedWithCode(0), Eq("DeinitSystem(7)\nbuffered\n"));
}

TEST_F(ShutdownDeathTest, WaitsForStartupWorkToReachACheckpoint)
{
    EXPECT_EXIT(
        {
            prepare(0);
            ZANTOBeginTree();
            const ZANTOStartupWork work;
            plantTree(ZANTOPhase::building);
            m_onCall = [](const std::string &call) {
                if (startsWith(call, "GetSysPropList"))
                    std::thread(Shutdown).detach();
            };
            uint16_t count = 0;
            char *list = nullptr;
            VEXAHV_GetSysPropList(crateHandle, &count, &list);
            while (true)
                ZANTOStartupCheckpoint();
        },
        ExitedWithCode(0), Eq("GetSysPropList(7)\nDeinitSystem(7)\n"));
}

// ---- driver ----

TEST_F(ShutdownDeathTest, TheDriverHasTwoEntriesAndNoReport)
{
    EXPECT_EQ(pvar_drvet_drvVEXAZANTO->number, 2);
    EXPECT_EQ(pvar_drvet_drvVEXAZANTO->report, nullptr);
    EXPECT_NE(pvar_drvet_drvVEXAZANTO->init, nullptr);
}

TEST_F(ShutdownDeathTest, TheDriversInitTellsItsStartAtEveryLevel)
{
    EXPECT_EXIT(
        {
            initDriver(0);
            _exit(0);
        },
        ExitedWithCode(0), Eq("Starting VEXA ZANTO driver\n"));
    EXPECT_EXIT(
        {
            initDriver(1);
            _exit(0);
        },
        ExitedWithCode(0), Eq("Starting VEXA ZANTO driver\n\nVEXA ZANTO driver ready\n"));
}

TEST_F(ShutdownDeathTest, TheDriversInitIgnoresRefusedSubscriptions)
{
    fake.failCalls("Subscribe", 5);
    EXPECT_EXIT(
        {
            initDriver(0); // ends with status 1 unless init returns 0
            _exit(0);
        },
        ExitedWithCode(0), Eq("Starting VEXA ZANTO driver\n"));
}

TEST_F(ShutdownDeathTest, TheDriversInitSubscribesWithThePortReallyBound)
{
    EXPECT_EXIT(
        {
            initDriver(0);
            const bool chosen = tcpPort != 0;
            _exit(chosen && fake.calls() == subscriptionsAt(tcpPort) ? 0 : 1);
        },
        ExitedWithCode(0), "");
}

TEST_F(ShutdownDeathTest, AnExitOfTheIocLogsOut)
{
    EXPECT_EXIT(
        {
            initDriver(0);
            fake.setHook([](const std::string &call) {
                if (startsWith(call, "DeinitSystem"))
                    dprintf(STDERR_FILENO, "%s\n", call.c_str());
            });
            epicsExit(0);
        },
        ExitedWithCode(0), Eq("Starting VEXA ZANTO driver\nDeinitSystem(7)\n"));
}
