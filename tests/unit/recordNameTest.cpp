// From a record's name to its node.
#include "unitSupport.h"

#include "ZANTOutils.h"

namespace {

// CRATE: system parameters; boards at positions 0 to 5, the one at 4 an empty slot; four
// channels on the board at 1.
class RecordName : public ZantoTest {
protected:
    void SetUp() override
    {
        ZantoTest::SetUp();
        ZANTOUtils::SysName = "CRATE";
        ZANTONode *root = bareNode("CRATE", nodeTypeSystemItem);
        for (const char *name : {"Name", "Model Name", "Odd:Name"})
            root->addParameter(bareNode(name, nodeTypeSystemProp));
        for (int slot = 0; slot < 6; ++slot)
            root->addChildNode(makeBoard(slot));
        systemNode = root;
    }

    static ZANTONode *makeBoard(int slot)
    {
        if (slot == 4)
            return bareNode("", nodeTypeEmptyNode);
        ZANTONode *board = bareNode("Board" + std::to_string(slot), nodeTypeBoardItem);
        // Positions count, not the slot that a node says it has.
        board->setBdSlotNr(77);
        board->addParameter(bareNode("Temp", nodeTypeBoardParam));
        board->addParameter(bareNode("VSet", nodeTypeBoardParam));
        for (int channel = 0; channel < (slot == 1 ? 4 : 0); ++channel) {
            ZANTONode *node = bareNode("Chan", nodeTypeChannelItem);
            for (const char *name : {"Name", "VSet", "V0Set", "VSet"})
                node->addParameter(bareNode(name, nodeTypeChannelParam));
            board->addChildNode(node);
        }
        return board;
    }

    static ZANTONode *find(const std::string &name)
    {
        return ZANTOUtils::getNodeFromEpicsId(name.c_str());
    }

    static ZANTONode *systemParameter(size_t position)
    {
        return systemNode->getParameters()[position];
    }

    static ZANTONode *boardParameter(size_t slot, size_t position)
    {
        return systemNode->getChildren()[slot]->getParameters()[position];
    }

    static ZANTONode *channelParameter(size_t slot, size_t channel, size_t position)
    {
        return systemNode->getChildren()[slot]->getChildren()[channel]->getParameters()[position];
    }
};

} // namespace

TEST_F(RecordName, FindsSystemBoardAndChannelParameters)
{
    EXPECT_EQ(find("CRATE:Name"), systemParameter(0));
    EXPECT_EQ(find("CRATE:03:Temp"), boardParameter(3, 0));
    EXPECT_EQ(find("CRATE:01:002:VSet"), channelParameter(1, 2, 1));
}

TEST_F(RecordName, OnlyTheLengthOfTheSystemNameCounts)
{
    for (const char *name : {"XXXXX:01:002:VSet", "crate:01:002:VSet",
                             ":::::"
                             ":01:002:VSet",
                             "     :01:002:VSet"})
        EXPECT_EQ(find(name), channelParameter(1, 2, 1)) << name;
    EXPECT_EQ(find("CRATES:01:002:VSet"), channelParameter(1, 2, 1));
    // A shorter one loses its colon and is taken for a board's parameter.
    EXPECT_EQ(find("CRAT:01:002:VSet"), boardParameter(2, 1));
}

TEST_F(RecordName, ReadBackAndSyncNamesFindTheSameNode)
{
    for (const char *name : {"CRATE:01:002:VSet:RBV", "CRATE:01:002:VSet:Sync",
                             "CRATE:01:002:VSet:RBV:Sync", "CRATE:RBV:01:002:VSet"})
        EXPECT_EQ(find(name), channelParameter(1, 2, 1)) << name;
    EXPECT_EQ(find("CRATE:Name:RBV"), systemParameter(0));
    EXPECT_EQ(find("CRATE:03:Temp:Sync"), boardParameter(3, 0));
}

