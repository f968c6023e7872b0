// Nodes of slots, information of boards, parameters of boards.
#include "unitSupport.h"

#include "ZANTOconfig.h"

#include <chrono>
#include <stdexcept>

namespace {

class ConfigBoards : public ZantoTest {};

using Properties = std::vector<std::unique_ptr<ZANTONodeProperty>>;

std::vector<NodePtr> boards() { return owned(ZANTOConfig::ZANTOConfigCreateBoards(crateHandle)); }

std::vector<NodePtr> parameters(uint16_t slot)
{
    return owned(ZANTOConfig::ZANTOConfigCreateBoardParams(crateHandle, slot));
}

Lines namesOf(const std::vector<NodePtr> &nodes)
{
    Lines names;
    for (const NodePtr &node : nodes)
        names.push_back(node->getNodeName());
    return names;
}

const Lines mapReleases = {"Free(channelCounts)", "Free(models)",        "Free(descriptions)",
                           "Free(serialNumbers)", "Free(firmwareMinor)", "Free(firmwareMajor)"};

FakeCrate crateWithBoard(const std::vector<FakeParameter> &boardParameters)
{
    FakeCrate crate;
    crate.slots = {FakeBoard(), fakeBoard("A1", 1, boardParameters, {})};
    return crate;
}

} // namespace

// ---- crate map ----

TEST_F(ConfigBoards, AnEmptySlotKeepsItsPosition)
{
    fake.setCrate(smallFakeCrate());
    const auto nodes = boards();
    ASSERT_EQ(namesOf(nodes), (Lines{"Board00", "", "Board02"}));
    EXPECT_EQ(nodes[0]->getNodeType(), nodeTypeBoardItem);
    EXPECT_EQ(nodes[1]->getNodeType(), nodeTypeEmptyNode);
    EXPECT_EQ(nodes[1]->getSysHandle(), -1);
    EXPECT_EQ(nodes[2]->getBdSlotNr(), 2);
}

TEST_F(ConfigBoards, ABoardNodeCarriesWhatTheMapSays)
{
    FakeCrate crate;
    crate.slots = {fakeBoard("A1", 300, {}, {})};
    crate.slots[0].serialNumber = 65535;
    crate.slots[0].firmwareMajor = 255;
    fake.setCrate(crate);
    const auto nodes = boards();
    ASSERT_EQ(nodes.size(), 1U);
    const ZANTONode &board = *nodes[0];
    EXPECT_EQ(board.getBdSlotNr(), 0);
    EXPECT_EQ(board.getBdChCount(), 300);
    EXPECT_EQ(board.getBdModel(), "A1");
    EXPECT_EQ(board.getBdDescr(), "A1 board");
    EXPECT_EQ(board.getBdSerNr(), 65535);
    EXPECT_EQ(board.getBdFwRelMin(), "05");
    EXPECT_EQ(board.getBdFwRelMax(), "255");
    EXPECT_EQ(board.getSysHandle(), crateHandle);
    EXPECT_EQ(board.getSystemType(), -1);
    EXPECT_EQ(board.getInitParam(), "");
}

TEST_F(ConfigBoards, TheChannelCountAloneTellsAnEmptySlot)
{
    FakeCrate crate;
    crate.slots = {fakeBoard("", 1, {}, {}), fakeBoard("A1", 0, {}, {})};
    fake.setCrate(crate);
    EXPECT_EQ(namesOf(boards()), (Lines{"Board00", ""}));
}

TEST_F(ConfigBoards, SlotNumbersHaveTwoDigitsOrMore)
{
    FakeCrate crate;
    crate.slots.assign(101, fakeBoard("A1", 1, {}, {}));
    fake.setCrate(crate);
    const auto nodes = boards();
    ASSERT_EQ(nodes.size(), 101U);
    EXPECT_EQ(nodes[9]->getNodeName(), "Board09");
    EXPECT_EQ(nodes[10]->getNodeName(), "Board10");
    EXPECT_EQ(nodes[100]->getNodeName(), "Board100");
}

TEST_F(ConfigBoards, TheSixListsAreReleased)
{
    fake.setCrate(smallFakeCrate());
    boards();
    EXPECT_THAT(fake.callsOf("Free("), ::testing::UnorderedElementsAreArray(mapReleases));
}

TEST_F(ConfigBoards, AMapOfNoSlotsGivesNoNodesAndIsReleased)
{
    EXPECT_TRUE(boards().empty());
    EXPECT_THAT(fake.callsOf("Free("), ::testing::UnorderedElementsAreArray(mapReleases));
}

