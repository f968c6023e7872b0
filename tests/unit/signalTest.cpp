#include "shutdownSupport.h"

using ::testing::Eq;
using ::testing::ExitedWithCode;
using ::testing::KilledBySignal;

namespace {
using SignalDeathTest = ShutdownDeathTest;
}

TEST_F(SignalDeathTest, EachTerminationSignalIsToldAndShutsDown)
{
    const struct {
        int number;
        int16_t level;
        const char *message;
    } cases[] = {{SIGHUP, 2, "\nCaught a termination signal (Hangup).\n"},
                 {SIGINT, 2, "\nCaught a termination signal (Interrupt).\n"},
                 {SIGQUIT, 2, "\nCaught a termination signal (Quit).\n"},
                 {SIGTERM, 2, "\nCaught a termination signal (Terminated).\n"},
                 {SIGINT, 1, ""}};
    for (const auto &c : cases) {
        SCOPED_TRACE(::testing::Message() << c.number << " at level " << c.level);
        EXPECT_EXIT(
            {
                catchSignals();
                prepare(c.level);
                plantTree();
                ZANTOOpenTree();
                raise(c.number);
                waitForTheEnd();
            },
            ExitedWithCode(0), Eq(c.message + withMessages(loggedOut)));
    }
}

TEST_F(SignalDeathTest, ASignalShutsDownInSilenceAtLevel0)
{
    EXPECT_EXIT(
        {
            catchSignals();
            prepare(0);
            plantTree();
            ZANTOOpenTree();
            raise(SIGTERM);
            waitForTheEnd();
        },
        ExitedWithCode(0), Eq(loggedOut));
}

TEST_F(SignalDeathTest, ASignalBeforeItsThreadIsNotLost)
{
    EXPECT_EXIT(
        {
            prepare(1);
            SetSigShutdownHandler();
            raise(SIGTERM);
            ZANTOStartSignalAnswer();
            waitForTheEnd();
        },
        ExitedWithCode(0), Eq(withMessages("")));
}

// Some supervisors block them for themselves, and their children inherit that.
TEST_F(SignalDeathTest, SignalsThatWereBlockedBeforeTheStartEndItToo)
{
    for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
        SCOPED_TRACE(number);
        EXPECT_EXIT(
            {
                sigset_t all;
                sigfillset(&all);
                pthread_sigmask(SIG_BLOCK, &all, nullptr);
                catchSignals();
                prepare(0);
                plantTree();
                ZANTOOpenTree();
                kill(getpid(), number);
                waitForTheEnd();
            },
            ExitedWithCode(0), Eq(loggedOut));
    }
}

TEST_F(SignalDeathTest, ASecondSignalEndsTheProcessByItsDefaultAction)
{
    for (const int second : {SIGINT, SIGHUP, SIGQUIT, SIGTERM}) {
        SCOPED_TRACE(second);
        EXPECT_EXIT(
            {
                prepare(0);
                limit(RLIMIT_CORE, 0);
                plantTree();
                catchSignals();
                m_onCall = [second](const std::string &) {
                    kill(getpid(), second);
                    waitForTheEnd();
                };
                raise(SIGINT);
                waitForTheEnd();
            },
            KilledBySignal(second), "");
    }
}

TEST_F(SignalDeathTest, ASignalWhileTheShellIsLeftDoesNotShutDownTwice)
{
    EXPECT_EXIT(
        {
            m_onCall = [](const std::string &call) {
                if (startsWith(call, "DeinitSystem"))
                    raise(SIGTERM);
            };
            catchSignals();
            shutDown(1);
        },
        ExitedWithCode(0), Eq(withMessages(loggedOut)));
}

TEST_F(SignalDeathTest, TheHandlerIgnoresNumbersFrom260On)
{
    EXPECT_EXIT(
        {
            prepare(2);
            catchSignals();
            SigShutdownHandler(260);
            SigShutdownHandler(1000);
            // Had one of them been taken, the default action would follow now.
            raise(SIGINT);
            waitForTheEnd();
        },
        ExitedWithCode(0), Eq("\nCaught a termination signal (Interrupt).\n" + withMessages("")));
}

TEST_F(SignalDeathTest, TheHandlerTakesAnyNumberBelow260)
{
    EXPECT_EXIT(
        {
            prepare(2);
            catchSignals();
            SigShutdownHandler(259);
            waitForTheEnd();
        },
        ExitedWithCode(0),
        Eq("\nCaught a termination signal (Unknown signal 259).\n" + withMessages("")));
}

TEST_F(SignalDeathTest, TheHandlersAreResetOnDelivery)
{
    EXPECT_EXIT(
        {
            SetSigShutdownHandler();
            bool well = true;
            for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
                struct sigaction action = {};
                sigaction(number, nullptr, &action);
                well = well && action.sa_handler == SigShutdownHandler &&
                       (action.sa_flags & SA_RESETHAND) != 0 &&
                       (action.sa_flags & SA_NOCLDSTOP) != 0 && sigisemptyset(&action.sa_mask) == 1;
            }
            _exit(well ? 0 : 1);
        },
        ExitedWithCode(0), "");
}

TEST_F(SignalDeathTest, AWriteToAPeerThatHasGoneDoesNotKill)
{
    EXPECT_EXIT(
        {
            SetSigShutdownHandler();
            raise(SIGPIPE);
            _exit(0);
        },
        ExitedWithCode(0), "");
}
