// The time that an end takes, and an output that takes nothing.
#include "shutdownSupport.h"

#include "ZANTOclock.h"
#include "ZANTOmessages.h"
#include "ZANTOscriptoutput.h"

#include <epicsExit.h>
#include <epicsStdio.h>
#include <errlog.h>
#include <iocInit.h>

#include <atomic>
#include <chrono>
#include <fcntl.h>
#include <future>
#include <thread>

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using ::testing::Eq;
using ::testing::ExitedWithCode;
using ::testing::HasSubstr;

namespace {

// On a clock that stands still unless a call takes its time.
std::atomic<int64_t> passed{0};

const ZANTOClock standing = {ZANTOSystemClock.now,
                             [] { return steady_clock::time_point(milliseconds(passed)); },
                             ZANTOSystemClock.pause};

class EndDeathTest : public ShutdownDeathTest {
protected:
    // Every call that begins with `prefix` takes `time` of the fake clock.
    void takesTime(const char *prefix, int time)
    {
        ZANTOPresentClock = &standing;
        m_onCall = [prefix, time](const std::string &call) {
            if (startsWith(call, prefix))
                passed += time;
        };
    }

    // The clock goes far beyond every limit and the call does not return.
    void neverReturns(const char *prefix)
    {
        ZANTOPresentClock = &standing;
        m_onCall = [prefix](const std::string &call) {
            if (!startsWith(call, prefix))
                return;
            passed += 11000;
            waitForTheEnd();
        };
    }

    static void plantLevels(int boards)
    {
        plantTree();
        for (int i = 0; i < boards; ++i) {
            ZANTONode *board = bareNode("Board", nodeTypeBoardItem);
            systemNode->addChildNode(board);
            add(board, "Temp", nodeTypeBoardParam, nodeAccessRead);
        }
    }

    // Standard output becomes a pipe that takes nothing more; its reading end.
    static int fillOutput()
    {
        int ends[2];
        if (pipe(ends) != 0)
            _exit(90);
        fcntl(ends[1], F_SETFL, O_NONBLOCK);
        while (write(ends[1], "x", 1) == 1) {
        }
        fcntl(ends[1], F_SETFL, 0);
        dup2(ends[1], STDOUT_FILENO);
        return ends[0];
    }

    // The thread sanitizer flushes standard output at each exit, whoever holds it: for its sake
    // the reader goes away after what would be too late for the logout.
    static void giveTheSanitizerItsFlush([[maybe_unused]] int reading)
    {
#if defined(__SANITIZE_THREAD__)
        signal(SIGPIPE, SIG_IGN);
        std::thread([reading] {
            std::this_thread::sleep_for(milliseconds(2000));
            close(reading);
        }).detach();
#endif
    }

    // In the child: fails the process unless it is gone before so many milliseconds have passed.
    static void goneWithin(int time)
    {
        std::thread([time] {
            std::this_thread::sleep_for(milliseconds(time));
            _exit(91);
        }).detach();
    }
};

} // namespace

// ---- time ----

TEST_F(EndDeathTest, HalfOfTheTimeEndsTheUnsubscribingAndNeverTheLogout)
{
    EXPECT_EXIT(
        {
            prepare(2);
            takesTime("UnSubscribe", 6000);
            plantLevels(10);
            Shutdown();
        },
        ExitedWithCode(0),
        Eq(withMessages("UnSubscribeSystemParams(7, 5180, :Prop, 1)\nDeinitSystem(7)\n")));
}

TEST_F(EndDeathTest, WhatFitsIntoHalfOfTheTimeIsTakenBack)
{
    EXPECT_EXIT(
        {
            prepare(0);
            takesTime("UnSubscribe", 2500);
            plantLevels(10);
            Shutdown();
        },
        ExitedWithCode(0),
        Eq("UnSubscribeSystemParams(7, 5180, :Prop, 1)\n"
           "UnSubscribeBoardParams(7, 5180, 1, Temp, 1)\nDeinitSystem(7)\n"));
}