TEST_F(ConfigBoards, NoMapGivesNoNodesAndReleasesSixNullPointers)
{
    fake.setCrate(smallFakeCrate());
    fake.failCalls("GetCrateMap(", 5);
    expectPrintedFrom(1, "\nError fetching crate map\n", [&] {
        fake.forgetCalls();
        EXPECT_TRUE(boards().empty());
        EXPECT_EQ(fake.callsOf("Free("), Lines(6, "Free(null)"));
    });
}

TEST_F(ConfigBoards, AMissingListIsOutOfRangeAndLosesNothing)
{
    for (const char *list : {"channelCounts", "models", "descriptions", "serialNumbers",
                             "firmwareMinor", "firmwareMajor"}) {
        SCOPED_TRACE(list);
        FakeCrate crate = smallFakeCrate();
        crate.withheldLists = {list};
        fake.setCrate(crate);
        EXPECT_THROW(boards(), std::out_of_range);
        EXPECT_EQ(fake.unreleased(), 0U);
    }
}

// ---- board information ----

TEST_F(ConfigBoards, ABoardHasFiveItemsOfInformation)
{
    const NodePtr board(
        ZANTOConfig::ZANTOConfigCreateNodeBoard(2, 65535, "A1", "A board", 40000, "05", "3"));
    EXPECT_EQ(board->getSysHandle(), -1);
    const Properties info = owned(ZANTOConfig::ZANTOConfigCreateBoardInfo(board.get()));
    const struct {
        const char *name;
        nodeDataType dataType;
        uint16_t number;
        const char *text;
    } items[] = {{"ChCount", nodeDataTypeShort, 65535, ""},
                 {"BdModel", nodeDataTypeString, 0, "A1"},
                 {"BdDescr", nodeDataTypeString, 0, "A board"},
                 {"SerNum", nodeDataTypeShort, 40000, ""},
                 {"FmwRel", nodeDataTypeString, 0, "3.05"}};
    ASSERT_EQ(info.size(), std::size(items));
    for (size_t i = 0; i < info.size(); ++i) {
        SCOPED_TRACE(items[i].name);
        const ZANTONodeValue value = info[i]->getPropVal();
        EXPECT_EQ(info[i]->getPropName(), items[i].name);
        EXPECT_EQ(info[i]->getDataType(), items[i].dataType);
        EXPECT_EQ(value.ZANTOGetValue().toUShort(), items[i].number);
        EXPECT_EQ(value.ZANTOGetValue().toString(), items[i].text);
        EXPECT_EQ(value.ZANTOGetQuality(), nodeValueQualityGood);
    }
}

TEST_F(ConfigBoards, NoBoardHasNoInformation)
{
    EXPECT_TRUE(ZANTOConfig::ZANTOConfigCreateBoardInfo(nullptr).empty());
}

// ---- board parameters ----

TEST_F(ConfigBoards, ParametersAreAskedForAndReadInTableOrder)
{
    fake.setCrate(crateWithBoard({fakeOnOff("B", VEXAHV_MODE_WRITE, 1),
                                  fakePlain("A", VEXAHV_PARAM_BOARD_STATUS, VEXAHV_MODE_READ)}));
    EXPECT_EQ(namesOf(parameters(1)), (Lines{"B", "A"}));
    EXPECT_EQ(fake.calls(), (Lines{"GetBdParamInfo(7, 1)", "GetBdParamProp(7, 1, B, Type)",
                                   "GetBdParamProp(7, 1, B, Mode)", "GetBdParam(7, 1, [1], B)",
                                   "GetBdParamProp(7, 1, A, Type)", "GetBdParamProp(7, 1, A, Mode)",
                                   "GetBdParam(7, 1, [1], A)", "Free(boardParamNames)"}));
}

TEST_F(ConfigBoards, AParameterNodeCarriesWhatTheLibrarySays)
{
    fake.setCrate(crateWithBoard({fakeOnOff("Reset", VEXAHV_MODE_READWRITE, 1)}));
    const auto nodes = parameters(1);
    ASSERT_EQ(nodes.size(), 1U);
    const ZANTONode &node = *nodes[0];
    EXPECT_EQ(node.getNodeType(), nodeTypeBoardParam);
    EXPECT_EQ(node.getBdSlotNr(), 1);
    EXPECT_EQ(node.getParWrapperType(), 1U);
    EXPECT_EQ(node.getSysHandle(), crateHandle);
    EXPECT_EQ(node.getDataType(), nodeDataTypeBool);
    EXPECT_EQ(node.getAccessRights(), nodeAccessReadWrite);
    EXPECT_EQ(node.getNodeValue().ZANTOGetValue().toUInt(), 1U);
    EXPECT_EQ(node.getNodeValue().ZANTOGetQuality(), nodeValueQualityGood);
}

