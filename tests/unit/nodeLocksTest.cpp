// Locks, invalidation, subscription and edited values of a node.
#include "unitSupport.h"

#include "Contender.h"

namespace {

class NodeLocks : public ZantoTest {};

constexpr time_t longAgo = 1000;

// A node with a value of long ago, on slot 1, channel 2.
NodePtr valuedNode(nodeType type, uint32_t wrapperType = VEXAHV_PARAM_NUMERIC)
{
    NodePtr node = makeItem("VSet", type, wrapperType, nodeAccessReadWrite);
    node->setBdSlotNr(1);
    node->setChIdx(2);
    node->setNodeValue(ZANTONodeValue(variantOf(1.5F), nodeValueQualityGood, longAgo));
    return node;
}

FakeCrate crateWithVSet()
{
    const FakeParameter vset = fakeNumeric("VSet", VEXAHV_MODE_READWRITE, 0, 0, 100);
    FakeCrate crate;
    crate.properties = {
        fakeSysProp("VSet", VEXAHV_SYSPROP_REAL, VEXAHV_MODE_READWRITE, FakeBytes::of(0.0F))};
    crate.commands = {"VSet"};
    crate.slots = {FakeBoard(), fakeBoard("A1", 3, {vset}, {vset})};
    return crate;
}

const struct {
    nodeType type;
    const char *call;
} writes[] = {
    {nodeTypeSystemProp, "SetSysProp(7, VSet) = 2.5"},
    {nodeTypeBoardParam, "SetBdParam(7, 1, [1], VSet) = 2.5"},
    {nodeTypeChannelParam, "SetChParam(7, 1, VSet, 1, [2]) = 2.5"},
    {nodeTypeSystemCmd, "ExecComm(7, VSet)"},
};

// The type codes differ: 1 is a real system property, 0 a numeric parameter.
NodePtr writableNode(nodeType type)
{
    if (type == nodeTypeSystemProp)
        return valuedNode(type, VEXAHV_SYSPROP_REAL);
    return valuedNode(type, VEXAHV_PARAM_NUMERIC);
}

const nodeType unwritable[] = {nodeTypeSystemItem,  nodeTypeSystemParam,   nodeTypeBoardItem,
                               nodeTypeChannelItem, nodeTypeGlobalSetting, nodeTypeEmptyNode};

} // namespace

// ---- write path ----

TEST_F(NodeLocks, EachKindOfNodeWritesThroughItsOwnOperation)
{
    fake.setCrate(crateWithVSet());
    for (const auto &w : writes) {
        SCOPED_TRACE(w.call);
        const NodePtr node = writableNode(w.type);
        const time_t before = std::time(nullptr);
        fake.forgetCalls();
        EXPECT_EQ(node->setNodeEditedValue(variantOf(2.5F)), 0);
        EXPECT_EQ(fake.calls(), Lines{w.call});
        EXPECT_EQ(node->getNodeValue().ZANTOGetValue().toFloat(), 2.5F);
        EXPECT_EQ(node->getNodeValue().ZANTOGetQuality(), nodeValueQualityGood);
        EXPECT_GE(node->getNodeValue().ZANTOGetTimestamp(), before);
    }
}

TEST_F(NodeLocks, AnyValueExecutesACommand)
{
    fake.setCrate(crateWithVSet());
    const NodePtr node = valuedNode(nodeTypeSystemCmd, VEXAHV_PARAM_STRING);
    EXPECT_EQ(node->setNodeEditedValue(variantOf(std::string(""))), 0);
    EXPECT_EQ(fake.calls(), Lines{"ExecComm(7, VSet)"});
}

TEST_F(NodeLocks, AFailedWriteLeavesTheValueAndALaterOneMakesItGood)
{
    fake.setCrate(crateWithVSet());
    for (const auto &w : writes) {
        SCOPED_TRACE(w.call);
        const NodePtr node = writableNode(w.type);
        fake.failCalls("", 5, 1, 1);
        EXPECT_EQ(node->setNodeEditedValue(variantOf(2.5F)), 5);
        EXPECT_EQ(node->getNodeValue().ZANTOGetValue().toFloat(), 1.5F);
        EXPECT_EQ(node->getNodeValue().ZANTOGetTimestamp(), longAgo);
        EXPECT_EQ(node->getNodeValue().ZANTOGetQuality(), nodeValueQualityWriteFail);

        EXPECT_EQ(node->setNodeEditedValue(variantOf(2.5F)), 0);
        EXPECT_EQ(node->getNodeValue().ZANTOGetQuality(), nodeValueQualityGood);
        fake.heal();
    }
}

TEST_F(NodeLocks, AWriteOfAnotherKindFailsWithoutACall)
{
    for (const nodeType type : unwritable) {
        SCOPED_TRACE(type);
        const NodePtr node = valuedNode(type);
        EXPECT_EQ(node->setNodeEditedValue(variantOf(2.5F)), -1);
        EXPECT_EQ(node->getNodeValue().ZANTOGetValue().toFloat(), 1.5F);
        EXPECT_EQ(node->getNodeValue().ZANTOGetTimestamp(), longAgo);
        EXPECT_EQ(node->getNodeValue().ZANTOGetQuality(), nodeValueQualityWriteFail);
    }
    EXPECT_EQ(fake.calls(), Lines{});
}

