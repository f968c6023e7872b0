#include "scanListSupport.h"

// ---- start ----

TEST_F(ScanList, WithoutAListARequestIsCountedAndDoesNothing)
{
    list.request();
    list.start();
    list.recordJoins(low);
    list.request();
    EXPECT_EQ(ioc.asked(low), 0);
    EXPECT_EQ(list.asked(), 2U);
    EXPECT_EQ(static_cast<IOSCANPVT>(list), nullptr);
}

TEST_F(ScanList, AllRecordsShareOneListOfTheIoc)
{
    list.init();
    const IOSCANPVT first = list;
    list.init();
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(static_cast<IOSCANPVT>(list), first);
    EXPECT_EQ(ioc.inits(), 1);
}

TEST_F(ScanList, AnIocThatStartsAgainHasAListOfItsOwn)
{
    list.init();
    const IOSCANPVT first = list;
    list.stop();
    list.init();
    list.init();
    EXPECT_NE(static_cast<IOSCANPVT>(list), first);
    EXPECT_EQ(ioc.inits(), 2);
}

TEST_F(ScanList, NothingIsRequestedBeforeTheStart)
{
    list.init();
    list.recordJoins(low);
    list.request();
    EXPECT_EQ(ioc.asked(low), 0);
    list.start();
    list.request();
    EXPECT_EQ(ioc.asked(low), 1);
}

TEST_F(ScanList, WhenTheIocRunsItIsRequestedOnce)
{
    start(list, {low, high});
    list.iocRuns();
    EXPECT_EQ(ioc.queued(low), 1);
    EXPECT_EQ(ioc.queued(high), 1);
    EXPECT_EQ(list.asked(), 1U);
    drain();
    EXPECT_EQ(ioc.passes(low), 1);
    EXPECT_EQ(ioc.timers(), 0);
}

// ---- the bound ----

TEST_F(ScanList, LightLoadKeepsItsExactRequests)
{
    start(list);
    for (int i = 1; i <= 5; ++i) {
        change();
        change();
        EXPECT_EQ(ioc.queued(low), 2);
        drain();
        EXPECT_EQ(ioc.passes(low), 2 * i);
    }
    EXPECT_EQ(list.deferred(), 0U);
}

TEST_F(ScanList, NoMoreThanTwoPassesAreQueued)
{
    start(list);
    for (int i = 0; i < 1000; ++i)
        change();
    EXPECT_EQ(ioc.queued(low), 2);
    EXPECT_EQ(ioc.asked(low), 2) << "and no other was tried";
    EXPECT_EQ(list.asked(), 1000U);
    EXPECT_EQ(list.deferred(), 998U);
    EXPECT_EQ(list.refused(), 0U);
    drain();
    EXPECT_EQ(ioc.passes(low), 2) << "what they saw is not scanned again";
    EXPECT_EQ(ioc.seen(low), 1000);
}

// The data change when the pass has read its records and is not over.
TEST_F(ScanList, AChangeDuringAPassIsSeenByAnother)
{
    ioc.duringPass = [this] {
        if (ioc.version < 5)
            change();
    };
    start(list);
    change();
    change();
    drain();
    EXPECT_EQ(ioc.version, 5);
    EXPECT_EQ(ioc.seen(low), 5);
}

// ---- priorities ----

TEST_F(ScanList, APriorityThatHangsHoldsNoOtherBackAndQueuesTwo)
{
    start(list, {low, high});
    for (int i = 1; i <= 1000; ++i) {
        change();
        ASSERT_TRUE(ioc.runPass(high));
        ASSERT_EQ(ioc.seen(high), i);
        ASSERT_LE(ioc.queued(low), 2);
        ASSERT_EQ(ioc.queued(high), 0);
    }
    EXPECT_EQ(ioc.passes(high), 1000);
    drain();
    EXPECT_EQ(ioc.passes(low), 2);
    EXPECT_EQ(ioc.seen(low), 1000);
}

TEST_F(ScanList, ABurstAtTwoSpeedsLeavesBothAtTheLastValue)
{
    start(list, {low, high});
    for (int i = 1; i <= 1000; ++i) {
        change();
        ioc.runPass(high);
        if (i % 50 == 0)
            ioc.runPass(low);
        ASSERT_LE(ioc.queued(low), 2);
    }
    drain();
    EXPECT_EQ(ioc.seen(low), 1000);
    EXPECT_EQ(ioc.seen(high), 1000);
    EXPECT_EQ(ioc.passes(low), 20 + 1);
}

TEST_F(ScanList, APriorityWithoutRecordsIsNotQueued)
{
    start(list, {low, low, high});
    list.recordLeaves(low);
    list.recordLeaves(high);
    change();
    EXPECT_EQ(ioc.queued(low), 1) << "one of two records is left";
    EXPECT_EQ(ioc.asked(medium), 0);
    EXPECT_EQ(ioc.asked(high), 0);
}

