#include "unitSupport.h"

#include "ZANTOconfig.h"

namespace {

constexpr int32_t parentType = 3;

NodePtr makeNode(nodeType type)
{
    NodePtr node(bareNode("node", type));
    node->setSystemType(parentType);
    return node;
}

// A board with three channels.
NodePtr boardWithChannels()
{
    NodePtr board = makeNode(nodeTypeBoardItem);
    for (const char *name : {"a", "b", "c"})
        board->addChildNode(bareNode(name, nodeTypeChannelItem));
    return board;
}

Lines namesOf(const std::vector<ZANTONode *> &nodes)
{
    Lines names;
    for (const ZANTONode *node : nodes)
        names.push_back(node->getNodeName());
    return names;
}

} // namespace

TEST(Node, StartsEmptyAndUnconnected)
{
    const ZANTONode node;
    EXPECT_TRUE(node.getChildren().empty());
    EXPECT_TRUE(node.getParameters().empty());
    EXPECT_TRUE(node.getProperties().empty());
    EXPECT_EQ(node.getNodeType(), nodeTypeEmptyNode);
    EXPECT_EQ(node.getNodeValue().ZANTOGetQuality(), nodeValueQualityUninitialized);
    EXPECT_EQ(node.getNodeValue().ZANTOGetValue().toInt(), 0);
    EXPECT_EQ(node.getConnectionStatus(), connStatus_PENDING);
    EXPECT_EQ(node.getNodeDecimals(), -1);
    EXPECT_EQ(node.getMaxVal(), -1.0F);
    EXPECT_EQ(node.getMinVal(), -1.0F);
    for (const int32_t unset :
         {node.getSysHandle(), node.getSystemType(), node.getSystemConnType()})
        EXPECT_EQ(unset, -1);
    for (const uint32_t zero :
         {uint32_t{node.getSlotCount()}, uint32_t{node.getBdChCount()}, uint32_t{node.getBdSerNr()},
          uint32_t{node.getBdSlotNr()}, uint32_t{node.getChIdx()}, node.getParWrapperType()})
        EXPECT_EQ(zero, 0U);
    for (const std::string &text :
         {node.getNodeName(), node.getInitParam(), node.getUsername(), node.getPassword(),
          node.getBdModel(), node.getBdDescr(), node.getBdFwRelMin(), node.getBdFwRelMax(),
          node.getSysName(), node.getBdName(), node.getChName(), node.getExpUnit(),
          node.getOnString(), node.getOffString()})
        EXPECT_EQ(text, "");
}

TEST(Node, OnlyTheSystemNodeTakesTheLoginDataWhenPrepared)
{
    for (int type = nodeTypeSystemItem; type <= nodeTypeSystemCmd; ++type) {
        SCOPED_TRACE(type);
        const bool isSystem = type == nodeTypeSystemItem;
        ZANTONode node;
        node.ZANTOPrepareNode("n", static_cast<nodeType>(type), 2, 1, "host", "user", "secret");
        EXPECT_EQ(node.getNodeName(), "n");
        EXPECT_EQ(node.getNodeType(), type);
        EXPECT_EQ(node.getSystemType(), isSystem ? 2 : -1);
        EXPECT_EQ(node.getSystemConnType(), isSystem ? 1 : -1);
        EXPECT_EQ(node.getInitParam(), isSystem ? "host" : "");
        EXPECT_EQ(node.getUsername(), isSystem ? "user" : "");
        EXPECT_EQ(node.getPassword(), isSystem ? "secret" : "");
    }
}

TEST(Node, TextsReadBackAsSet)
{
    const struct {
        const char *member;
        void (ZANTONode::*set)(const std::string &);
        std::string (ZANTONode::*get)() const;
    } members[] = {
        {"node name", &ZANTONode::setNodeName, &ZANTONode::getNodeName},
        {"system name", &ZANTONode::setSysName, &ZANTONode::getSysName},
        {"board name", &ZANTONode::setBdName, &ZANTONode::getBdName},
        {"channel name", &ZANTONode::setChName, &ZANTONode::getChName},
        {"unit", &ZANTONode::setExpUnit, &ZANTONode::getExpUnit},
        {"model", &ZANTONode::setBdModel, &ZANTONode::getBdModel},
        {"description", &ZANTONode::setBdDescr, &ZANTONode::getBdDescr},
        {"minor release", &ZANTONode::setBdFwRelMin, &ZANTONode::getBdFwRelMin},
        {"major release", &ZANTONode::setBdFwRelMax, &ZANTONode::getBdFwRelMax},
        {"on text", &ZANTONode::setOnString, &ZANTONode::getOnString},
        {"off text", &ZANTONode::setOffString, &ZANTONode::getOffString},
    };
    ZANTONode node;
    for (const auto &m : members)
        (node.*m.set)(m.member);
    for (const auto &m : members)
        EXPECT_EQ((node.*m.get)(), m.member);
}

