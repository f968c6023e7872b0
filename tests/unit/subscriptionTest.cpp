// Subscription of the whole tree to change events.
#include "unitSupport.h"

#include "ZANTO.h"

namespace {

class Subscription : public ZantoTest {
protected:
    void SetUp() override
    {
        ZantoTest::SetUp();
        auto root = makeItem("CRATE", nodeTypeSystemItem, 0, nodeAccessNone);
        systemNode = root.release();
    }

    static void addParameter(ZANTONode &node, const std::string &name, nodeType type,
                             nodeAccessRights access)
    {
        node.addParameter(makeItem(name, type, 0, access).release());
    }

    static void addSystemParameters(
        const std::vector<std::pair<std::string, nodeAccessRights>> &all)
    {
        for (const auto &[name, access] : all)
            addParameter(*systemNode, name,
                         access == nodeAccessWrite ? nodeTypeSystemCmd : nodeTypeSystemProp,
                         access);
    }

    static ZANTONode &addSlot(nodeType type)
    {
        ZANTONode *slot = makeItem("slot", type, 0, nodeAccessNone).release();
        // Positions count, not what the node says.
        slot->setBdSlotNr(77);
        systemNode->addChildNode(slot);
        return *slot;
    }

    static ZANTONode &addChannel(ZANTONode &board, const Lines &readable)
    {
        ZANTONode *channel = makeItem("channel", nodeTypeChannelItem, 0, nodeAccessNone).release();
        channel->setChIdx(77);
        board.addChildNode(channel);
        for (const std::string &name : readable)
            addParameter(*channel, name, nodeTypeChannelParam, nodeAccessReadWrite);
        return *channel;
    }

    // Two boards with an empty slot between them.
    static void makeCrate()
    {
        addSystemParameters({{"Clear", nodeAccessWrite}, {"A", nodeAccessRead}});
        for (const nodeType type : {nodeTypeBoardItem, nodeTypeEmptyNode, nodeTypeBoardItem}) {
            ZANTONode &slot = addSlot(type);
            if (type == nodeTypeEmptyNode)
                continue;
            addParameter(slot, "Temp", nodeTypeBoardParam, nodeAccessRead);
            addChannel(slot, {"Name", "VSet", "IMon"});
            addChannel(slot, {"Name", "VSet"});
        }
    }
};

// The system call comes first; nothing else is asked for.
void expectSystemList(const FakeAccessLibrary &fake, const std::string &listAndCount)
{
    EXPECT_EQ(fake.calls(), Lines{"SubscribeSystemParams(7, 5180, " + listAndCount + ")"});
}

} // namespace

TEST_F(Subscription, TheWholeTreeIsWatchedLevelByLevel)
{
    makeCrate();
    EXPECT_EQ(subscribeParameters(), 0);
    EXPECT_EQ(fake.calls(), (Lines{"SubscribeSystemParams(7, 5180, :A, 1)",
                                   "SubscribeBoardParams(7, 5180, 0, Temp, 1)",
                                   "SubscribeChannelParams(7, 5180, 0, 0, VSet:IMon, 2)",
                                   "SubscribeChannelParams(7, 5180, 0, 1, VSet, 1)",
                                   "SubscribeBoardParams(7, 5180, 2, Temp, 1)",
                                   "SubscribeChannelParams(7, 5180, 2, 0, VSet:IMon, 2)",
                                   "SubscribeChannelParams(7, 5180, 2, 1, VSet, 1)"}));
}

TEST_F(Subscription, UnsubscribingSendsTheSameLists)
{
    makeCrate();
    subscribeParameters();
    Lines expected;
    for (const std::string &call : fake.calls())
        expected.push_back("Un" + call);
    fake.forgetCalls();
    EXPECT_EQ(unsubscribeParameters(), 0);
    EXPECT_EQ(fake.calls(), expected);
}

TEST_F(Subscription, AnyFlagButZeroSubscribes)
{
    for (const int32_t flag : {1, -1, 2, INT32_MIN})
        subscribeForParameters(flag);
    EXPECT_EQ(fake.calls(), Lines(4, "SubscribeSystemParams(7, 5180, , 0)"));
    fake.forgetCalls();
    subscribeForParameters(0);
    EXPECT_EQ(fake.calls(), Lines{"UnSubscribeSystemParams(7, 5180, , 0)"});
}

