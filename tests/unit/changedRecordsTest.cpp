#include "changedSupport.h"

#include "ZANTOlife.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

namespace {

class ChangedRecords : public ZantoTest {
protected:
    void SetUp() override
    {
        ZantoTest::SetUp();
        ioc.reset();
        plantTree();
    }
    void TearDown() override
    {
        systemNode = nullptr;
        ZantoTest::TearDown();
    }

    // Any root: the fake finds the nodes.
    void plantTree()
    {
        systemNode = &m_root;
        ZANTOOpenTree();
    }

    dbCommon *join(const std::string &name, std::size_t node, int prio = low)
    {
        dbCommon *record = ioc.add(name, nodeAt(node));
        joinAt(record, prio);
        return record;
    }
    void joinAt(dbCommon *record, int prio)
    {
        record->prio = static_cast<epicsEnum16>(prio);
        changed.recordJoins(record, true);
    }

    void mark(std::size_t node) { changed.mark(nodeAt(node), systemNode.generation()); }
    // As a batch of events does it.
    void change(std::size_t node)
    {
        mark(node);
        changed.wake();
    }

    // The IOC works everything off; the names of what was processed.
    Lines drain()
    {
        int steps = 0;
        while (ioc.runPass(changed, low) || ioc.runPass(changed, medium) ||
               ioc.runPass(changed, high) || ioc.letTimePass(changed)) {
            if (++steps == 100) {
                ADD_FAILURE() << "it goes on for ever";
                break;
            }
        }
        return ioc.processed();
    }

    FakeRecords &ioc = FakeRecords::instance();
    ZANTOChangedRecords changed{FakeRecords::services};

private:
    ZANTONode m_root;
};

} // namespace

// ---- marks ----

TEST_F(ChangedRecords, OfABatchAreProcessedOnceAndNoOthers)
{
    join("a", 0);
    join("b", 1);
    join("c", 2);
    changed.iocRuns(true);
    for (const std::size_t node : {1, 0, 1, 1})
        mark(node);
    EXPECT_EQ(ioc.waiting(low), 0) << "before the batch is over";
    changed.wake();
    EXPECT_EQ(ioc.waiting(low), 1);
    EXPECT_THAT(drain(), ElementsAre("b", "a"));
    changed.wake();
    EXPECT_EQ(ioc.waiting(low), 0);
}

TEST_F(ChangedRecords, AreProcessedAgainAfterAChangeThatComesMeanwhile)
{
    join("a", 0);
    changed.iocRuns(true);
    ioc.duringProcessing = [this](dbCommon *) {
        ioc.duringProcessing = nullptr;
        change(0);
    };
    change(0);
    EXPECT_THAT(drain(), ElementsAre("a", "a"));
}

TEST_F(ChangedRecords, AreProcessedOnceForAllChangesBeforeThePass)
{
    join("a", 0);
    changed.iocRuns(true);
    for (int i = 0; i < 1000; ++i)
        change(0);
    EXPECT_EQ(ioc.asked(low), 1);
    EXPECT_THAT(drain(), ElementsAre("a"));
}

TEST_F(ChangedRecords, OfAnyNumberAreAllInOnePass)
{
    Lines names;
    for (std::size_t i = 0; i < 1000; ++i) {
        names.push_back(std::to_string(i));
        join(names.back(), i);
    }
    changed.iocRuns(true);
    for (std::size_t i = 0; i < 1000; ++i)
        mark(i);
    changed.wake();
    EXPECT_TRUE(ioc.runPass(changed, low));
    EXPECT_EQ(ioc.processed(), names);
    EXPECT_EQ(ioc.asked(low), 1);
}

// A storm has no pass that never ends.
TEST_F(ChangedRecords, AreTakenAsTheyWereWhenThePassBegan)
{
    join("a", 0);
    join("b", 1);
    changed.iocRuns(true);
    int left = 10;
    ioc.duringProcessing = [this, &left](dbCommon *record) {
        if (left-- > 0)
            change(record->name[0] == 'a' ? 0 : 1);
    };
    mark(0);
    change(1);
    EXPECT_TRUE(ioc.runPass(changed, low));
    EXPECT_THAT(ioc.processed(), ElementsAre("a", "b"));
    EXPECT_THAT(drain(), SizeIs(10));
}

