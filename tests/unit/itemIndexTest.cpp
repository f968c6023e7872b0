// From an event's item to its node through an index.
#include "unitSupport.h"

#include "ZANTOitemindex.h"
#include "ZANTOlookup.h"

namespace {

using Names = std::vector<std::string>;

// A system with two parameters, an empty slot, and two boards of different channels.
class ItemIndex : public ZantoTest {
protected:
    void SetUp() override
    {
        ZantoTest::SetUp();
        root.reset(bareNode("CRATE", nodeTypeSystemItem));
        addParameters(*root, {"Sessions", "IPAddr"});
        root->addChildNode(bareNode("", nodeTypeEmptyNode));
        addBoard({"Temp"}, {{"VSet", "VMon"}, {"VSet", "VMon"}, {"VMon", "VSet"}});
        addBoard({}, {{}, {"VSet", "VSet", "a name that no string keeps inside itself"}});
    }

    void TearDown() override
    {
        root.reset();
        ZantoTest::TearDown();
    }

    static void addParameters(ZANTONode &holder, const Names &names)
    {
        for (const std::string &name : names)
            holder.addParameter(bareNode(name, nodeTypeChannelParam));
    }

    void addBoard(const Names &names, const std::vector<Names> &channels)
    {
        ZANTONode *board = bareNode("Board", nodeTypeBoardItem);
        addParameters(*board, names);
        for (const Names &channelNames : channels) {
            ZANTONode *channel = bareNode("Chan", nodeTypeChannelItem);
            addParameters(*channel, channelNames);
            board->addChildNode(channel);
        }
        root->addChildNode(board);
    }

    NodePtr root;
};

const Names asked = {
    "Sessions", "IPAddr", "Temp", "VSet", "VMon",
    "VMo",      "VMonX",  "",     "vset", "a name that no string keeps inside itself"};

} // namespace

// The walk through the tree is what the index must agree with, within the tree and around it.
TEST_F(ItemIndex, FindsWhatAWalkFindsAndNothingElse)
{
    const ZANTOItemIndex index(*root);
    int found = 0;
    for (int32_t board = -2; board < 5; ++board) {
        for (int32_t channel = -2; channel < 5; ++channel) {
            for (const std::string &name : asked) {
                SCOPED_TRACE(std::to_string(board) + ":" + std::to_string(channel) + ":" + name);
                ZANTONode *walked = ZANTOFindItemNode(root.get(), name, board, channel);
                EXPECT_EQ(index.find(board, channel, name), walked);
                found += walked != nullptr ? 1 : 0;
            }
        }
    }
    // Two of the system at four places, one board parameter at two, eight of channels.
    EXPECT_EQ(found, 2 * 4 + 1 * 2 + 8);
}

TEST_F(ItemIndex, FindsNothingAtExtremePositions)
{
    const ZANTOItemIndex index(*root);
    for (const int32_t board : {INT32_MIN, -1, 0, 1, INT32_MAX})
        for (const int32_t channel : {INT32_MIN, INT32_MAX})
            EXPECT_EQ(index.find(board, channel, "VSet"), nullptr);
    EXPECT_EQ(index.find(INT32_MAX, -1, "Temp"), nullptr);
    EXPECT_EQ(index.find(INT32_MAX, 0, "Temp"), nullptr);
}

TEST_F(ItemIndex, OfASystemAloneFindsItsParameters)
{
    const NodePtr alone{bareNode("CRATE", nodeTypeSystemItem)};
    EXPECT_EQ(ZANTOItemIndex(*alone).find(-1, -1, "Sessions"), nullptr);
    addParameters(*alone, {"Sessions"});
    const ZANTOItemIndex index(*alone);
    EXPECT_EQ(index.find(-1, -1, "Sessions"), alone->parameters()[0]);
    EXPECT_EQ(index.find(0, -1, "Sessions"), nullptr);
}

// ---- of the present tree ----

namespace {

class PresentIndex : public ItemIndex {
protected:
    void SetUp() override
    {
        ItemIndex::SetUp();
        systemNode = root.get();
    }
    void TearDown() override
    {
        systemNode = nullptr;
        ZANTOIndexTree();
        ItemIndex::TearDown();
    }

    ZANTONode *indexed() const { return ZANTOIndexedItemNode(root.get(), "VMon", 1, 0); }
};

} // namespace

TEST_F(PresentIndex, CountsOnlyForTheTreeItWasMadeFrom)
{
    EXPECT_EQ(indexed(), nullptr) << "not made yet";
    ZANTOIndexTree();
    EXPECT_EQ(indexed(), root->childAt(1)->childAt(0)->findParameter("VMon"));
    const NodePtr other{bareNode("CRATE", nodeTypeSystemItem)};
    EXPECT_EQ(ZANTOIndexedItemNode(other.get(), "VMon", 1, 0), nullptr);
    systemNode = root.get(); // the same address may be another tree
    EXPECT_EQ(indexed(), nullptr);
}

TEST_F(PresentIndex, IsDroppedWithTheTree)
{
    ZANTOIndexTree();
    systemNode = nullptr;
    ZANTOIndexTree();
    EXPECT_EQ(indexed(), nullptr);
}

TEST_F(PresentIndex, WithoutMemoryForItItemsAreFoundAllTheSame)
{
    int64_t failures = 0;
    for (bool happened = true; happened; ++failures) {
        const NthAllocationFailure failure(failures + 1);
        ZANTOIndexTree();
        happened = failure.happened();
        EXPECT_NE(ZANTOFindItemNode(root.get(), "VMon", 1, 0), nullptr);
        EXPECT_EQ(indexed() != nullptr, !happened);
    }
    EXPECT_GT(failures, 3);
}

TEST_F(PresentIndex, AnItemThatIsNowhereIsReportedAsByAWalk)
{
    ZANTOIndexTree();
    expectPrintedFrom(1, "\nNode [1:0:VMo] not found in tree\n",
                      [&] { ZANTOFindItemNode(root.get(), "VMo", 1, 0); });
}