TEST_F(Subscription, ThePortAndTheHandleOfTheMomentAreSent)
{
    tcpPort = 40000;
    subscribeParameters();
    EXPECT_EQ(fake.calls(), Lines{"SubscribeSystemParams(7, -25536, , 0)"});
    fake.forgetCalls();
    systemNode->setSysHandle(3);
    subscribeParameters();
    EXPECT_EQ(fake.calls(), Lines{"SubscribeSystemParams(3, -25536, , 0)"});
}

// ---- which names ----

TEST_F(Subscription, CommandsAndTheServersOwnParametersAreNotWatched)
{
    addSystemParameters(
        {{"Clear", nodeAccessWrite}, {"ConnStat", nodeAccessRead}, {"NrOfSlot", nodeAccessRead}});
    EXPECT_EQ(subscribeParameters(), 0);
    expectSystemList(fake, ", 0");
}

TEST_F(Subscription, ASystemListBeginsWithAColonUnlessItsFirstParameterIsWatched)
{
    addSystemParameters(
        {{"Clear", nodeAccessWrite}, {"A", nodeAccessRead}, {"B", nodeAccessReadWrite}});
    subscribeParameters();
    expectSystemList(fake, ":A:B, 2");
}

TEST_F(Subscription, AWatchedFirstParameterStartsTheSystemList)
{
    addSystemParameters({{"A", nodeAccessNone},
                         {"Clear", nodeAccessWrite},
                         {"B", nodeAccessRead},
                         {"ConnStat", nodeAccessRead}});
    subscribeParameters();
    expectSystemList(fake, "A:B, 2");
}

TEST_F(Subscription, OnASystemOnlyExactNamesAreTheServersOwn)
{
    addSystemParameters(
        {{"connstat", nodeAccessRead}, {"NrOfSlots", nodeAccessRead}, {"Name", nodeAccessRead}});
    subscribeParameters();
    expectSystemList(fake, "connstat:NrOfSlots:Name, 3");
}

TEST_F(Subscription, ABoardListHasAllButWriteOnlyNames)
{
    ZANTONode &board = addSlot(nodeTypeBoardItem);
    addParameter(board, "Reset", nodeTypeBoardParam, nodeAccessWrite);
    addParameter(board, "Name", nodeTypeBoardParam, nodeAccessRead);
    addParameter(board, "ConnStat", nodeTypeBoardParam, nodeAccessReadWrite);
    addParameter(board, "None", nodeTypeBoardParam, nodeAccessNone);
    subscribeParameters();
    EXPECT_EQ(fake.callsOf("SubscribeBoard"),
              Lines{"SubscribeBoardParams(7, 5180, 0, :Name:ConnStat:None, 3)"});
}

TEST_F(Subscription, ABoardAndAChannelWithNothingToWatchMakeTheirCalls)
{
    addChannel(addSlot(nodeTypeBoardItem), {"Name"});
    EXPECT_EQ(subscribeParameters(), 0);
    EXPECT_EQ(fake.calls(),
              (Lines{"SubscribeSystemParams(7, 5180, , 0)", "SubscribeBoardParams(7, 5180, 0, , 0)",
                     "SubscribeChannelParams(7, 5180, 0, 0, , 0)"}));
}

TEST_F(Subscription, AChannelListNeverBeginsWithAColon)
{
    ZANTONode &board = addSlot(nodeTypeBoardItem);
    ZANTONode &channel = addChannel(board, {"Name"});
    addParameter(channel, "Reset", nodeTypeChannelParam, nodeAccessWrite);
    addParameter(channel, "A", nodeTypeChannelParam, nodeAccessRead);
    addParameter(channel, "Name", nodeTypeChannelParam, nodeAccessRead);
    addParameter(channel, "B", nodeTypeChannelParam, nodeAccessReadWrite);
    subscribeParameters();
    EXPECT_EQ(fake.callsOf("SubscribeChannel"),
              Lines{"SubscribeChannelParams(7, 5180, 0, 0, A:B, 2)"});
}

// ---- failures ----