TEST_F(EndDeathTest, ACallThatDoesNotReturnEndsTheProcessWithStatus0InTime)
{
    for (const char *call : {"UnSubscribeSystem", "UnSubscribeChannel", "DeinitSystem"}) {
        SCOPED_TRACE(call);
        EXPECT_EXIT(
            {
                prepare(0);
                goneWithin(5000);
                neverReturns(call);
                plantTree();
                Shutdown();
            },
            ExitedWithCode(0), HasSubstr(call));
    }
}

TEST_F(EndDeathTest, ALoginOfSevenSecondsIsStillLoggedOut)
{
    EXPECT_EXIT(
        {
            prepare(0);
            ZANTOPresentClock = &standing;
            std::promise<void> working;
            std::promise<void> ending;
            std::thread([&] {
                const ZANTOStartupWork work;
                ZANTOAdvance(ZANTOHappening::loginBegins);
                working.set_value();
                ending.get_future().wait();
                passed += 7000;
                ZANTOLoggedIn(crateHandle);
                _exit(92);
            }).detach();
            working.get_future().wait();
            ZANTOBeginEnd(ZANTOHappening::shellLeft);
            ending.set_value();
            Shutdown();
        },
        ExitedWithCode(0), Eq("DeinitSystem(7)\n"));
}

TEST_F(EndDeathTest, AnExitHookThatDoesNotReturnEndsTheProcessWithStatus0)
{
    EXPECT_EXIT(
        {
            prepare(0);
            goneWithin(5000);
            epicsAtExit(
                [](void *) {
                    passed += 4000;
                    waitForTheEnd();
                },
                nullptr);
            ZANTOPresentClock = &standing;
            plantTree();
            Shutdown();
        },
        ExitedWithCode(0), Eq(loggedOut));
}

// iocInit gives up before it has put anything together.
TEST_F(EndDeathTest, AnIocInitWithoutADefinitionLeavesTheExitHooksToTheEnd)
{
    EXPECT_EXIT(
        {
            prepare(0);
            ZANTOWatchEpics();
            reach(ZANTOPhase::running);
            eltc(0); // what EPICS says of it
            const bool refused = iocInit() != 0;
            std::atexit([] { dprintf(STDERR_FILENO, "exit hook\n"); });
            if (refused)
                Shutdown();
        },
        ExitedWithCode(0), Eq("DeinitSystem(7)\nexit hook\n"));
}

// ---- output ----

TEST_F(EndDeathTest, OutputThatTakesNothingDelaysNeitherLogoutNorEnd)
{
    for (const int16_t level : {int16_t{0}, int16_t{10}}) {
        SCOPED_TRACE(level);
        EXPECT_EXIT(
            {
                catchSignals();
                prepare(level);
                plantTree();
                fillOutput();
                goneWithin(3000);
                raise(SIGTERM);
                waitForTheEnd();
            },
            ExitedWithCode(0), Eq(loggedOut));
    }
}

// With stdio's own lock, in the middle of a write.
TEST_F(EndDeathTest, AThreadStuckInPrintingDelaysNeitherLogoutNorEnd)
{
    EXPECT_EXIT(
        {
            catchSignals();
            prepare(2);
            std::setvbuf(stdout, nullptr, _IOLBF, 0);
            plantTree();
            const int reading = fillOutput();
            goneWithin(4000);
            giveTheSanitizerItsFlush(reading);
            std::thread([] { std::printf("a line of a command\n"); }).detach();
            while (ftrylockfile(stdout) == 0) {
                funlockfile(stdout);
                std::this_thread::yield();
            }
            std::thread([] { ZANTOPrint("a message\n"); }).detach();
            raise(SIGTERM);
            waitForTheEnd();
        },
        ExitedWithCode(0), Eq(loggedOut));
}

