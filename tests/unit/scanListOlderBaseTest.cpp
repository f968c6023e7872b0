// Scan lists on bases that scan all priorities at once.
#include "scanListSupport.h"

TEST_F(OlderScanList, TheFirstRequestGoesThroughAtOnce)
{
    change(older);
    EXPECT_EQ(ioc.requestsForAll(), 1);
    EXPECT_EQ(ioc.seenByAll(), 1);
    EXPECT_EQ(ioc.timers(), 1);
    EXPECT_EQ(ioc.delay(), 0.04);
}

TEST_F(OlderScanList, WhatIsAskedMeanwhileIsRequestedOnceAtTheEnd)
{
    for (int i = 0; i < 1000; ++i)
        change(older);
    EXPECT_EQ(ioc.requestsForAll(), 1);
    EXPECT_EQ(older.deferred(), 999U);
    EXPECT_TRUE(ioc.letTimePass());
    EXPECT_EQ(ioc.requestsForAll(), 2);
    EXPECT_EQ(ioc.seenByAll(), 1000);
    change(older);
    EXPECT_EQ(ioc.requestsForAll(), 2) << "an interval follows this one too";
    drain();
    EXPECT_EQ(ioc.requestsForAll(), 3);
    EXPECT_EQ(ioc.seenByAll(), 1001);
}

TEST_F(OlderScanList, WithNothingChangedNothingIsRequested)
{
    change(older);
    drain();
    EXPECT_EQ(ioc.requestsForAll(), 1);
    EXPECT_FALSE(ioc.letTimePass());
    change(older);
    EXPECT_EQ(ioc.requestsForAll(), 2);
}

TEST_F(OlderScanList, BehindAPassThatHangsNothingMoreIsRequested)
{
    ioc.letPassesHang(true);
    for (int i = 1; i < ZANTOScanList::firstPatience; ++i) {
        change(older);
        EXPECT_TRUE(ioc.letTimePass());
    }
    EXPECT_EQ(ioc.requestsForAll(), 1);
    ioc.letPassesHang(false);
    drain();
    EXPECT_EQ(ioc.requestsForAll(), 2);
    EXPECT_EQ(ioc.seenByAll(), ioc.version);
}

TEST_F(OlderScanList, OnePassThatHangsIsEnough)
{
    older.recordJoins(high);
    ioc.letPassesHang(true);
    change(older);
    older.passIsOver(high);
    change(older);
    EXPECT_TRUE(ioc.letTimePass());
    EXPECT_EQ(ioc.requestsForAll(), 1);
    older.passIsOver(low);
    EXPECT_TRUE(ioc.letTimePass());
    EXPECT_EQ(ioc.requestsForAll(), 2);
}

TEST_F(OlderScanList, ARequestThatMayHaveBeenRefusedIsMadeAgainMoreAndMoreSeldom)
{
    ioc.loseMarks(true);
    change(older);
    int patience = ZANTOScanList::firstPatience;
    for (int requests = 1; requests < 5; ++requests, patience *= 2) {
        for (int i = 0; i < patience; ++i) {
            EXPECT_EQ(ioc.requestsForAll(), requests);
            ASSERT_TRUE(ioc.letTimePass());
        }
    }
    EXPECT_EQ(ioc.requestsForAll(), 5);
    older.passIsOver(low);
    EXPECT_FALSE(ioc.letTimePass() && ioc.letTimePass()) << "the last one was taken";
}

TEST_F(OlderScanList, OnceAMarkIsBackPatienceIsShortAgain)
{
    ioc.loseMarks(true);
    change(older);
    for (int i = 0; i < ZANTOScanList::firstPatience; ++i)
        ASSERT_TRUE(ioc.letTimePass());
    EXPECT_EQ(ioc.requestsForAll(), 2);
    older.passIsOver(low);
    change(older);
    ASSERT_TRUE(ioc.letTimePass());
    EXPECT_EQ(ioc.requestsForAll(), 3);
    for (int i = 0; i < ZANTOScanList::firstPatience; ++i)
        ASSERT_TRUE(ioc.letTimePass());
    EXPECT_EQ(ioc.requestsForAll(), 4);
}

TEST_F(OlderScanList, WithoutMemoryForATimerEveryRequestGoesThrough)
{
    ioc.breakTimer();
    for (int i = 0; i < 10; ++i)
        change(older);
    EXPECT_EQ(ioc.requestsForAll(), 10);
}

TEST_F(OlderScanList, AStopRequestsNothingMore)
{
    change(older);
    change(older);
    older.stop();
    change(older);
    EXPECT_TRUE(ioc.letTimePass());
    EXPECT_FALSE(ioc.letTimePass());
    EXPECT_EQ(ioc.requestsForAll(), 1);
}

TEST_F(OlderScanList, WhateverTheOrderOfThingsNothingIsLost)
{
    for (unsigned seed = 0; seed < 100; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        int intervals = 0;
        const int before = ioc.requestsForAll();
        for (int step = 0; step < 300; ++step) {
            if (random() % 8 == 0)
                intervals += ioc.letTimePass() ? 1 : 0;
            else
                change(older);
            ASSERT_LE(ioc.requestsForAll() - before, intervals + 1);
        }
        drain();
        ASSERT_EQ(ioc.seenByAll(), ioc.version);
    }
}

TEST_F(OlderScanList, ARecordThatMovesIsScannedOnce)
{
    older.iocRuns();
    drain();
    older.recordLeaves(low);
    ++ioc.version;
    older.recordJoins(high);
    drain();
    EXPECT_EQ(ioc.requestsForAll(), 2);
    EXPECT_EQ(ioc.seenByAll(), ioc.version);
}
