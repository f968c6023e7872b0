// What a lost event connection and its return set off, with time handed in.
#include "unitSupport.h"

#include "Installed.h"
#include "ZANTOclock.h"
#include "ZANTOeventconnections.h"
#include "ZANTOhealthwatch.h"
#include "ZANTOlife.h"
#include "ZANTOthreads.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <thread>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

std::chrono::steady_clock::time_point steadyTime;
Lines done;
std::function<void()> onShowLost;
bool noThread = false;
int threadsAskedFor = 0;

const ZANTOClock clockAtHand = {ZANTOSystemClock.now, [] { return steadyTime; },
                                ZANTOSystemClock.pause};

// Starts none: the test takes the turns.
const ZANTOThreads threadsAtHand = {
    [](const char *, unsigned, epicsThreadStackSizeClass, EPICSTHREADFUNC, void *argument) {
        ++threadsAskedFor;
        return noThread ? nullptr : static_cast<epicsThreadId>(argument);
    }};

const ZANTOHealthServices services = {
    [](bool lost) { done.emplace_back(lost ? "state lost" : "state connected"); },
    [] {
        done.emplace_back("show");
        if (onShowLost)
            onShowLost();
    },
    [] { done.emplace_back("scans"); },
    [] { done.emplace_back("tick"); },
};

class HealthWatch : public ZantoTest {
protected:
    void SetUp() override
    {
        ZantoTest::SetUp();
        steadyTime = {};
        onShowLost = nullptr;
        noThread = false;
        threadsAskedFor = 0;
        done.clear();
    }

    // What a turn does.
    Lines turn()
    {
        done.clear();
        watch.turn();
        return done;
    }
    void letTimePass(std::chrono::milliseconds time) { steadyTime += time; }

    // As iocInit does.
    void start()
    {
        watch.begin(services);
        turn();
        watch.iocRuns();
        turn();
    }

    ZANTOHealthWatch watch;

private:
    const Installed<ZANTOClock> m_clock{ZANTOPresentClock, clockAtHand};
    const Installed<ZANTOThreads> m_threads{ZANTOPresentThreads, threadsAtHand};
};

} // namespace

// ---- changes ----

TEST_F(HealthWatch, IsLostUntilTheCrateConnects)
{
    EXPECT_TRUE(watch.isLost());
    watch.setConnected(true);
    EXPECT_FALSE(watch.isLost());
    watch.setConnected(false);
    EXPECT_TRUE(watch.isLost());
}

TEST_F(HealthWatch, CarriesOutEachChangeInOrder)
{
    start();
    watch.setConnected(true);
    EXPECT_THAT(turn(), ElementsAre("state connected", "show", "scans"));
    EXPECT_THAT(turn(), IsEmpty());
    watch.setConnected(false);
    EXPECT_THAT(turn(), ElementsAre("state lost", "show", "scans"));
    EXPECT_THAT(turn(), IsEmpty());
}

// Else a read-back would be good while the record says that the connection is lost.
TEST_F(HealthWatch, WhatRecordsShowChangesWithTheStateOnly)
{
    start();
    EXPECT_TRUE(watch.isShownLost());
    watch.setConnected(true);
    EXPECT_TRUE(watch.isShownLost());
    turn();
    EXPECT_FALSE(watch.isShownLost());
    watch.setConnected(false);
    EXPECT_FALSE(watch.isShownLost());
    turn();
    EXPECT_TRUE(watch.isShownLost());
}

TEST_F(HealthWatch, WhatDoesNotChangeSetsNothingOff)
{
    start();
    watch.setConnected(false);
    EXPECT_THAT(turn(), IsEmpty());
    watch.setConnected(true);
    turn();
    watch.setConnected(true);
    EXPECT_THAT(turn(), IsEmpty());
}

TEST_F(HealthWatch, QuickChangesAreCarriedOutOnceWithTheLastState)
{
    start();
    for (const bool last : {true, false, true}) {
        for (int i = 0; i < 5; ++i) {
            watch.setConnected(!last);
            watch.setConnected(last);
        }
        EXPECT_THAT(turn(), ElementsAre(last ? "state connected" : "state lost", "show", "scans"));
        EXPECT_THAT(turn(), IsEmpty());
    }
}

// Events may have been missed.
TEST_F(HealthWatch, ADropThatIsOverAtOnceSetsOffTheSame)
{
    start();
    watch.setConnected(true);
    turn();
    watch.setConnected(false);
    watch.setConnected(true);
    EXPECT_THAT(turn(), ElementsAre("state connected", "show", "scans"));
}

TEST_F(HealthWatch, AChangeDuringATurnIsCarriedOutByTheNext)
{
    start();
    onShowLost = [this] {
        EXPECT_TRUE(watch.isBusy());
        watch.setConnected(false);
    };
    watch.setConnected(true);
    EXPECT_THAT(turn(), ElementsAre("state connected", "show", "scans"));
    onShowLost = nullptr;
    EXPECT_THAT(turn(), ElementsAre("state lost", "show", "scans"));
    EXPECT_FALSE(watch.isBusy());
}

// ---- start ----

TEST_F(HealthWatch, ThatIsNotBegunDoesNothing)
{
    watch.setConnected(true);
    watch.iocRuns();
    letTimePass(std::chrono::seconds(10));
    EXPECT_THAT(turn(), IsEmpty());
    EXPECT_EQ(threadsAskedFor, 0);
}

TEST_F(HealthWatch, SetsTheStateBeforeTheRecordsProcess)
{
    for (const bool connected : {false, true}) {
        ZANTOHealthWatch fresh;
        fresh.setConnected(connected);
        done.clear();
        fresh.begin(services);
        EXPECT_THAT(done, ElementsAre(connected ? "state connected" : "state lost"));
    }
}

