#include "unitSupport.h"

namespace {

// Counts what the body of a test leaves behind.
class NodeOwnership : public ::testing::Test {
protected:
    int nodes() const { return liveNodes() - m_nodesBefore; }
    int properties() const { return liveProperties() - m_propertiesBefore; }

private:
    const int m_nodesBefore = liveNodes();
    const int m_propertiesBefore = liveProperties();
};

ZANTONode *nodeWithProperty(nodeType type)
{
    ZANTONode *node = bareNode("node", type);
    node->addProperty(std::make_unique<ZANTONodeProperty>().release());
    return node;
}

NodePtr boardWithTwoChannels()
{
    NodePtr board(nodeWithProperty(nodeTypeBoardItem));
    board->addParameter(nodeWithProperty(nodeTypeBoardParam));
    for (int channel = 0; channel < 2; ++channel) {
        ZANTONode *node = bareNode("channel", nodeTypeChannelItem);
        node->addParameter(nodeWithProperty(nodeTypeChannelParam));
        board->addChildNode(node);
    }
    return board;
}

} // namespace

TEST_F(NodeOwnership, DeletingABoardDeletesItsChannelsAndTheirParameters)
{
    NodePtr board = boardWithTwoChannels();
    ASSERT_EQ(nodes(), 6);
    ASSERT_EQ(properties(), 4);
    board.reset();
    EXPECT_EQ(nodes(), 0);
    EXPECT_EQ(properties(), 0);
}

TEST_F(NodeOwnership, AnEmptyNodeDeletesNothing)
{
    NodePtr child(nodeWithProperty(nodeTypeChannelItem));
    NodePtr parameter(nodeWithProperty(nodeTypeChannelParam));
    auto property = std::make_unique<ZANTONodeProperty>();
    NodePtr gatherer(bareNode("", nodeTypeEmptyNode));
    gatherer->addChildNode(child.get());
    gatherer->addParameter(parameter.get());
    gatherer->addProperty(property.get());
    gatherer.reset();
    EXPECT_EQ(nodes(), 2);
    EXPECT_EQ(properties(), 3);
}

TEST_F(NodeOwnership, ANodeThatTookAnotherKindLaterStillDeletesByItsPresentKind)
{
    NodePtr board = boardWithTwoChannels();
    const std::vector<ZANTONode *> channels = board->getChildren();
    const std::vector<ZANTONode *> parameters = board->getParameters();
    const std::vector<ZANTONodeProperty *> boardProperties = board->getProperties();
    board->setNodeType(nodeTypeEmptyNode);
    board.reset();
    EXPECT_EQ(nodes(), 5);
    const auto ownedChannels = owned(channels);
    const auto ownedParameters = owned(parameters);
    const auto ownedProperties = owned(boardProperties);
}

TEST_F(NodeOwnership, ARunOfOneInsertedPointerIsDeletedOnce)
{
    NodePtr board = boardWithTwoChannels();
    board->insertChildNode(bareNode("x", nodeTypeChannelItem), 2);
    ASSERT_EQ(board->getChildren().size(), 4U);
    board.reset();
    EXPECT_EQ(nodes(), 0);
}