TEST(Node, UnsignedShortsReadBackTheirWholeRange)
{
    const struct {
        const char *member;
        void (ZANTONode::*set)(uint16_t);
        uint16_t (ZANTONode::*get)() const;
    } members[] = {
        {"slot count", &ZANTONode::setSlotCount, &ZANTONode::getSlotCount},
        {"slot", &ZANTONode::setBdSlotNr, &ZANTONode::getBdSlotNr},
        {"channel", &ZANTONode::setChIdx, &ZANTONode::getChIdx},
        {"channel count", &ZANTONode::setBdChCount, &ZANTONode::getBdChCount},
        {"serial number", &ZANTONode::setBdSerNr, &ZANTONode::getBdSerNr},
    };
    ZANTONode node;
    uint16_t value = 65535;
    for (const auto &m : members)
        (node.*m.set)(value--);
    value = 65535;
    for (const auto &m : members)
        EXPECT_EQ((node.*m.get)(), value--) << m.member;
}

TEST(Node, NumbersAndCodesReadBackAsSet)
{
    ZANTONode node;
    node.setAccessRights(nodeAccessReadWrite);
    node.setDataType(nodeDataTypeEnum);
    node.setSystemType(-5);
    node.setSysSocket(12);
    node.setNodeDecimals(-2);
    node.setParWrapperType(UINT32_MAX);
    EXPECT_EQ(node.getAccessRights(), nodeAccessReadWrite);
    EXPECT_EQ(node.getDataType(), nodeDataTypeEnum);
    EXPECT_EQ(node.getSystemType(), -5);
    EXPECT_EQ(node.getSysSocket(), 12);
    EXPECT_EQ(node.getNodeDecimals(), -2);
    EXPECT_EQ(node.getParWrapperType(), UINT32_MAX);
}

TEST(Node, AMaximumIsWholeAndAMinimumKeepsItsFraction)
{
    ZANTONode node;
    node.setMaxVal(7);
    node.setMinVal(0.5F);
    EXPECT_EQ(node.getMaxVal(), 7.0F);
    EXPECT_EQ(node.getMinVal(), 0.5F);
}

TEST(Node, AValueIsStoredWithItsQualityAndTime)
{
    ZANTONode node;
    node.setNodeValue(
        ZANTONodeValue(variantOf(static_cast<int32_t>(4)), nodeValueQualityBad, 1000));
    EXPECT_EQ(node.getNodeValue().ZANTOGetValue().toInt(), 4);
    EXPECT_EQ(node.getNodeValue().ZANTOGetQuality(), nodeValueQualityBad);
    EXPECT_EQ(node.getNodeValue().ZANTOGetTimestamp(), 1000);
}

TEST(Node, AUnitLeavesTheValueUnchanged)
{
    ZANTONode node;
    node.setNodeValue(
        ZANTONodeValue(variantOf(static_cast<int32_t>(4)), nodeValueQualityBad, 1000));
    node.setExpUnit("KiloVolt");
    EXPECT_EQ(node.getExpUnit(), "KiloVolt");
    EXPECT_EQ(node.getNodeValue().ZANTOGetValue().toInt(), 4);
    EXPECT_EQ(node.getNodeValue().ZANTOGetTimestamp(), 1000);
}

TEST(Node, TheFirstConnectionArgumentStays)
{
    ZANTONode node;
    node.setInitParam("");
    node.setInitParam("a");
    node.setInitParam("b");
    EXPECT_EQ(node.getInitParam(), "a");
}

// ---- lists ----

TEST(Node, NullPointersAreNotAdded)
{
    ZANTONode node;
    node.addChildNode(nullptr);
    node.addParameter(nullptr);
    node.addProperty(nullptr);
    node.insertChildNode(nullptr, 0);
    EXPECT_TRUE(node.getChildren().empty());
    EXPECT_TRUE(node.getParameters().empty());
    EXPECT_TRUE(node.getProperties().empty());
}

TEST(Node, ListsKeepTheOrderOfAdding)
{
    const NodePtr board = boardWithChannels();
    board->addParameter(bareNode("p", nodeTypeBoardParam));
    board->addParameter(bareNode("q", nodeTypeBoardParam));
    EXPECT_EQ(namesOf(board->getChildren()), (Lines{"a", "b", "c"}));
    EXPECT_EQ(namesOf(board->getParameters()), (Lines{"p", "q"}));
}

TEST(Node, AddingPassesTheSystemTypeOnUnlessTheParentIsAnEmptyNode)
{
    for (int type = nodeTypeSystemItem; type <= nodeTypeSystemCmd; ++type) {
        SCOPED_TRACE(type);
        NodePtr child = makeNode(nodeTypeChannelItem);
        NodePtr parameter = makeNode(nodeTypeChannelParam);
        child->setSystemType(9);
        parameter->setSystemType(9);
        ZANTONode *const addedChild = child.get();
        ZANTONode *const addedParameter = parameter.get();
        const NodePtr parent = makeNode(static_cast<nodeType>(type));
        parent->addChildNode(addedChild);
        parent->addParameter(addedParameter);
        const bool owner = type != nodeTypeEmptyNode;
        EXPECT_EQ(addedChild->getSystemType(), owner ? parentType : 9);
        EXPECT_EQ(addedParameter->getSystemType(), owner ? parentType : 9);
        if (owner) {
            static_cast<void>(child.release());
            static_cast<void>(parameter.release());
        }
    }
}