TEST_F(ChangedRecords, OfANodeAreAllThatShowIt)
{
    join("first", 0);
    join("second", 0, high);
    changed.iocRuns(true);
    change(0);
    EXPECT_THAT(drain(), UnorderedElementsAre("first", "second"));
}

TEST_F(ChangedRecords, HaveAThreadForTheirPriorityOnly)
{
    join("a", 0, low);
    join("b", 1, high);
    join("c", 0, medium);
    changed.iocRuns(true);
    change(1);
    EXPECT_EQ(ioc.asked(low), 0);
    EXPECT_EQ(ioc.asked(medium), 0);
    EXPECT_EQ(ioc.asked(high), 1);
    change(0);
    EXPECT_TRUE(ioc.runPass(changed, high));
    EXPECT_THAT(ioc.processed(), ElementsAre("b"));
    EXPECT_TRUE(ioc.runPass(changed, low));
    EXPECT_THAT(ioc.processed(), ElementsAre("a"));
    EXPECT_TRUE(ioc.runPass(changed, medium));
    EXPECT_THAT(ioc.processed(), ElementsAre("c"));
    changed.pass(-1);
    changed.pass(NUM_CALLBACK_PRIORITIES);
}

// ---- trees ----

TEST_F(ChangedRecords, OfATreeThatIsGoneAreNot)
{
    join("a", 0);
    join("b", 1);
    changed.iocRuns(true);
    const uint32_t gone = systemNode.generation();
    plantTree();
    ioc.lastNode = [](const std::string &name) { return nodeAt(name == "a" ? 1 : 0); };
    changed.mark(nodeAt(0), gone);
    changed.wake();
    EXPECT_THAT(drain(), IsEmpty());
    change(0);
    EXPECT_THAT(drain(), ElementsAre("b"));
}

TEST_F(ChangedRecords, OfAClosedTreeAreNot)
{
    join("a", 0);
    ASSERT_TRUE(ZANTOCloseTree(std::chrono::seconds(20)));
    changed.iocRuns(true);
    change(0);
    EXPECT_THAT(drain(), IsEmpty());
    dbCommon *late = ioc.add("late", nodeAt(1));
    changed.recordJoins(late, false);
    ZANTOOpenTree();
    change(1);
    EXPECT_THAT(drain(), ElementsAre("late"));
}

TEST_F(ChangedRecords, WithoutMemoryForTheNodesAreAll)
{
    join("a", 0);
    join("b", 1, high);
    const auto find = std::exchange(
        ioc.lastNode, [](const std::string &) -> const ZANTONode * { throw std::bad_alloc(); });
    changed.iocRuns(true);
    change(0);
    EXPECT_THAT(drain(), UnorderedElementsAre("a", "b"));
    ioc.lastNode = find;
    change(0);
    EXPECT_THAT(drain(), ElementsAre("a"));
}

// ---- records that move ----

TEST_F(ChangedRecords, ThatJoinWhileTheIocRunsAreProcessedAlone)
{
    join("early", 0);
    changed.iocRuns(true);
    EXPECT_THAT(drain(), IsEmpty()) << "of the start all lists are scanned";
    join("late", 0);
    EXPECT_THAT(drain(), ElementsAre("late"));
}

TEST_F(ChangedRecords, ThatMissNothingAreNotProcessed)
{
    changed.iocRuns(false);
    changed.recordJoins(ioc.add("a", nodeAt(0)), false);
    EXPECT_THAT(drain(), IsEmpty());
}

TEST_F(ChangedRecords, ThatLeftAreNotProcessed)
{
    const dbCommon *a = join("a", 0);
    join("b", 1);
    changed.iocRuns(true);
    mark(0);
    change(1);
    changed.recordLeaves(a);
    EXPECT_THAT(drain(), ElementsAre("b"));
    change(0);
    EXPECT_THAT(drain(), IsEmpty());
}

TEST_F(ChangedRecords, ThatLeaveWhileTheyAreWaitedForAreNotProcessed)
{
    join("a", 0);
    changed.iocRuns(true);
    ioc.duringWait = [this](dbCommon *record) {
        changed.recordLeaves(record);
        record->scan = menuScanPassive;
    };
    change(0);
    EXPECT_THAT(drain(), IsEmpty());
    EXPECT_FALSE(changed.passRuns());
}