TEST_F(Subscription, EveryLevelIsAttemptedAfterAFailure)
{
    makeCrate();
    subscribeParameters();
    const Lines all = fake.calls();
    for (const std::string &call : all) {
        SCOPED_TRACE(call);
        fake.forgetCalls();
        fake.heal();
        fake.failCalls(call, 5);
        EXPECT_EQ(subscribeParameters(), -1);
        EXPECT_EQ(fake.calls(), all);
    }
}

TEST_F(Subscription, ARefusedNameFailsTheRun)
{
    makeCrate();
    for (const char *name : {"A", "Temp", "IMon"}) {
        fake.heal();
        fake.refuseName(name);
        EXPECT_EQ(subscribeParameters(), -1) << name;
    }
}

TEST_F(Subscription, EachLevelNamesWhatItCouldNotWatch)
{
    addSystemParameters({{"Clear", nodeAccessWrite}, {"A", nodeAccessRead}, {"B", nodeAccessRead}});
    addSlot(nodeTypeEmptyNode);
    ZANTONode &board = addSlot(nodeTypeBoardItem);
    addParameter(board, "Temp", nodeTypeBoardParam, nodeAccessRead);
    addChannel(board, {"Name"});
    addChannel(board, {"Name", "VSet", "IMon", "Pw"});
    const auto subscribe = [] { subscribeParameters(); };

    const struct {
        Lines refused;
        const char *message;
        const char *sent;
    } cases[] = {
        {{"B"}, "Error subscribing system properties: [B]\n", "sent: :A:B\n"},
        {{"Temp"}, "Error subscribing board [1] parameters: [Temp]\n", "sent: Temp\n"},
        {{"VSet", "Pw"},
         "Error subscribing channel [1:1] parameters: [VSet][Pw]\n",
         "sent: VSet:IMon:Pw\n"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.message);
        fake.heal();
        for (const std::string &name : c.refused)
            fake.refuseName(name);
        expectPrintedFrom(1, c.message, subscribe);
        EXPECT_EQ(printedAt(7, subscribe), c.message);
        EXPECT_EQ(printedAt(8, subscribe), std::string(c.message) + c.sent);
        EXPECT_EQ(printedAt(8, [] { unsubscribeParameters(); }), std::string(c.message) + c.sent);
    }
}

TEST_F(Subscription, AFailedCallNamesEveryName)
{
    addSystemParameters({{"A", nodeAccessRead}, {"B", nodeAccessRead}});
    fake.failCalls("SubscribeSystemParams(", 5);
    expectPrintedFrom(1, "Error subscribing system properties: [A][B]\n",
                      [] { subscribeParameters(); });
}

TEST_F(Subscription, ALevelThatGetsNoResultArrayIsToldAndTheOthersAreAttempted)
{
    // So many names that no other allocation has the size of their result array.
    constexpr std::size_t count = 1001;
    const struct {
        int level;
        const char *message;
    } cases[] = {{0, "Error subscribing system properties - ALL\n"},
                 {1, "Error subscribing board [0] parameters - ALL\n"},
                 {2, "Error subscribing channel [0:0] parameters - ALL\n"}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.message);
        NodePtr(systemNode).reset();
        systemNode = makeItem("CRATE", nodeTypeSystemItem, 0, nodeAccessNone).release();
        ZANTONode &board = addSlot(nodeTypeBoardItem);
        ZANTONode &channel = addChannel(board, {});
        ZANTONode *const levels[] = {systemNode, &board, &channel};
        for (std::size_t i = 0; i < count; ++i)
            addParameter(*levels[c.level], "P", nodeTypeChannelParam, nodeAccessRead);
        const auto subscribe = [&] {
            const AllocationFailure failure(count, count + 15);
            fake.forgetCalls();
            EXPECT_EQ(subscribeParameters(), -1);
            EXPECT_EQ(fake.calls().size(), 2U);
        };
        expectPrintedFrom(1, c.message, subscribe);
    }
}

TEST_F(Subscription, ASuccessfulRunPrintsNothing)
{
    makeCrate();
    EXPECT_EQ(printedAt(10, [] { subscribeParameters(); }), "");
}

TEST_F(Subscription, WithoutATreeNothingIsCalled)
{
    const NodePtr tree(systemNode);
    systemNode = nullptr;
    EXPECT_EQ(subscribeParameters(), -1);
    EXPECT_EQ(unsubscribeParameters(), -1);
    EXPECT_EQ(fake.calls(), Lines{});
}