TEST(Node, InsertingUsesTheIndexAsPositionAndAsCount)
{
    const NodePtr board = boardWithChannels();
    ZANTONode *const child = bareNode("x", nodeTypeChannelItem);
    board->insertChildNode(child, 2);
    EXPECT_EQ(namesOf(board->getChildren()), (Lines{"a", "b", "x", "x", "c"}));
    EXPECT_EQ(board->getChildren()[2], child);
    EXPECT_EQ(child->getSystemType(), parentType);
}

TEST(Node, InsertingAtZeroInsertsNothing)
{
    const NodePtr board = boardWithChannels();
    const NodePtr child = makeNode(nodeTypeChannelItem);
    child->setSystemType(9);
    board->insertChildNode(child.get(), 0);
    EXPECT_EQ(namesOf(board->getChildren()), (Lines{"a", "b", "c"}));
    EXPECT_EQ(child->getSystemType(), parentType);
}

TEST(Node, RemovingBeyondTheListChangesNothing)
{
    const NodePtr board = boardWithChannels();
    board->addChildNode(bareNode("d", nodeTypeChannelItem));
    board->addChildNode(bareNode("e", nodeTypeChannelItem));
    board->removeChildNode(5);
    EXPECT_EQ(namesOf(board->getChildren()), (Lines{"a", "b", "c", "d", "e"}));
}

TEST(Node, RemovingDoesNotDeleteTheNode)
{
    const NodePtr board = boardWithChannels();
    const NodePtr removed(board->getChildren()[1]);
    board->removeChildNode(1);
    EXPECT_EQ(namesOf(board->getChildren()), (Lines{"a", "c"}));
    EXPECT_EQ(removed->getNodeName(), "b");
}

TEST(Node, TheHandleReachesTheWholeSubtree)
{
    const NodePtr root = makeNode(nodeTypeSystemItem);
    ZANTONode *const board = bareNode("board", nodeTypeBoardItem);
    ZANTONode *const channel = bareNode("channel", nodeTypeChannelItem);
    ZANTONode *const parameter = bareNode("p", nodeTypeChannelParam);
    root->addChildNode(board);
    board->addChildNode(channel);
    channel->addParameter(parameter);
    root->setSysHandle(42);
    for (const ZANTONode *node : {root.get(), board, channel, parameter})
        EXPECT_EQ(node->getSysHandle(), 42) << node->getNodeName();
}

TEST(Node, TheBoardNameReachesTwoLevelsDown)
{
    const NodePtr root = makeNode(nodeTypeSystemItem);
    ZANTONode *const board = bareNode("board", nodeTypeBoardItem);
    ZANTONode *const boardParameter = bareNode("bp", nodeTypeBoardParam);
    ZANTONode *const channel = bareNode("channel", nodeTypeChannelItem);
    ZANTONode *const channelParameter = bareNode("cp", nodeTypeChannelParam);
    root->addChildNode(board);
    board->addParameter(boardParameter);
    board->addChildNode(channel);
    channel->addParameter(channelParameter);

    board->updateBdNameForAllChildren("Board07");
    for (const ZANTONode *node : {board, boardParameter, channel, channelParameter})
        EXPECT_EQ(node->getBdName(), "Board07") << node->getNodeName();

    root->updateBdNameForAllChildren("X");
    EXPECT_EQ(board->getBdName(), "X");
    EXPECT_EQ(boardParameter->getBdName(), "X");
    EXPECT_EQ(channel->getBdName(), "Board07");
    EXPECT_EQ(channelParameter->getBdName(), "Board07");
}

// ---- board information ----

TEST(Node, BoardInformationIsReadByItem)
{
    const NodePtr board(
        ZANTOConfig::ZANTOConfigCreateNodeBoard(1, 65535, "A1", "Board", 40000, "05", "3"));
    const auto info = [&](const char *item) {
        const ZANTONodeValue value = board->ZANTOGetBoardInfoValue(board.get(), item);
        EXPECT_EQ(value.ZANTOGetQuality(), nodeValueQualityGood) << item;
        return value.ZANTOGetValue();
    };
    EXPECT_EQ(info("ChCount").toUShort(), 65535);
    EXPECT_EQ(info("SerNum").toUShort(), 40000);
    EXPECT_EQ(info("BdModel").toString(), "A1");
    EXPECT_EQ(info("BdDescr").toString(), "Board");
    EXPECT_EQ(info("FmwRel").toString(), "3.05");
    EXPECT_EQ(info("Other").toInt(), 0);
    EXPECT_EQ(info("Other").toString(), "");
}

TEST(Node, BoardInformationOfNoBoardIsBad)
{
    ZANTONode node;
    const ZANTONodeValue value = node.ZANTOGetBoardInfoValue(nullptr, "ChCount");
    EXPECT_EQ(value.ZANTOGetQuality(), nodeValueQualityBad);
    EXPECT_EQ(value.ZANTOGetValue().toInt(), 0);
}