TEST_F(NodeLocks, AWriteFailureIsTold)
{
    const NodePtr node = valuedNode(nodeTypeBoardParam);
    fake.failCalls("SetBdParam(", 5);
    const auto write = [&] { node->setNodeEditedValue(variant()); };
    const std::string library = "Error setting [VSet] board parameter\n";
    EXPECT_EQ(printedAt(2, write), library);
    EXPECT_EQ(printedAt(3, write),
              library + "Error set node [VSet] value - write fail with code = 5\n");
}

TEST_F(NodeLocks, AWriteOfAnotherKindIsToldTwiceFromLevelThreeOn)
{
    const NodePtr node = valuedNode(nodeTypeChannelItem);
    const auto write = [&] { node->setNodeEditedValue(variant()); };
    const std::string first = "Error set node [VSet] value - node type not found";
    expectPrintedFrom(1, first, write);
    EXPECT_EQ(printedAt(2, write), first);
    EXPECT_EQ(printedAt(3, write),
              first + "Error set node [VSet] value - write fail with code = -1\n");
}

TEST_F(NodeLocks, ASuccessfulWritePrintsNothing)
{
    fake.setCrate(crateWithVSet());
    const NodePtr node = valuedNode(nodeTypeChannelParam);
    EXPECT_EQ(printedAt(10, [&] { node->setNodeEditedValue(variantOf(1.0F)); }), "");
}

// ---- subscription ----

TEST_F(NodeLocks, EachWatchedKindSubscribesThroughItsOwnOperation)
{
    const struct {
        nodeType type;
        const char *call;
    } cases[] = {{nodeTypeBoardParam, "SubscribeBoardParams(7, 5180, 1, VSet, 1)"},
                 {nodeTypeChannelParam, "SubscribeChannelParams(7, 5180, 1, 2, VSet, 1)"},
                 {nodeTypeSystemProp, "SubscribeSystemParams(7, 5180, VSet, 1)"}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.call);
        const NodePtr node = valuedNode(c.type);
        fake.forgetCalls();
        EXPECT_EQ(node->ZANTOSubscribeNode(), 0);
        EXPECT_EQ(node->ZANTOUnSubscribeNode(), 0);
        EXPECT_EQ(fake.calls(), (Lines{c.call, std::string("Un") + c.call}));
    }
}

TEST_F(NodeLocks, SubscribingAnotherKindFailsWithoutACall)
{
    for (const nodeType type :
         {nodeTypeSystemItem, nodeTypeSystemParam, nodeTypeBoardItem, nodeTypeChannelItem,
          nodeTypeGlobalSetting, nodeTypeEmptyNode, nodeTypeSystemCmd}) {
        SCOPED_TRACE(type);
        const NodePtr node = valuedNode(type);
        EXPECT_EQ(node->ZANTOSubscribeNode(), -1);
        EXPECT_EQ(node->ZANTOUnSubscribeNode(), -1);
    }
    EXPECT_EQ(fake.calls(), Lines{});
}

TEST_F(NodeLocks, APortAbove32767IsAnnouncedAsANegativeNumber)
{
    tcpPort = 65535;
    valuedNode(nodeTypeSystemProp)->ZANTOSubscribeNode();
    EXPECT_EQ(fake.calls(), Lines{"SubscribeSystemParams(7, -1, VSet, 1)"});
}

TEST_F(NodeLocks, TheResultOfASubscriptionIsThatOfTheCallAlone)
{
    const NodePtr node = valuedNode(nodeTypeBoardParam);
    fake.refuseName("VSet");
    EXPECT_EQ(node->ZANTOSubscribeNode(), 0);
    fake.failCalls("SubscribeBoardParams(", 9);
    EXPECT_EQ(node->ZANTOSubscribeNode(), 9);
}

// ---- connection status ----

namespace {

// System with two boards of one channel, each node with a parameter; all values Good.
struct GoodTree {
    NodePtr root = valuedNode(nodeTypeSystemItem);
    std::vector<ZANTONode *> items;
    std::vector<ZANTONode *> parameters;

    GoodTree()
    {
        addParameter(*root);
        for (int board = 0; board < 2; ++board)
            addItem(*addItem(*root, nodeTypeBoardItem), nodeTypeChannelItem);
    }

private:
    ZANTONode *addItem(ZANTONode &parent, nodeType type)
    {
        items.push_back(valuedNode(type).release());
        parent.addChildNode(items.back());
        addParameter(*items.back());
        return items.back();
    }

    void addParameter(ZANTONode &parent)
    {
        parameters.push_back(valuedNode(nodeTypeChannelParam).release());
        parent.addParameter(parameters.back());
    }
};

} // namespace

