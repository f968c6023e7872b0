// A record access and an event's update each wait for whoever holds the node.
#include "iocSupport.h"

#include "Contender.h"
#include "ZANTOeventsthread.h"
#include "ZANTOrecord.h"

namespace {

class NodeLock : public IocTest {
protected:
    // Runs an action on another thread while this one holds the node: whether it ended before
    // the node was released.
    static bool endsWhileHeld(ZANTONode *node, const std::function<void()> &action)
    {
        node->lockSem();
        Contender other(action);
        const bool waits = other.waits();
        node->unlockSem();
        return !waits;
    }

    static void read(const std::string &type)
    {
        EXPECT_EQ(callReadOrWrite(recordOf(type, "Int")), 2);
    }
};

} // namespace

TEST_F(NodeLock, OfAnotherNodeHoldsNobodyUp)
{
    const ZANTONode::SemGuard guard(*nodeOf("Float"));
    std::thread([] {
        read("ai");
        EXPECT_EQ(updateNode(0, 0, "Int", {}), VEXAHV_PARAM_INTEGER);
    }).join();
}

TEST_F(NodeLock, KeepsAReadWaiting)
{
    for (const char *type : {"ai", "bi", "mbbi", "mbbiDirect"}) {
        SCOPED_TRACE(type);
        // So that there is nothing left to be looked up.
        read(type);
        EXPECT_FALSE(endsWhileHeld(nodeOf("Int"), [type] { read(type); }));
    }
    EXPECT_FALSE(
        endsWhileHeld(nodeOf("Text", -1), [] { EXPECT_EQ(callReadOrWrite("sin__:Text"), 2); }));
}

TEST_F(NodeLock, AReadShowsWhatTheHolderLeaves)
{
    for (const char *type : {"ai", "bi", "mbbi", "mbbiDirect"}) {
        const std::string name = recordOf(type, "Int");
        ZANTONode *node = nodeOf("Int");
        give(node, variantOf(int32_t{1}));
        setVal(name, 0);
        node->lockSem();
        Contender reader([type] { read(type); });
        node->setNodeValue(ZANTONodeValue(variantOf(int32_t{5}), nodeValueQualityGood, 0));
        EXPECT_TRUE(reader.waits()) << type;
        node->setNodeValue(ZANTONodeValue(variantOf(int32_t{2}), nodeValueQualityGood, 0));
        node->unlockSem();
        reader.join();
        EXPECT_EQ(val(name), 2) << type;
    }
}

TEST_F(NodeLock, KeepsAWriteWaiting)
{
    for (const char *type : {"ao", "bo", "mbbo", "mbboDirect"}) {
        SCOPED_TRACE(type);
        const std::string name = recordOf(type, "Int");
        setVal(name, 1);
        EXPECT_EQ(callReadOrWrite(name), 0);
        fake.forgetCalls();
        EXPECT_FALSE(
            endsWhileHeld(nodeOf("Int"), [&name] { EXPECT_EQ(callReadOrWrite(name), 0); }));
        EXPECT_EQ(fake.calls(), Lines{"SetChParam(7, 0, Int, 1, [0]) = 1"});
    }
    EXPECT_FALSE(
        endsWhileHeld(nodeOf("Text", -1), [] { EXPECT_EQ(callReadOrWrite("sout_:Text"), 0); }));
}

TEST_F(NodeLock, KeepsAnUpdateForItsHolderToApply)
{
    const VEXAHVEventData_t change = event("Int", int32_t{7}, 0);
    ZANTONode *node = nodeOf("Int");
    give(node, variantOf(int32_t{1}));
    node->lockSem();
    std::thread([&change] {
        EXPECT_EQ(updateNode(0, 0, "Int", change.Value), VEXAHV_PARAM_INTEGER);
    }).join();
    EXPECT_EQ(node->getNodeValue().ZANTOGetValue().toInt(), 1);
    node->unlockSem();
    EXPECT_EQ(node->getNodeValue().ZANTOGetValue().toInt(), 7);
}

// ---- an item that nobody knows ----

TEST_F(NodeLock, AnUnknownItemChangesNoNode)
{
    std::vector<ZANTONode *> nodes = {nodeOf("Text", -1), nodeOf("Int"), nodeOf("Float"),
                                      nodeOf("VSet", 1)};
    for (ZANTONode *node : nodes)
        node->setNodeValue(ZANTONodeValue(variantOf(int32_t{3}), nodeValueQualityBad, 1000));
    const VEXAHVEventData_t change = event("", int32_t{9}, 0);
    for (const char *item : {"", "int", "Int ", "In", "Intt", "Nope"}) {
        EXPECT_EQ(updateNode(0, 0, item, change.Value), -1) << item;
        EXPECT_EQ(updateNode(-1, -1, item, change.Value), -1) << item;
    }
    // Known, but not there.
    EXPECT_EQ(updateNode(0, 1, "Int", change.Value), -1);
    EXPECT_EQ(updateNode(0, 0, "VSet", change.Value), -1);
    EXPECT_EQ(updateNode(-1, -1, "Int", change.Value), -1);
    for (const ZANTONode *node : nodes) {
        const ZANTONodeValue value = node->getNodeValue();
        EXPECT_EQ(value.ZANTOGetValue().toInt(), 3) << node->getNodeName();
        EXPECT_EQ(value.ZANTOGetQuality(), nodeValueQualityBad) << node->getNodeName();
        EXPECT_EQ(value.ZANTOGetTimestamp(), 1000) << node->getNodeName();
    }
}
