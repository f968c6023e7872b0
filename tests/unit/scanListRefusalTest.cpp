// A scan list that gets no thread for a pass, and one that is stopped.
#include "scanListSupport.h"

// ---- refusals ----

TEST_F(ScanList, ARefusedPassIsAskedForAgainUntilItGetsThrough)
{
    start(list);
    ioc.setCapacity(low, 0);
    change();
    EXPECT_EQ(list.refused(), 1U);
    for (int i = 2; i <= 100; ++i) {
        ASSERT_EQ(ioc.timers(), i - 1);
        ASSERT_EQ(ioc.delay(), 0.05);
        ASSERT_TRUE(ioc.letTimePass());
        ASSERT_EQ(list.refused(), static_cast<uint32_t>(i));
    }
    ioc.setCapacity(low, 2000);
    ASSERT_TRUE(ioc.letTimePass());
    EXPECT_EQ(ioc.queued(low), 1);
    EXPECT_FALSE(ioc.letTimePass()) << "and then no more";
    drain();
    EXPECT_EQ(ioc.passes(low), 1);
    EXPECT_EQ(ioc.seen(low), 1);
}

TEST_F(ScanList, OnlyThePriorityThatWasRefusedIsAskedForAgain)
{
    start(list, {low, high});
    ioc.setCapacity(high, 0);
    change();
    EXPECT_EQ(list.refused(), 1U);
    EXPECT_TRUE(ioc.runPass(low));
    ioc.setCapacity(high, 2000);
    ASSERT_TRUE(ioc.letTimePass());
    EXPECT_EQ(ioc.queued(high), 1);
    EXPECT_EQ(ioc.queued(low), 0);
    EXPECT_EQ(ioc.asked(low), 1);
    drain();
    EXPECT_EQ(ioc.seen(high), 1);
}

TEST_F(ScanList, ARefusalWithAPassInTheQueueNeedsNoOther)
{
    start(list);
    ioc.setCapacity(low, 1);
    change();
    change();
    EXPECT_EQ(list.refused(), 1U);
    EXPECT_EQ(ioc.timers(), 0);
    drain();
    EXPECT_EQ(ioc.passes(low), 1);
    EXPECT_EQ(ioc.seen(low), 2);
}

TEST_F(ScanList, ARequestThatGotThroughMakesTheRetryNeedless)
{
    start(list);
    ioc.setCapacity(low, 0);
    change();
    ioc.setCapacity(low, 2000);
    change();
    EXPECT_EQ(ioc.queued(low), 1);
    drain();
    EXPECT_EQ(ioc.passes(low), 1);
}

TEST_F(ScanList, WithoutARefusalThereIsNoTimer)
{
    start(list, {low, high});
    for (int i = 0; i < 100; ++i) {
        change();
        if (i % 3 == 0)
            drain();
    }
    EXPECT_EQ(ioc.timers(), 0);
    const int before = ioc.asked(low);
    list.timeIsUp();
    EXPECT_EQ(ioc.asked(low), before);
}

TEST_F(ScanList, OneTimerIsUnderWayWhateverIsRefused)
{
    start(list, {low, high});
    ioc.setCapacity(low, 0);
    ioc.setCapacity(high, 0);
    for (int i = 0; i < 1000; ++i)
        change();
    EXPECT_EQ(ioc.timers(), 1);
    ioc.setCapacity(low, 2000);
    ioc.setCapacity(high, 2000);
    drain();
    EXPECT_EQ(ioc.seen(low), 1000);
    EXPECT_EQ(ioc.seen(high), 1000);
}

TEST_F(ScanList, ARefusalIsForgottenWithTheLastRecordOfItsPriority)
{
    start(list, {low, high});
    ioc.setCapacity(high, 0);
    change();
    list.recordLeaves(high);
    const int before = ioc.asked(high);
    drain();
    EXPECT_EQ(ioc.asked(high), before);
    EXPECT_EQ(ioc.timers(), 1);
}

TEST_F(ScanList, WithoutMemoryForATimerTheNextRequestMakesUpForIt)
{
    start(list);
    ioc.breakTimer();
    ioc.setCapacity(low, 0);
    change();
    ioc.setCapacity(low, 2000);
    change();
    drain();
    EXPECT_EQ(ioc.seen(low), 2);
}

// ---- shutdown ----

TEST_F(ScanList, AStopQueuesNothingAndBeginsNothingThatWasQueued)
{
    start(list, {low, high});
    list.iocRuns();
    drain();
    ioc.setCapacity(high, 0);
    change(); // queued at low, due at high
    const int asked = ioc.asked(low) + ioc.asked(high);
    const int before = ioc.passes(low);
    list.stop();
    change();
    list.recordLeaves(low);
    list.recordJoins(low);
    EXPECT_TRUE(ioc.letTimePass());
    drain();
    EXPECT_EQ(ioc.asked(low) + ioc.asked(high), asked);
    EXPECT_EQ(ioc.passes(low), before);
    EXPECT_EQ(ioc.timers(), 1);
}

TEST_F(ScanList, APassRunsFromItsBeginningToItsEnd)
{
    start(list);
    change();
    EXPECT_FALSE(list.passRuns()) << "it is queued";
    bool ran = false;
    ioc.duringPass = [&] {
        list.stop();
        ran = list.passRuns();
    };
    drain();
    EXPECT_TRUE(ran) << "and the stop did not end it";
    EXPECT_FALSE(list.passRuns());
}

TEST_F(ScanList, ANewStartAfterAStopScansAgain)
{
    start(list);
    change();
    list.stop();
    drain();
    list.start();
    change();
    EXPECT_EQ(ioc.queued(low), 1);
    drain();
    EXPECT_EQ(ioc.seen(low), 2);
}