TEST_F(ChangedRecords, ThatAreOnAnotherScanAreNotProcessed)
{
    dbCommon *a = join("a", 0);
    changed.iocRuns(true);
    a->scan = menuScanPassive;
    change(0);
    EXPECT_THAT(drain(), IsEmpty());
}

TEST_F(ChangedRecords, ThatChangeTheirPriorityAreProcessedAtTheNewOne)
{
    dbCommon *a = join("a", 0);
    changed.iocRuns(true);
    change(0);
    changed.recordLeaves(a);
    mark(0); // in no list: missed
    joinAt(a, high);
    EXPECT_TRUE(ioc.runPass(changed, low));
    EXPECT_THAT(ioc.processed(), IsEmpty());
    EXPECT_TRUE(ioc.runPass(changed, high));
    EXPECT_THAT(ioc.processed(), ElementsAre("a"));
}

TEST_F(ChangedRecords, ThatChangeTheirPriorityWhileTheyAreWaitedForAreProcessedOnce)
{
    join("a", 0);
    changed.iocRuns(true);
    ioc.duringWait = [this](dbCommon *record) {
        ioc.duringWait = nullptr;
        changed.recordLeaves(record);
        joinAt(record, high);
    };
    change(0);
    EXPECT_TRUE(ioc.runPass(changed, low));
    EXPECT_THAT(ioc.processed(), IsEmpty());
    EXPECT_THAT(drain(), ElementsAre("a"));
}

// ---- threads ----

TEST_F(ChangedRecords, WithoutAThreadAreProcessedOnceThereIsOne)
{
    join("a", 0);
    changed.iocRuns(true);
    ioc.threadsMissing = true;
    change(0);
    change(0);
    EXPECT_EQ(changed.refused(), 2U);
    EXPECT_EQ(ioc.timers(), 1);
    EXPECT_TRUE(ioc.letTimePass(changed));
    EXPECT_EQ(changed.refused(), 3U);
    ioc.threadsMissing = false;
    EXPECT_TRUE(ioc.letTimePass(changed));
    EXPECT_THAT(drain(), ElementsAre("a"));
}

TEST_F(ChangedRecords, WithoutATimerEitherAreProcessedWithTheNextBatch)
{
    join("a", 0);
    join("b", 1);
    changed.iocRuns(true);
    ioc.threadsMissing = ioc.timerMissing = true;
    change(0);
    EXPECT_FALSE(ioc.letTimePass(changed));
    ioc.threadsMissing = false;
    change(1);
    EXPECT_THAT(drain(), ElementsAre("a", "b"));
}

// ---- life ----

TEST_F(ChangedRecords, OfTheTimeBeforeTheIocRunsAreKept)
{
    join("a", 0);
    change(0);
    EXPECT_EQ(ioc.asked(low), 0);
    changed.iocRuns(true);
    EXPECT_THAT(drain(), ElementsAre("a"));
}

TEST_F(ChangedRecords, BeginNothingAfterTheStop)
{
    join("a", 0);
    join("b", 1);
    changed.iocRuns(true);
    mark(0);
    change(1);
    ioc.duringProcessing = [this](dbCommon *) {
        EXPECT_TRUE(changed.passRuns());
        changed.stop();
        EXPECT_TRUE(changed.passRuns());
    };
    EXPECT_THAT(drain(), ElementsAre("a"));
    EXPECT_FALSE(changed.passRuns());
    change(0);
    EXPECT_EQ(ioc.waiting(low), 0);
    ioc.duringProcessing = nullptr;
    // After a pause; for b, which the pass had taken, all lists are scanned then.
    changed.iocRuns(true);
    EXPECT_THAT(drain(), ElementsAre("a"));
}

TEST_F(ChangedRecords, ThatAreWaitedForAtTheStopAreNotProcessed)
{
    join("a", 0);
    changed.iocRuns(true);
    ioc.duringWait = [this](dbCommon *) { changed.stop(); };
    change(0);
    EXPECT_THAT(drain(), IsEmpty());
    EXPECT_FALSE(changed.passRuns());
}

TEST_F(ChangedRecords, NoPassThatWasAskedForBeginsAfterTheStop)
{
    join("a", 0);
    changed.iocRuns(true);
    change(0);
    changed.stop();
    EXPECT_THAT(drain(), IsEmpty());
    changed.iocRuns(true);
    EXPECT_THAT(drain(), ElementsAre("a"));
}