TEST_F(RecordName, OnlyTheFirstSuffixOfAKindIsTakenOff)
{
    EXPECT_EQ(find("CRATE:01:002:VSet:RBV:RBV"), nullptr);
    EXPECT_EQ(find("CRATE:01:002:VSet:rbv"), nullptr);
}

TEST_F(RecordName, NumbersMayHaveAnyNumberOfDigits)
{
    EXPECT_EQ(find("CRATE:5:VSet"), boardParameter(5, 1));
    EXPECT_EQ(find("CRATE:05:VSet"), boardParameter(5, 1));
    EXPECT_EQ(find("CRATE:0000005:VSet"), boardParameter(5, 1));
    EXPECT_EQ(find("CRATE:1:2:VSet"), channelParameter(1, 2, 1));
    EXPECT_EQ(find("CRATE: +1:0002x:VSet"), channelParameter(1, 2, 1));
}

TEST_F(RecordName, TextsThatAreNoNumberAreZero)
{
    EXPECT_EQ(find("CRATE:x:VSet"), boardParameter(0, 1));
    EXPECT_EQ(find("CRATE::VSet"), boardParameter(0, 1));
}

TEST_F(RecordName, TheFirstOfEqualNamesIsFound)
{
    EXPECT_EQ(find("CRATE:01:000:VSet"), channelParameter(1, 0, 1));
}

TEST_F(RecordName, ParameterNamesMatchByteForByte)
{
    for (const char *name : {"CRATE:01:002:VSET", "CRATE:01:002:VSe", "CRATE:01:002:VSet ",
                             "CRATE:01:002: VSet", "CRATE:01:002:"})
        EXPECT_EQ(find(name), nullptr) << name;
}

TEST_F(RecordName, AStoredBlankIsNotFoundThroughTheRecordNameWithoutIt)
{
    EXPECT_EQ(find("CRATE:ModelName"), nullptr);
    EXPECT_EQ(find("CRATE:Model Name"), systemParameter(1));
}

TEST_F(RecordName, PositionsOutsideTheTreeFindNothing)
{
    for (const char *name :
         {"CRATE:6:VSet", "CRATE:01:4:VSet", "CRATE:-1:VSet", "CRATE:01:-1:VSet", "CRATE:4:VSet",
          "CRATE:4:0:VSet", "CRATE:0:0:VSet", "CRATE:4294967297:000:VSet",
          "CRATE:99999999999999999999:VSet", "CRATE:-99999999999999999999:VSet"})
        EXPECT_EQ(find(name), nullptr) << name;
}

TEST_F(RecordName, OneToThreeColonsAreANameAndNoOtherCount)
{
    for (const char *name :
         {"CRATE", "CRATEName", "CRATE:1:2:3:VSet", "CRATE:", "CRATE:::", "CRATE::::::"})
        EXPECT_EQ(find(name), nullptr) << name;
}

TEST_F(RecordName, ANodeNameWithAColonIsNotFound) { EXPECT_EQ(find("CRATE:Odd:Name"), nullptr); }

TEST_F(RecordName, ATextShorterThanTheSystemNameFindsNothing)
{
    for (const char *name : {"", "C", "CRAT", ":Name"})
        EXPECT_EQ(find(name), nullptr) << name;
    EXPECT_EQ(ZANTOUtils::getNodeFromEpicsId(nullptr), nullptr);
}

TEST_F(RecordName, AnEmptySystemNameTakesNothingOff)
{
    ZANTOUtils::SysName = "";
    EXPECT_EQ(find(":Name"), systemParameter(0));
    EXPECT_EQ(find("anything:Name"), systemParameter(0));
}

TEST_F(RecordName, NothingIsFoundWithoutATree)
{
    const NodePtr tree(systemNode);
    systemNode = nullptr;
    for (const char *name : {"CRATE:Name", "CRATE:01:002:VSet", "", "CRATE"})
        EXPECT_EQ(find(name), nullptr) << name;
}

TEST_F(RecordName, NothingIsPrinted)
{
    EXPECT_EQ(printedAt(10,
                        [] {
                            find("CRATE:01:002:nothing");
                            find("");
                        }),
              "");
}
