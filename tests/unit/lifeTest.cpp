// What the process does next, and who ends it.
#include "unitSupport.h"

#include "ZANTOlife.h"
#include "ZANTOmessages.h"

#include <atomic>
#include <csignal>
#include <future>
#include <sys/time.h>
#include <thread>
#include <unistd.h>

using std::chrono::milliseconds;

namespace {

// Longer than any test takes: a wait that lasts as long has failed.
constexpr milliseconds watchdog{20000};

using Life = ZantoTest;

// The start-up's state can only go forward, so each test of its end has a process of its own.
class StartupLifeDeathTest : public ZantoTest {
protected:
    void SetUp() override
    {
        ZantoTest::SetUp();
        GTEST_FLAG_SET(death_test_style, "threadsafe");
    }
};

#define EXPECT_ENDS_WELL(action) EXPECT_EXIT(action, ::testing::ExitedWithCode(0), "")

// What a child process ends with; without the exit hooks, which are not what is tested here.
[[noreturn]] void endChild(bool well) { _exit(well ? 0 : 1); }

void endOnAlarm(int) { _exit(0); }

// The child ends well if nothing ends it before: what comes next must never return.
void expectNoReturn()
{
    signal(SIGALRM, endOnAlarm);
    const itimerval soon = {{0, 0}, {0, 50000}};
    setitimer(ITIMER_REAL, &soon, nullptr);
}

// An end brought by the calling thread.
void beginEnd() { ZANTOBeginEnd(ZANTOHappening::shellLeft); }

// No action ever returns on a thread other than the one that ends the process.
void expectPark(const std::vector<std::function<void()>> &actions)
{
    EXPECT_ENDS_WELL({
        beginEnd();
        for (const std::function<void()> &action : actions) {
            std::promise<void> begins;
            std::thread([&] {
                begins.set_value();
                action();
                endChild(false);
            }).detach();
            begins.get_future().wait();
        }
        expectNoReturn();
        ZANTOPark();
    });
}

// Whether `action` returns on a thread of its own.
bool returns(const std::function<void()> &action)
{
    auto returned = std::make_shared<std::promise<void>>();
    std::thread([action, returned] {
        action();
        returned->set_value();
    }).detach();
    return returned->get_future().wait_for(watchdog) == std::future_status::ready;
}

// Start-up work on a thread that can be held between its checkpoints.
class Worker {
public:
    Worker()
        : m_thread([this] {
              const ZANTOStartupWork work;
              m_working.set_value();
              m_goOn.get_future().wait();
              ZANTOStartupCheckpoint();
              m_returned = true;
          })
    {
        m_thread.detach();
        m_working.get_future().wait();
    }

    void goOn() { m_goOn.set_value(); }
    bool returned() const { return m_returned; }

private:
    std::promise<void> m_working;
    std::promise<void> m_goOn;
    std::atomic<bool> m_returned{false};
    std::thread m_thread;
};

} // namespace

// ---- start-up work ----

TEST_F(Life, ACheckpointIsPassedWhileTheProcessLives)
{
    EXPECT_TRUE(returns([] {
        ZANTOStartupCheckpoint();
        const ZANTOStartupWork work;
        ZANTOStartupCheckpoint();
        ZANTOStartupPause(milliseconds(0));
        ZANTOStartupPause(milliseconds(1));
    }));
}

TEST_F(StartupLifeDeathTest, AnEndWithoutStartupWorkDoesNotWait)
{
    EXPECT_ENDS_WELL({
        beginEnd();
        endChild(ZANTOAwaitStartup(milliseconds(0)));
    });
}

TEST_F(StartupLifeDeathTest, AnEndAfterStartupWorkDoesNotWait)
{
    EXPECT_ENDS_WELL({
        {
            const ZANTOStartupWork work;
        }
        beginEnd();
        endChild(ZANTOAwaitStartup(milliseconds(0)));
    });
}

TEST_F(StartupLifeDeathTest, AnEndByTheStartupItselfDoesNotWaitAndPassesCheckpoints)
{
    EXPECT_ENDS_WELL({
        const ZANTOStartupWork work;
        beginEnd();
        ZANTOStartupCheckpoint();
        ZANTOAdvance(ZANTOHappening::treeComplete);
        endChild(ZANTOAwaitStartup(milliseconds(0)));
    });
}

TEST_F(StartupLifeDeathTest, AnEndWaitsForACheckpointThatNeverReturns)
{
    EXPECT_ENDS_WELL({
        Worker worker;
        beginEnd();
        const bool early = ZANTOAwaitStartup(milliseconds(0));
        worker.goOn();
        const bool stopped = ZANTOAwaitStartup(watchdog);
        endChild(!early && stopped && !worker.returned());
    });
}

TEST_F(StartupLifeDeathTest, AnEndGivesUpOnACallThatDoesNotReturn)
{
    EXPECT_ENDS_WELL({
        Worker worker;
        beginEnd();
        endChild(!ZANTOAwaitStartup(milliseconds(5)));
    });
}

TEST_F(StartupLifeDeathTest, AnEndCutsAPauseShort)
{
    EXPECT_ENDS_WELL({
        std::promise<void> working;
        std::thread([&working] {
            const ZANTOStartupWork work;
            working.set_value();
            ZANTOStartupPause(10 * watchdog);
            endChild(false);
        }).detach();
        working.get_future().wait();
        beginEnd();
        endChild(ZANTOAwaitStartup(watchdog));
    });
}