TEST_F(ConfigBoards, ANameOfNineLettersFillsItsSlotAndOneWithoutANulEndsWithIt)
{
    fake.setCrate(
        crateWithBoard({fakeNumeric("ninechars", 0, 0, 0, 0), fakeNumeric("ten chars.", 0, 0, 0, 0),
                        fakeNumeric("x", 0, 0, 0, 0)}));
    EXPECT_EQ(namesOf(parameters(1)), (Lines{"ninechars", "ten chars.", "x"}));
}

TEST_F(ConfigBoards, ATableWithoutNamesIsReleased)
{
    fake.setCrate(crateWithBoard({}));
    EXPECT_TRUE(parameters(1).empty());
    EXPECT_EQ(fake.calls(), (Lines{"GetBdParamInfo(7, 1)", "Free(boardParamNames)"}));
}

TEST_F(ConfigBoards, NoTableGivesNoParametersAndReleasesNothing)
{
    fake.setCrate(crateWithBoard({fakeOnOff("Reset", VEXAHV_MODE_READ, 1)}));
    fake.failCalls("GetBdParamInfo(", 5);
    expectPrintedFrom(1, "\nError fetching board [1] parameters\n",
                      [] { EXPECT_TRUE(parameters(1).empty()); });
    EXPECT_EQ(fake.callsOf("Free("), Lines{});
}

TEST_F(ConfigBoards, ATableThatIsMissingGivesNoParameters)
{
    FakeCrate crate = crateWithBoard({fakeOnOff("Reset", VEXAHV_MODE_READ, 1)});
    crate.withheldLists = {"boardParamNames"};
    fake.setCrate(crate);
    EXPECT_TRUE(parameters(1).empty());
}

TEST_F(ConfigBoards, AParameterIsAskedForAgainUntilTypeAndModeAreKnown)
{
    fake.setCrate(crateWithBoard({fakeOnOff("Reset", VEXAHV_MODE_READ, 1)}));
    fake.failCalls("GetBdParamProp(7, 1, Reset, Type)", 5, 1, 1);
    fake.failCalls("GetBdParamProp(7, 1, Reset, Mode)", 5, 2, 1);
    const std::string message = "Error fetching [1:Reset] properties\n";
    EXPECT_EQ(printedAt(1, [] { EXPECT_EQ(namesOf(parameters(1)), Lines{"Reset"}); }),
              message + message);
    EXPECT_EQ(fake.callsOf("GetBdParamProp(").size(), 6U);
    EXPECT_EQ(fake.callsOf("GetBdParam(").size(), 1U);
}

TEST_F(ConfigBoards, ARetryIsSilentAtLevelZero)
{
    fake.setCrate(crateWithBoard({fakeOnOff("Reset", VEXAHV_MODE_READ, 1)}));
    fake.failCalls("GetBdParamProp(", 5, 1, 1);
    EXPECT_EQ(printedAt(0, [] { parameters(1); }), "");
}

TEST_F(ConfigBoards, ManyRetriesCostNextToNoTime)
{
    fake.setCrate(crateWithBoard({fakeOnOff("Reset", VEXAHV_MODE_READ, 1)}));
    fake.failCalls("GetBdParamProp(7, 1, Reset, Type)", 5, 1, 40);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(namesOf(parameters(1)), Lines{"Reset"});
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1500));
    EXPECT_EQ(fake.callsOf("GetBdParamProp(7, 1, Reset, Type)").size(), 41U);
}

TEST_F(ConfigBoards, AParameterThatCannotBeReadIsMadeAllTheSame)
{
    fake.setCrate(crateWithBoard({fakePlain("St", VEXAHV_PARAM_BOARD_STATUS, VEXAHV_MODE_READ),
                                  fakePlain("Text", VEXAHV_PARAM_STRING, VEXAHV_MODE_READ)}));
    fake.failCalls("GetBdParam(", 5);
    const auto nodes = parameters(1);
    ASSERT_EQ(nodes.size(), 2U);
    EXPECT_EQ(nodes[0]->getNodeValue().ZANTOGetQuality(), nodeValueQualityBad);
    EXPECT_EQ(nodes[0]->getNodeValue().ZANTOGetValue().toInt(), -1);
    EXPECT_EQ(nodes[1]->getNodeValue().ZANTOGetQuality(), nodeValueQualityUnknown);
}
