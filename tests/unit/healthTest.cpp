// What the server counts of itself, with time handed in.
#include "eventThreadSupport.h"

#include "ZANTOhealth.h"
#include "ZANTOutils.h"
#include "ZANTOwatchlists.h"

#include <thread>

using std::chrono::milliseconds;
using std::chrono::seconds;

// ---- rates ----

namespace {

class HealthRates : public ::testing::Test {
protected:
    HealthRates() { rates.begin(counts, now); }

    void pass(milliseconds time, uint64_t batches = 0, uint64_t events = 0)
    {
        counts.batches += batches;
        counts.events += events;
        now += time;
        rates.tick(counts, now);
    }

    ZANTOHealthCounts counts;
    ZANTOHealthRates rates;
    ZANTOHealthRates::Time now{seconds(1000)};
};

} // namespace

TEST_F(HealthRates, AreThoseOfTheLastPeriod)
{
    pass(seconds(1), 10, 250);
    EXPECT_EQ(rates.figures().batches, 10.0);
    EXPECT_EQ(rates.figures().events, 250.0);
    pass(milliseconds(2500), 10, 50);
    EXPECT_EQ(rates.figures().batches, 4.0);
    EXPECT_EQ(rates.figures().events, 20.0);
    pass(seconds(1));
    EXPECT_EQ(rates.figures().batches, 0.0);
    EXPECT_EQ(rates.figures().events, 0.0);
}

TEST_F(HealthRates, DoNotCountWhatCameBeforeTheyBegan)
{
    counts.batches = 7;
    counts.events = 70;
    rates.begin(counts, now);
    pass(seconds(1), 1, 2);
    EXPECT_EQ(rates.figures().batches, 1.0);
    EXPECT_EQ(rates.figures().events, 2.0);
}

TEST_F(HealthRates, ATickThatTakesNoTimeChangesNothing)
{
    pass(seconds(1), 10, 250);
    pass(seconds(0), 5, 5);
    EXPECT_EQ(rates.figures().events, 250.0);
    pass(seconds(1));
    EXPECT_EQ(rates.figures().events, 5.0);
}

TEST_F(HealthRates, TheTimeSinceTheLastBatchGrowsUntilTheNext)
{
    for (const double quiet : {1.0, 2.0, 3.0}) {
        pass(seconds(1));
        EXPECT_EQ(rates.figures().quietSeconds, quiet) << "since the begin";
    }
    pass(milliseconds(999), 1);
    EXPECT_EQ(rates.figures().quietSeconds, 0.0);
    for (const double quiet : {1.0, 2.0, 3.0}) {
        pass(milliseconds(1002));
        EXPECT_EQ(rates.figures().quietSeconds, quiet);
    }
    pass(seconds(1), 1, 0);
    EXPECT_EQ(rates.figures().quietSeconds, 0.0) << "a batch without an event is one too";
}

// ---- counts ----

namespace {

class HealthCounts : public EventThreadOn<ZantoTest> {
protected:
    void SetUp() override
    {
        EventThreadOn<ZantoTest>::SetUp();
        ZANTOHealthCounts &counts = ZANTOPresentCounts;
        for (auto *count :
             {&counts.events, &counts.batches, &counts.heldValues, &counts.failedCalls})
            *count = 0;
        counts.inserted = false;
    }
};

} // namespace

TEST_F(HealthCounts, EventsAndBatches)
{
    ZANTONode *node = addChannelParam("VMon", VEXAHV_PARAM_INTEGER);
    deliver({{channelEvent("VMon", integer(1)), channelEvent("VMon", integer(2))},
             {keepAlive()},
             {channelEvent("Missing", integer(1))}});
    EXPECT_EQ(intOf(node), 2);
    EXPECT_EQ(ZANTOPresentCounts.batches, 3U) << "the call that fails at the end is none";
    EXPECT_EQ(ZANTOPresentCounts.events, 4U);
    EXPECT_EQ(ZANTOPresentCounts.heldValues, 0U);
}

TEST_F(HealthCounts, ValuesThatAHolderTakesOver)
{
    ZANTONode *node = addChannelParam("VMon", VEXAHV_PARAM_INTEGER);
    {
        const ZANTONode::SemGuard guard(*node);
        std::thread([this] {
            deliver({{channelEvent("VMon", integer(1)), channelEvent("VMon", integer(2))}});
        }).join();
        EXPECT_EQ(ZANTOPresentCounts.heldValues, 2U);
    }
    EXPECT_EQ(intOf(node), 2);
    EXPECT_EQ(ZANTOPresentCounts.heldValues, 2U);
}

TEST_F(HealthCounts, WritesAndCommandsThatFail)
{
    const auto writeAll = [] {
        const variant value = variantOf(1.0F);
        ZANTOUtils::ZANTOSetSystemPropertyChanged(crateHandle, "P", VEXAHV_SYSPROP_REAL, value);
        ZANTOUtils::ZANTOSetBoardParameterChanged(crateHandle, 1, "P", VEXAHV_PARAM_NUMERIC, value);
        ZANTOUtils::ZANTOSetChannelParameterChanged(crateHandle, 1, "P", 0, VEXAHV_PARAM_NUMERIC,
                                                    value);
        ZANTOUtils::ZANTOSetChannelParameterChanged(crateHandle, 1, "Name", 0, VEXAHV_PARAM_STRING,
                                                    variantOf(std::string("x")));
        ZANTOUtils::ZANTOExeSystemCommandChanged(crateHandle, "Go");
    };
    FakeCrate crate;
    crate.properties = {
        fakeSysProp("P", VEXAHV_SYSPROP_REAL, VEXAHV_MODE_READWRITE, FakeBytes::of(0.0F))};
    crate.commands = {"Go"};
    const FakeParameter parameter = fakePlain("P", VEXAHV_PARAM_NUMERIC, VEXAHV_MODE_READWRITE);
    crate.slots = {FakeBoard(), fakeBoard("A1", 1, {parameter}, {parameter})};
    fake.setCrate(crate);
    writeAll();
    EXPECT_EQ(ZANTOPresentCounts.failedCalls, 0U);
    fake.failCalls("", 5);
    writeAll();
    EXPECT_EQ(ZANTOPresentCounts.failedCalls, 5U);
}

TEST_F(HealthCounts, SubscriptionsThatFail)
{
    const auto subscribe = [] { ZANTOWatchTree(*systemNode, true, 5180, [] { return true; }); };
    systemNode->setSysHandle(crateHandle);
    fake.setCrate({});
    subscribe();
    const uint64_t before = ZANTOPresentCounts.failedCalls;
    fake.failCalls("SubscribeSystemParams", 5);
    subscribe();
    EXPECT_EQ(ZANTOPresentCounts.failedCalls, 2 * before + 1);
}

TEST_F(HealthCounts, TheStartIsNotedOnce)
{
    ZANTONoteStart();
    const std::time_t first = ZANTOPresentCounts.started;
    EXPECT_NE(first, 0);
    ZANTOPresentCounts.started = first - 100;
    ZANTONoteStart();
    EXPECT_EQ(ZANTOPresentCounts.started, first - 100);
}