TEST_F(ScanList, WhatIsNoPriorityIsNotCounted)
{
    start(list, {});
    for (const int prio : {-1, 3, 1000, -1000}) {
        list.recordJoins(prio);
        list.recordLeaves(prio);
        list.pass(prio);
    }
    list.recordLeaves(low); // that never joined
    change();
    EXPECT_EQ(ioc.asked(low) + ioc.asked(medium) + ioc.asked(high), 0);
    list.recordJoins(low);
    change();
    EXPECT_EQ(ioc.queued(low), 1);
}

// What is left of the time of the first one may be too short for the second.
TEST_F(ScanList, ARecordThatJoinsWhileTheTimerRunsHasAWholeDelayOfItsOwn)
{
    start(list, {low, high});
    list.iocRuns();
    drain();
    list.recordJoins(low);
    list.recordJoins(high);
    ASSERT_TRUE(ioc.letTimePass());
    EXPECT_EQ(ioc.queued(low), 1);
    EXPECT_EQ(ioc.queued(high), 0);
    ASSERT_TRUE(ioc.letTimePass());
    EXPECT_EQ(ioc.queued(high), 1);
    EXPECT_FALSE(ioc.letTimePass());
}

TEST_F(ScanList, ARecordThatMovesIsScannedOnceAndLeavesNothingBehind)
{
    start(list, {low, low});
    list.iocRuns();
    drain();
    const int before = ioc.passes(low);
    // To high and back, and changes while it is in no list.
    list.recordLeaves(low);
    change();
    drain();
    list.recordJoins(high);
    drain();
    EXPECT_EQ(ioc.seen(high), ioc.version);
    list.recordLeaves(high);
    list.recordJoins(low);
    drain();
    EXPECT_EQ(ioc.seen(low), ioc.version);
    EXPECT_LE(ioc.passes(low) - before, 3) << "for the change and for each move";
    EXPECT_EQ(ioc.passes(high), 1);

    const int idle = ioc.passes(low);
    drain();
    EXPECT_FALSE(ioc.letTimePass());
    EXPECT_EQ(ioc.passes(low), idle);
    for (int i = 1; i <= 10; ++i) {
        change();
        drain();
        EXPECT_EQ(ioc.passes(low), idle + i) << "one for each change";
    }
    EXPECT_EQ(ioc.passes(high), 1);
}

TEST_F(ScanList, ForARecordThatIsScannedAloneThereIsNoPass)
{
    start(list, {low, low});
    list.iocRuns();
    drain();
    list.recordLeaves(low, true);
    list.recordJoins(high, true);
    EXPECT_FALSE(ioc.letTimePass());
    change();
    EXPECT_EQ(ioc.queued(low), 1);
    EXPECT_EQ(ioc.queued(high), 1);
}

// It may end before its last record then.
TEST_F(ScanList, APassThatARecordMovesInIsRepeated)
{
    start(list, {low, low});
    list.iocRuns();
    EXPECT_EQ(ioc.queued(low), 1);
    list.recordLeaves(low, true);
    drain();
    EXPECT_EQ(ioc.passes(low), 2);
    ioc.duringPass = [this] {
        ioc.duringPass = nullptr;
        list.recordJoins(low, true);
    };
    change();
    drain();
    EXPECT_EQ(ioc.passes(low), 4);
}

// ---- nothing is lost ----

TEST_F(ScanList, WhateverTheOrderOfThingsNothingIsLostAndTheBoundHolds)
{
    for (unsigned seed = 0; seed < 300; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        ioc.reset();
        ZANTOScanList fresh("ai", FakeIoc::services);
        start(fresh, {low, high});
        fresh.iocRuns();
        bool mediumHasRecords = false;
        for (int step = 0; step < 300; ++step) {
            switch (random() % 10) {
            case 0: ioc.runPass(low); break;
            case 1: ioc.runPass(high); break;
            case 2: ioc.setCapacity(static_cast<int>(random() % 3), random() % 3); break;
            case 3: ioc.letTimePass(); break;
            case 4:
                (mediumHasRecords ? fresh.recordLeaves(medium) : fresh.recordJoins(medium));
                mediumHasRecords = !mediumHasRecords;
                break;
            case 5: ioc.runPass(medium); break;
            default: change(fresh);
            }
            for (const int prio : {low, medium, high})
                ASSERT_LE(ioc.queued(prio), 2);
        }
        for (const int prio : {low, medium, high})
            ioc.setCapacity(prio, 2000);
        drain();
        ASSERT_EQ(ioc.seen(low), ioc.version);
        ASSERT_EQ(ioc.seen(high), ioc.version);
        if (mediumHasRecords) {
            ASSERT_EQ(ioc.seen(medium), ioc.version);
        }
    }
}

// Even with several threads for a priority.
TEST_F(ScanList, NothingIsLostBetweenThreads)
{
    start(list, {low, high});
    std::atomic<int> writers{3};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < 2000; ++n)
                change();
            --writers;
        });
    }
    for (const int prio : {low, low, high}) {
        threads.emplace_back([&, prio] {
            while (writers > 0) {
                EXPECT_LE(ioc.queued(prio), 2);
                if (!ioc.runPass(prio))
                    std::this_thread::yield();
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    drain();
    EXPECT_EQ(ioc.seen(low), 6000);
    EXPECT_EQ(ioc.seen(high), 6000);
    EXPECT_EQ(list.asked(), 6000U);
}