TEST_F(HealthWatch, UntilTheScansRunOnlyTheStateFollows)
{
    watch.begin(services);
    turn();
    watch.setConnected(true);
    EXPECT_THAT(turn(), ElementsAre("state connected"));
    letTimePass(std::chrono::seconds(10));
    EXPECT_THAT(turn(), IsEmpty());
    watch.iocRuns();
    EXPECT_THAT(turn(), ElementsAre("show", "scans"));
}

TEST_F(HealthWatch, PausedScansAreMadeUpFor)
{
    start();
    watch.stop();
    watch.setConnected(true);
    letTimePass(std::chrono::seconds(10));
    EXPECT_THAT(turn(), ElementsAre("state connected"));
    watch.iocRuns();
    EXPECT_THAT(turn(), ElementsAre("show", "scans"));
}

TEST_F(HealthWatch, WithoutAThreadAsksAgainWhenTheScansRunAndSaysSo)
{
    noThread = true;
    watch.begin(services);
    EXPECT_EQ(threadsAskedFor, 1);
    EXPECT_EQ(printedAt(1, [this] { watch.iocRuns(); }), "\nUnable to start the health thread\n");
    EXPECT_EQ(threadsAskedFor, 2);
    noThread = false;
    EXPECT_EQ(printedAt(1, [this] { watch.iocRuns(); }), "");
    watch.iocRuns();
    EXPECT_EQ(threadsAskedFor, 3);
}

// ---- end ----

TEST_F(HealthWatch, LeavesRecordsAloneOnceTheProcessIsEnding)
{
    start();
    ZANTONoteSignal(15);
    watch.setConnected(true);
    letTimePass(std::chrono::seconds(10));
    EXPECT_THAT(turn(), IsEmpty());
    EXPECT_FALSE(watch.isBusy());
}

// ---- ticks ----

TEST_F(HealthWatch, TicksOnceASecond)
{
    start();
    for (int i = 0; i < 3; ++i) {
        letTimePass(std::chrono::milliseconds(999));
        EXPECT_THAT(turn(), IsEmpty());
        letTimePass(std::chrono::milliseconds(1));
        EXPECT_THAT(turn(), ElementsAre("tick"));
        EXPECT_THAT(turn(), IsEmpty());
    }
}

TEST_F(HealthWatch, LeavesOutTheTicksItMissed)
{
    start();
    letTimePass(std::chrono::milliseconds(5700));
    EXPECT_THAT(turn(), ElementsAre("tick"));
    letTimePass(std::chrono::milliseconds(999));
    EXPECT_THAT(turn(), IsEmpty());
    letTimePass(std::chrono::milliseconds(1));
    EXPECT_THAT(turn(), ElementsAre("tick"));
}

// ---- threads ----

TEST_F(HealthWatch, OfManyThreadsTheLastOneIsCarriedOut)
{
    start();
    for (int round = 0; round < 200; ++round) {
        bool last = false;
        std::thread changes([&] {
            for (int i = 0; i < 20; ++i) {
                last = (i + round) % 3 == 0;
                watch.setConnected(last);
            }
        });
        for (int i = 0; i < 20; ++i)
            watch.turn();
        changes.join();
        watch.turn();
        const auto state = std::find_if(done.rbegin(), done.rend(), [](const std::string &step) {
            return step.rfind("state", 0) == 0;
        });
        if (state != done.rend()) {
            EXPECT_EQ(*state, last ? "state connected" : "state lost");
        }
    }
}

// ---- event connections ----

namespace {

bool comeIn = false;

} // namespace

TEST(EventsComeIn, FromTheCratesAddressOrFromWhoeverHasDelivered)
{
    constexpr bool yes = true;
    constexpr bool no = false;
    EXPECT_FALSE(ZANTOEventsComeIn({}));
    for (const bool isCrates : {no, yes}) {
        for (const bool hasDelivered : {no, yes}) {
            EXPECT_EQ(ZANTOEventsComeIn({{1, 1, isCrates, hasDelivered, no}}),
                      isCrates || hasDelivered);
            EXPECT_FALSE(ZANTOEventsComeIn({{1, 1, isCrates, hasDelivered, yes}})) << "it leaves";
            EXPECT_TRUE(
                ZANTOEventsComeIn({{1, 1, isCrates, hasDelivered, no}, {2, 2, yes, no, no}}));
        }
    }
}

TEST(EventsComeIn, AsLongAsOneOfTwoConnectionsIsOpen)
{
    ZANTOEventConnections connections([](bool now) { comeIn = now; });
    const uint64_t stranger = connections.admit(100001, false);
    EXPECT_FALSE(comeIn);
    const uint64_t first = connections.admit(100002, true);
    EXPECT_TRUE(comeIn);
    const uint64_t second = connections.admit(100003, true);
    connections.remove(first);
    EXPECT_TRUE(comeIn) << "a new one was there before the old one ended";
    connections.remove(second);
    EXPECT_FALSE(comeIn);
    connections.delivered(stranger);
    EXPECT_TRUE(comeIn);
    connections.remove(stranger);
    EXPECT_FALSE(comeIn);
}

TEST(EventsComeIn, IsToldToTheWatchOfTheProcess)
{
    ZANTOEventConnections connections;
    const uint64_t number = connections.admit(100002, true);
    EXPECT_FALSE(ZANTOHealthWatch::instance().isLost());
    connections.remove(number);
    EXPECT_TRUE(ZANTOHealthWatch::instance().isLost());
}