TEST_F(NodeLocks, LosingTheConnectionMakesEveryBoardAndChannelBadAtOneTime)
{
    for (const connStatus status : {connStatus_KO, connStatus_PENDING}) {
        SCOPED_TRACE(status);
        const GoodTree tree;
        const time_t before = std::time(nullptr);
        tree.root->setConnectionStatus(status);
        EXPECT_EQ(tree.root->getConnectionStatus(), status);
        const time_t stamp = tree.items.front()->getNodeValue().ZANTOGetTimestamp();
        EXPECT_GE(stamp, before);
        for (const ZANTONode *item : tree.items) {
            EXPECT_EQ(item->getNodeValue().ZANTOGetQuality(), nodeValueQualityBad);
            EXPECT_EQ(item->getNodeValue().ZANTOGetTimestamp(), stamp);
            EXPECT_EQ(item->getNodeValue().ZANTOGetValue().toFloat(), 1.5F);
        }
    }
}

TEST_F(NodeLocks, LosingTheConnectionLeavesParametersAndTheNodeItselfAlone)
{
    const GoodTree tree;
    tree.root->setConnectionStatus(connStatus_KO);
    EXPECT_EQ(tree.root->getNodeValue().ZANTOGetQuality(), nodeValueQualityGood);
    for (const ZANTONode *parameter : tree.parameters)
        EXPECT_EQ(parameter->getNodeValue().ZANTOGetQuality(), nodeValueQualityGood);
}

TEST_F(NodeLocks, AGoodConnectionChangesNoQuality)
{
    const GoodTree tree;
    tree.root->setConnectionStatus(connStatus_OK);
    for (const ZANTONode *item : tree.items) {
        EXPECT_EQ(item->getNodeValue().ZANTOGetQuality(), nodeValueQualityGood);
        EXPECT_EQ(item->getNodeValue().ZANTOGetTimestamp(), longAgo);
    }
}

// ---- locks ----

TEST_F(NodeLocks, TheRecordLockKeepsOtherThreadsOutUntilItIsReleasedAsOftenAsTaken)
{
    ZANTONode node;
    node.lockSem();
    node.lockSem();
    node.unlockSem();
    const Contender other([&] { const ZANTONode::SemGuard guard(node); });
    EXPECT_TRUE(other.waits());
    node.unlockSem();
}

TEST_F(NodeLocks, OneThreadMaySetInsideItsRecordAccessAndInsideItsOwnWrite)
{
    fake.setCrate(crateWithVSet());
    const NodePtr node = valuedNode(nodeTypeChannelParam);
    fake.setHook([&](const std::string &) {
        node->setExpUnit("Volt");
        const ZANTONode::SemGuard guard(*node);
        node->setNodeDecimals(4);
    });
    const ZANTONode::SemGuard guard(*node);
    EXPECT_EQ(node->setNodeEditedValue(variantOf(2.5F)), 0);
    EXPECT_EQ(node->getExpUnit(), "Volt");
    EXPECT_EQ(node->getNodeDecimals(), 4);
}

TEST_F(NodeLocks, AnUpdateOfAnotherThreadWaitsForTheWriteInProgress)
{
    fake.setCrate(crateWithVSet());
    const NodePtr node = valuedNode(nodeTypeChannelParam);
    std::unique_ptr<Contender> update;
    bool updateWaited = false;
    fake.setHook([&](const std::string &) {
        update = std::make_unique<Contender>([&] {
            node->setNodeValue(ZANTONodeValue(variantOf(9.0F), nodeValueQualityGood, longAgo));
        });
        updateWaited = update->waits();
    });
    node->setNodeEditedValue(variantOf(2.5F));
    update.reset();
    EXPECT_TRUE(updateWaited);
    EXPECT_EQ(node->getNodeValue().ZANTOGetValue().toFloat(), 9.0F);
}

TEST_F(NodeLocks, ASetterOfAnotherThreadWaitsForTheSubscriptionInProgress)
{
    for (const bool subscribe : {true, false}) {
        for (const nodeType type : {nodeTypeSystemProp, nodeTypeBoardParam, nodeTypeChannelParam}) {
            const NodePtr node = valuedNode(type);
            std::unique_ptr<Contender> setter;
            bool setterWaited = false;
            fake.setHook([&](const std::string &) {
                setter = std::make_unique<Contender>([&] { node->setNodeDecimals(3); });
                setterWaited = setter->waits();
            });
            node->ZANTOSubscriptionForNode(subscribe);
            setter.reset();
            EXPECT_TRUE(setterWaited) << type;
            EXPECT_EQ(node->getNodeDecimals(), 3);
        }
    }
}

TEST_F(NodeLocks, LocksMayBeInitialisedAndDestroyedRepeatedly)
{
    ZANTONode node;
    node.initSem();
    node.destroySem();
    node.destroySem();
    node.initSem();
    const ZANTONode::SemGuard guard(node);
    node.setNodeName("still usable");
    EXPECT_EQ(node.getNodeName(), "still usable");
}