TEST_F(StartupLifeDeathTest, OtherThreadsPassCheckpointsWhileTheProcessEnds)
{
    EXPECT_ENDS_WELL({
        Worker worker;
        beginEnd();
        endChild(returns([] {
            ZANTOStartupCheckpoint();
            ZANTOStartupPause(milliseconds(1));
        }));
    });
}

TEST_F(StartupLifeDeathTest, StartupWorkDoesNotBeginOnceTheProcessEnds)
{
    expectPark({[] { const ZANTOStartupWork work; }});
}

// ---- who ends the process ----

TEST_F(StartupLifeDeathTest, NoStepOfTheStartIsTakenOnceTheProcessEnds)
{
    expectPark({[] { ZANTOAdvance(ZANTOHappening::probeBegins); },
                [] { ZANTOAdvance(ZANTOHappening::loginBegins); },
                [] { ZANTOAdvance(ZANTOHappening::treeComplete); },
                [] { ZANTOAdvance(ZANTOHappening::scriptEnded); }});
}

TEST_F(StartupLifeDeathTest, TheSecondCauseOfTheEndParks)
{
    expectPark({[] { ZANTOBeginEnd(ZANTOHappening::shellLeft); },
                [] { ZANTOBeginEnd(ZANTOHappening::exitBegun); }, [] { ZANTOParkIfEnding(); }});
}

TEST_F(StartupLifeDeathTest, ALoginThatIsAnsweredDuringTheEndIsKnownToIt)
{
    EXPECT_ENDS_WELL({
        std::promise<void> working;
        std::promise<void> answered;
        std::thread([&] {
            const ZANTOStartupWork work;
            ZANTOAdvance(ZANTOHappening::loginBegins);
            working.set_value();
            answered.get_future().wait();
            ZANTOLoggedIn(-3);
            endChild(false);
        }).detach();
        working.get_future().wait();
        beginEnd();
        answered.set_value();
        int32_t handle = 0;
        const bool stopped = ZANTOAwaitStartup(watchdog);
        endChild(stopped && ZANTOTakeSession(handle) && handle == -3);
    });
}

TEST_F(Life, ASessionIsTakenOnce)
{
    int32_t handle = 0;
    EXPECT_FALSE(ZANTOTakeSession(handle));
    for (const int32_t given : {7, 0, -1, -2147483647 - 1}) {
        ZANTOLoggedIn(given);
        EXPECT_TRUE(ZANTOTakeSession(handle));
        EXPECT_EQ(handle, given);
        EXPECT_FALSE(ZANTOTakeSession(handle));
    }
}

TEST_F(Life, TheThreadThatBringsTheFirstCauseGoesOn)
{
    EXPECT_TRUE(ZANTOMaySpeak());
    EXPECT_FALSE(ZANTOIsEnder());
    ZANTOBeginEnd(ZANTOHappening::shellLeft);
    EXPECT_TRUE(ZANTOIsEnder());
    EXPECT_TRUE(ZANTOMaySpeak());
    ZANTOBeginEnd(ZANTOHappening::exitBegun); // its own exit
    ZANTOParkIfEnding();
    std::thread([] {
        EXPECT_FALSE(ZANTOMaySpeak());
        EXPECT_FALSE(ZANTOIsEnder());
    }).join();
    EXPECT_EQ(ZANTOPresentLife().cause, ZANTOHappening::shellLeft);
}

TEST_F(Life, BetweenASignalAndItsThreadNobodySpeaks)
{
    EXPECT_TRUE(ZANTONoteSignal(15));
    EXPECT_FALSE(ZANTONoteSignal(2)) << "the second one is no cause";
    EXPECT_TRUE(ZANTOIsEnding());
    EXPECT_FALSE(ZANTOMaySpeak());
    EXPECT_EQ(ZANTOPresentLife().signal, 15);
    ZANTOTakeOverEnd();
    EXPECT_TRUE(ZANTOMaySpeak());
}

TEST_F(Life, OfManyCausesAtOnceOneWins)
{
    for (int round = 0; round < 200; ++round) {
        ZANTOBeginLife();
        std::atomic<int> ready{0};
        std::atomic<int> winners{0};
        std::vector<std::thread> threads;
        for (uint16_t number = 1; number <= 3; ++number)
            threads.emplace_back([&, number] {
                ++ready;
                while (ready < 3)
                    std::this_thread::yield();
                winners += ZANTONoteSignal(number) ? number : 0;
            });
        for (std::thread &thread : threads)
            thread.join();
        ASSERT_EQ(winners, ZANTOPresentLife().signal);
    }
}

// Nothing that is printed may keep it from the logout.
TEST_F(Life, TheEnderSpeaksWithoutMemory)
{
    ZANTOBeginEnd(ZANTOHappening::shellLeft);
    const std::string line(60, 'x');
    const std::string longText(3000, 'y');
    const std::string printed = printedAt(1, [&] {
        const AllocationFailure failure(30, 100000);
        ZANTOPrintLine(line.c_str());
        ZANTOPrint("%s", longText.c_str());
    });
    EXPECT_EQ(printed, line + "\n" + longText.substr(0, 1023));
}
