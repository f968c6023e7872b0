#include "changedSupport.h"

#include "ZANTOchangequeue.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr uint32_t tree = 7;

class ChangeQueue : public ::testing::Test {
protected:
    void SetUp() override { FakeRecords::instance().reset(); }

    dbCommon *join(const std::string &name, std::size_t node, int prio = low)
    {
        dbCommon *record = FakeRecords::instance().add(name, nodeAt(node));
        queue.join(record, prio, tree);
        return record;
    }

    Lines takeAll(int prio = low)
    {
        Lines names;
        while (const dbCommon *record = queue.take(prio))
            names.emplace_back(record->name);
        return names;
    }

    ZANTOChangeQueue queue{FakeRecords::services.find};
};

} // namespace

TEST_F(ChangeQueue, HandsOutTheRecordsInTheOrderOfTheChanges)
{
    join("a", 0);
    join("b", 1);
    join("c", 2);
    queue.bind(tree);
    for (const std::size_t node : {2, 0, 1})
        queue.mark(nodeAt(node));
    EXPECT_EQ(queue.length(low), 3U);
    EXPECT_THAT(takeAll(), ElementsAre("c", "a", "b"));
    EXPECT_EQ(queue.length(low), 0U);
    EXPECT_THAT(takeAll(), IsEmpty());
}

TEST_F(ChangeQueue, ARecordStandsThereOnce)
{
    join("a", 0);
    join("b", 1);
    queue.bind(tree);
    for (int i = 0; i < 1000; ++i)
        queue.mark(nodeAt(i % 2));
    EXPECT_EQ(queue.length(low), 2U);
    EXPECT_THAT(takeAll(), ElementsAre("a", "b"));
}

TEST_F(ChangeQueue, OnceTakenAChangeQueuesItAgain)
{
    dbCommon *a = join("a", 0);
    join("b", 1);
    queue.bind(tree);
    queue.mark(nodeAt(0));
    queue.mark(nodeAt(1));
    EXPECT_EQ(queue.take(low), a);
    queue.mark(nodeAt(0));
    EXPECT_THAT(takeAll(), ElementsAre("b", "a"));
}

TEST_F(ChangeQueue, HasAQueueForEachPriority)
{
    join("a", 0, low);
    join("b", 0, medium);
    join("c", 0, high);
    queue.bind(tree);
    queue.mark(nodeAt(0));
    EXPECT_THAT(takeAll(high), ElementsAre("c"));
    EXPECT_EQ(queue.length(low), 1U);
    EXPECT_THAT(takeAll(low), ElementsAre("a"));
    EXPECT_THAT(takeAll(medium), ElementsAre("b"));
}

TEST_F(ChangeQueue, AllRecordsOfANodeAreItsOwn)
{
    join("first", 0);
    join("second", 0);
    join("other", 1);
    queue.bind(tree);
    dbCommon *third = join("third", 0);
    queue.mark(nodeAt(0));
    EXPECT_THAT(takeAll(), ::testing::UnorderedElementsAre("first", "second", "third"));
    queue.leave(third);
    queue.mark(nodeAt(0));
    EXPECT_THAT(takeAll(), ::testing::UnorderedElementsAre("first", "second"));
}

TEST_F(ChangeQueue, WhatLeavesStandsInNoQueue)
{
    std::vector<dbCommon *> records;
    for (int i = 0; i < 5; ++i)
        records.push_back(join(std::string(1, static_cast<char>('a' + i)), 0));
    queue.markAll();
    ASSERT_EQ(queue.length(low), 5U);
    const Lines order = takeAll();
    // From the middle, the front and the end.
    for (const std::size_t place : {2, 0, 4}) {
        queue.markAll();
        const auto gone = std::find_if(records.begin(), records.end(), [&](const dbCommon *record) {
            return record->name == order[place];
        });
        queue.leave(*gone);
    }
    EXPECT_EQ(queue.length(low), 2U);
    EXPECT_THAT(takeAll(), ElementsAre(order[1], order[3]));
}

TEST_F(ChangeQueue, WhoMovesToAnotherPriorityLeavesTheFirst)
{
    dbCommon *a = join("a", 0, low);
    queue.bind(tree);
    queue.mark(nodeAt(0));
    queue.join(a, high, tree);
    EXPECT_THAT(takeAll(low), IsEmpty());
    queue.mark(a);
    EXPECT_THAT(takeAll(high), ElementsAre("a"));
}

TEST_F(ChangeQueue, APriorityThatIsNoneIsNowhere)
{
    for (const int prio : {-1, NUM_CALLBACK_PRIORITIES, 100}) {
        join("a", 0, prio);
        queue.markAll();
        EXPECT_EQ(queue.take(prio), nullptr);
        EXPECT_EQ(queue.length(prio), 0U);
    }
    EXPECT_THAT(takeAll(low), IsEmpty());
}

TEST_F(ChangeQueue, UnknownNodesAndRecordsAreNobodys)
{
    dbCommon *stranger = FakeRecords::instance().add("stranger", nullptr);
    dbCommon *nodeless = FakeRecords::instance().add("nodeless", nullptr);
    queue.join(nodeless, low, tree);
    queue.bind(tree);
    queue.mark(nodeAt(0));
    queue.mark(static_cast<const ZANTONode *>(nullptr));
    queue.mark(stranger);
    queue.leave(stranger);
    EXPECT_THAT(takeAll(), IsEmpty());
    queue.mark(nodeless);
    EXPECT_THAT(takeAll(), ElementsAre("nodeless"));
}

TEST_F(ChangeQueue, ANodeOfATreeThatIsGoneMatchesNothing)
{
    join("a", 0);
    join("b", 1);
    EXPECT_FALSE(queue.isBoundTo(tree));
    queue.bind(tree);
    EXPECT_TRUE(queue.isBoundTo(tree));
    // The new tree has its nodes the other way round, at the addresses of the old ones.
    FakeRecords::instance().lastNode = [](const std::string &name) {
        return nodeAt(name == "a" ? 1 : 0);
    };
    queue.bind(tree + 1);
    EXPECT_FALSE(queue.isBoundTo(tree));
    queue.mark(nodeAt(0));
    EXPECT_THAT(takeAll(), ElementsAre("b"));
}

// Its node is known at once, or the nodes are sought anew.
TEST_F(ChangeQueue, WhoJoinsLaterIsFound)
{
    join("a", 0);
    queue.bind(tree);
    join("b", 0);
    EXPECT_TRUE(queue.isBoundTo(tree));
    queue.join(FakeRecords::instance().add("c", nodeAt(0)), low, tree + 1);
    EXPECT_FALSE(queue.isBoundTo(tree));
    queue.bind(tree);
    queue.mark(nodeAt(0));
    EXPECT_EQ(takeAll().size(), 3U);
}

TEST_F(ChangeQueue, WithoutMemoryForItsNodeAllAreSoughtAnew)
{
    join("a", 0);
    queue.bind(tree);
    FakeRecords::instance().lastNode = [](const std::string &) -> const ZANTONode * {
        throw std::bad_alloc();
    };
    join("late", 1);
    EXPECT_FALSE(queue.isBoundTo(tree));
    EXPECT_THROW(queue.bind(tree), std::bad_alloc);
    EXPECT_FALSE(queue.isBoundTo(tree));
    queue.markAll();
    EXPECT_EQ(queue.length(low), 2U);
}