// The login is answered, and the next thing is a message that cannot be printed.
TEST_F(EndDeathTest, AMessageBehindTheLoginIsNoGap)
{
    EXPECT_EXIT(
        {
            catchSignals();
            prepare(1);
            fillOutput();
            goneWithin(3000);
            const ZANTOStartupWork work;
            reach(ZANTOPhase::building);
            std::thread([] { raise(SIGTERM); }).detach();
            ZANTOPrint("SYSTEMNAME = %s\n", "CRATE");
            ZANTOStartupCheckpoint();
            waitForTheEnd();
        },
        ExitedWithCode(0), Eq("DeinitSystem(7)\n"));
}

namespace {
const std::string lastWords = "\nCaught a termination signal (Terminated).\n" + withMessages("");
}

// Reads on once the logout has come; what it got goes to standard error.
TEST_F(EndDeathTest, AReaderThatIsLateStillGetsAllMessagesWhole)
{
    EXPECT_EXIT(
        {
            catchSignals();
            prepare(2);
            std::setvbuf(stdout, nullptr, _IOLBF, 0);
            plantTree();
            static const int reading = fillOutput();
            static std::promise<void> readAll;
            m_onCall = [](const std::string &call) {
                if (!startsWith(call, "DeinitSystem"))
                    return;
                std::thread([] {
                    std::string text;
                    char c = 0;
                    while (text != lastWords && read(reading, &c, 1) == 1) {
                        if (c != 'x')
                            text += c;
                    }
                    dprintf(STDERR_FILENO, "%s", text.c_str());
                    readAll.set_value();
                }).detach();
            };
            std::atexit([] { readAll.get_future().wait(); });
            raise(SIGTERM);
            waitForTheEnd();
        },
        ExitedWithCode(0), Eq(loggedOut + lastWords));
}

TEST_F(EndDeathTest, NobodyButTheEnderPrints)
{
    EXPECT_EXIT(
        {
            prepare(10);
            plantTree();
            ZANTOBeginEnd(ZANTOHappening::shellLeft);
            std::thread([] {
                ZANTOPrint("a trace\n");
                ZANTOPrintLine("a line");
            }).join();
            ZANTOPrint("the end's\n");
            _exit(0);
        },
        ExitedWithCode(0), Eq("the end's\n"));
}

TEST_F(EndDeathTest, NobodyPrintsBetweenASignalAndItsAnswer)
{
    EXPECT_EXIT(
        {
            prepare(10);
            plantTree();
            SetSigShutdownHandler();
            raise(SIGTERM);
            ZANTOPrint("interrupted\n");
            ZANTOStartSignalAnswer();
            waitForTheEnd();
        },
        ExitedWithCode(0),
        Eq("\nCaught a termination signal (Terminated).\n" + withMessages(loggedOut)));
}

// ---- the script's output ----

TEST_F(EndDeathTest, TheScriptsOutputComesWholeAndInOrder)
{
    EXPECT_EXIT(
        {
            prepare(0);
            {
                const ZANTOScriptOutput output;
                std::fprintf(epicsGetStdout(), "one\n");
                ZANTOPrint("two\n");
                std::fputs("three", epicsGetStdout());
            }
            std::fprintf(epicsGetStdout(), "\nfour\n");
            _exit(0);
        },
        ExitedWithCode(0), Eq("one\ntwo\nthree\nfour\n"));
}

TEST_F(EndDeathTest, TheScriptDoesNotGetBeyondItsNextLineOnceTheProcessEnds)
{
    EXPECT_EXIT(
        {
            catchSignals();
            prepare(0);
            reach(ZANTOPhase::script);
            const ZANTOScriptOutput output;
            std::fprintf(epicsGetStdout(), "echo one\n");
            raise(SIGTERM);
            std::fprintf(epicsGetStdout(), "echo two\n");
            _exit(93);
        },
        ExitedWithCode(0), Eq("echo one\nDeinitSystem(7)\n"));
}

TEST_F(EndDeathTest, AnExitWithinTheScriptLogsOut)
{
    EXPECT_EXIT(
        {
            prepare(1);
            plantTree(ZANTOPhase::script);
            ZANTOWatchEpics();
            epicsExit(0);
        },
        ExitedWithCode(0), Eq(withMessages(loggedOut)));
}
