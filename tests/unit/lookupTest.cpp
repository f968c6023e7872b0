// From an event's item to its node.
#include "unitSupport.h"

#include "ZANTOconfig.h"

namespace {

// System with an empty slot between two boards; two channels per board; "Status" everywhere.
class Lookup : public ZantoTest {
protected:
    void SetUp() override
    {
        ZantoTest::SetUp();
        ZANTONode *root = bareNode("CRATE", nodeTypeSystemItem);
        addParameters(*root);
        for (const nodeType type : {nodeTypeBoardItem, nodeTypeEmptyNode, nodeTypeBoardItem}) {
            root->addChildNode(bareNode("board", type));
            if (type == nodeTypeBoardItem)
                fillBoard(*root->getChildren().back());
        }
        systemNode = root;
    }

    static void fillBoard(ZANTONode &board)
    {
        addParameters(board);
        for (int channel = 0; channel < 2; ++channel) {
            board.addChildNode(bareNode("channel", nodeTypeChannelItem));
            addParameters(*board.getChildren().back());
        }
    }

    static void addParameters(ZANTONode &node)
    {
        for (const char *name : {"StatusWord", "Status", "Status"})
            node.addParameter(bareNode(name, nodeTypeChannelParam));
    }

    static ZANTONode *find(const std::string &item, int32_t board, int32_t channel)
    {
        return ZANTOConfig::ZANTOConfigGetNodeFromItemId(systemNode, item, board, channel);
    }
};

} // namespace

TEST_F(Lookup, TwoNegativeIndexesMeanTheSystem)
{
    EXPECT_EQ(find("Status", -1, -1), systemNode->getParameters()[1]);
    EXPECT_EQ(find("Status", INT32_MIN, INT32_MIN), systemNode->getParameters()[1]);
}

TEST_F(Lookup, ANegativeChannelMeansTheBoardsOwnParameters)
{
    EXPECT_EQ(find("Status", 2, -1), systemNode->getChildren()[2]->getParameters()[1]);
}

TEST_F(Lookup, TwoPositionsMeanAChannel)
{
    EXPECT_EQ(find("Status", 2, 1),
              systemNode->getChildren()[2]->getChildren()[1]->getParameters()[1]);
    EXPECT_EQ(find("Status", 0, 0),
              systemNode->getChildren()[0]->getChildren()[0]->getParameters()[1]);
}

TEST_F(Lookup, PositionsOutsideTheTreeFindNothingAndPrintNothing)
{
    const int32_t outside[][2] = {{3, -1}, {3, 0},         {0, 2},         {-1, 0},
                                  {1, 0},  {INT32_MAX, 0}, {0, INT32_MAX}, {INT32_MIN, 5}};
    for (const auto &index : outside)
        EXPECT_EQ(printedAt(10, [&] { EXPECT_EQ(find("Status", index[0], index[1]), nullptr); }),
                  "")
            << index[0] << ":" << index[1];
}

TEST_F(Lookup, NamesMatchByteForByte)
{
    for (const char *name : {"Stat", "status", "Status ", "StatusWor", "StatusWords"})
        EXPECT_EQ(find(name, 0, 0), nullptr) << name;
}

TEST_F(Lookup, ANameThatIsNotThereIsTold)
{
    expectPrintedFrom(1, "\nNode [2:-1:Stat] not found in tree\n", [] { find("Stat", 2, -1); });
    expectPrintedFrom(1, "\nNode [0:1:x] not found in tree\n", [] { find("x", 0, 1); });
}

TEST_F(Lookup, AnEmptySlotHasNoParameters)
{
    expectPrintedFrom(1, "\nNode [1:-1:Status] not found in tree\n",
                      [] { EXPECT_EQ(find("Status", 1, -1), nullptr); });
}

TEST_F(Lookup, NothingIsFoundWithoutASystemNodeOrAName)
{
    const NodePtr board(bareNode("board", nodeTypeBoardItem));
    board->addParameter(bareNode("Status", nodeTypeBoardParam));
    const auto look = [&] {
        EXPECT_EQ(ZANTOConfig::ZANTOConfigGetNodeFromItemId(nullptr, "Status", -1, -1), nullptr);
        EXPECT_EQ(ZANTOConfig::ZANTOConfigGetNodeFromItemId(board.get(), "Status", -1, -1),
                  nullptr);
        EXPECT_EQ(find("", -1, -1), nullptr);
    };
    EXPECT_EQ(printedAt(10, look), "");
}

TEST_F(Lookup, NoLibraryCallIsMade)
{
    find("Status", 0, 0);
    EXPECT_EQ(fake.calls(), Lines{});
}
