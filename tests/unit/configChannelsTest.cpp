// Nodes of channels and of their parameters.
#include "unitSupport.h"

#include "ZANTOconfig.h"

namespace {

class ConfigChannels : public ZantoTest {
protected:
    // A board in slot 1.
    void makeBoard(uint16_t channelCount, const std::vector<FakeParameter> &parameters)
    {
        FakeCrate crate;
        crate.slots = {FakeBoard(), fakeBoard("A1", channelCount, {}, parameters)};
        fake.setCrate(crate);
    }
};

std::vector<NodePtr> channels(uint16_t count)
{
    return owned(ZANTOConfig::ZANTOConfigCreateChannels(crateHandle, 1, count));
}

std::vector<NodePtr> parameters(int32_t systemType = 2)
{
    return owned(ZANTOConfig::ZANTOConfigCreateChannelParams(crateHandle, systemType, 1, 2));
}

Lines namesOf(const std::vector<NodePtr> &nodes)
{
    Lines names;
    for (const NodePtr &node : nodes)
        names.push_back(node->getNodeName());
    return names;
}

const FakeParameter power = fakeOnOff("Pw", VEXAHV_MODE_READWRITE, 1);
const FakeParameter status = fakePlain("St", VEXAHV_PARAM_CHANNEL_STATUS, VEXAHV_MODE_READ, 1);

} // namespace

// ---- channels ----

TEST_F(ConfigChannels, AChannelIsNamedByItsIndexWhateverTheMainframeCallsIt)
{
    makeBoard(8, {});
    const auto nodes = channels(8);
    ASSERT_EQ(nodes.size(), 8U);
    const ZANTONode &node = *nodes[7];
    EXPECT_EQ(node.getNodeName(), "Chan007");
    EXPECT_EQ(node.getNodeType(), nodeTypeChannelItem);
    EXPECT_EQ(node.getChIdx(), 7);
    EXPECT_EQ(node.getBdSlotNr(), 1);
    EXPECT_EQ(node.getSysHandle(), crateHandle);
    EXPECT_EQ(node.getSystemType(), -1);
    EXPECT_EQ(fake.calls()[7], "GetChName(7, 1, 1, [7])");
}

TEST_F(ConfigChannels, ChannelNumbersHaveThreeDigitsOrMore)
{
    for (const auto &[channel, name] : {std::pair<uint16_t, const char *>{0, "Chan000"},
                                        {99, "Chan099"},
                                        {1000, "Chan1000"},
                                        {65535, "Chan65535"}}) {
        const NodePtr node(ZANTOConfig::ZANTOConfigCreateNodeChannel("other", channel, 3));
        EXPECT_EQ(node->getNodeName(), name);
        EXPECT_EQ(node->getBdSlotNr(), 3);
        EXPECT_EQ(node->getSysHandle(), -1);
    }
}

TEST_F(ConfigChannels, ABoardWithoutChannelsMakesNoCall)
{
    EXPECT_TRUE(channels(0).empty());
    EXPECT_EQ(fake.calls(), Lines{});
}

TEST_F(ConfigChannels, AChannelWithoutANameIsLeftOutSilently)
{
    makeBoard(3, {});
    fake.failCalls("GetChName(7, 1, 1, [1])", 5);
    EXPECT_EQ(printedAt(10,
                        [] {
                            EXPECT_EQ(namesOf(channels(3)), (Lines{"Chan000", "Chan002"}));
                        }),
              "");
    EXPECT_EQ(fake.calls().size(), 3U);
}

// ---- parameters ----

TEST_F(ConfigChannels, NameComesFirstThenTheTableInItsOrder)
{
    makeBoard(3, {status, power});
    EXPECT_EQ(namesOf(parameters()), (Lines{"Name", "St", "Pw"}));
    EXPECT_EQ(fake.calls(),
              (Lines{"GetChName(7, 1, 1, [2])", "GetChParamInfo(7, 1, 2)",
                     "GetChParamProp(7, 1, 2, St, Type)", "GetChParamProp(7, 1, 2, St, Mode)",
                     "GetChParam(7, 1, St, 1, [2])", "GetChParamProp(7, 1, 2, Pw, Type)",
                     "GetChParamProp(7, 1, 2, Pw, Mode)", "GetChParam(7, 1, Pw, 1, [2])",
                     "Free(channelParamNames)"}));
}

TEST_F(ConfigChannels, TheNameIsAReadWriteTextWithTheMainframesName)
{
    makeBoard(3, {});
    const auto nodes = parameters();
    ASSERT_EQ(nodes.size(), 1U);
    const ZANTONode &name = *nodes[0];
    EXPECT_EQ(name.getNodeType(), nodeTypeChannelParam);
    EXPECT_EQ(name.getParWrapperType(), 5U);
    EXPECT_EQ(name.getDataType(), nodeDataTypeString);
    EXPECT_EQ(name.getAccessRights(), nodeAccessReadWrite);
    EXPECT_EQ(name.getBdSlotNr(), 1);
    EXPECT_EQ(name.getSysHandle(), crateHandle);
    EXPECT_EQ(name.getNodeValue().ZANTOGetValue().toString(), "CH2");
    EXPECT_EQ(name.getNodeValue().ZANTOGetQuality(), nodeValueQualityGood);
}

TEST_F(ConfigChannels, AParameterNodeCarriesWhatTheLibrarySays)
{
    makeBoard(3, {power});
    const auto nodes = parameters();
    ASSERT_EQ(nodes.size(), 2U);
    const ZANTONode &node = *nodes[1];
    EXPECT_EQ(node.getNodeType(), nodeTypeChannelParam);
    EXPECT_EQ(node.getParWrapperType(), 1U);
    EXPECT_EQ(node.getDataType(), nodeDataTypeBool);
    EXPECT_EQ(node.getAccessRights(), nodeAccessReadWrite);
    EXPECT_EQ(node.getBdSlotNr(), 1);
    EXPECT_EQ(node.getSysHandle(), crateHandle);
    EXPECT_EQ(node.getNodeValue().ZANTOGetValue().toUInt(), 1U);
    // Left to whoever attaches the node.
    EXPECT_EQ(node.getChIdx(), 0);
    EXPECT_EQ(node.getBdName() + node.getChName() + node.getSysName(), "");
}

TEST_F(ConfigChannels, TheSystemTypeMakesNoDifference)
{
    makeBoard(3, {power});
    parameters(2);
    const Lines calls = fake.calls();
    fake.forgetCalls();
    parameters(3);
    EXPECT_EQ(fake.calls(), calls);
}

TEST_F(ConfigChannels, AnEmptyTableGivesOnlyTheNameWhateverTheCountAndIsReleased)
{
    for (const int32_t error : {0, 5, -5}) {
        FakeCrate crate;
        crate.slots = {FakeBoard(), fakeBoard("A1", 3, {}, {})};
        crate.paramCountError = error;
        fake.setCrate(crate);
        fake.forgetCalls();
        EXPECT_EQ(namesOf(parameters()), Lines{"Name"});
        EXPECT_EQ(fake.callsOf("Free("), Lines{"Free(channelParamNames)"});
    }
}

TEST_F(ConfigChannels, TheReportedCountIsNotUsed)
{
    FakeCrate crate;
    crate.slots = {FakeBoard(), fakeBoard("A1", 3, {}, {status, power})};
    crate.paramCountError = -2;
    fake.setCrate(crate);
    EXPECT_EQ(namesOf(parameters()), (Lines{"Name", "St", "Pw"}));
}

TEST_F(ConfigChannels, ANameOfNineLettersFillsItsSlotAndOneWithoutANulEndsWithIt)
{
    makeBoard(3, {fakeNumeric("ninechars", 0, 0, 0, 0), fakeNumeric("ten chars.", 0, 0, 0, 0)});
    EXPECT_EQ(namesOf(parameters()), (Lines{"Name", "ninechars", "ten chars."}));
}

TEST_F(ConfigChannels, NoTableLeavesOnlyTheNameAndReleasesNothing)
{
    makeBoard(3, {power});
    fake.failCalls("GetChParamInfo(", 5);
    expectPrintedFrom(1, "\nError fetching channel [2] parameters\n",
                      [] { EXPECT_EQ(namesOf(parameters()), Lines{"Name"}); });
    EXPECT_EQ(fake.callsOf("Free("), Lines{});
}

TEST_F(ConfigChannels, ATableThatIsMissingLeavesOnlyTheName)
{
    FakeCrate crate;
    crate.slots = {FakeBoard(), fakeBoard("A1", 3, {}, {power})};
    crate.withheldLists = {"channelParamNames"};
    fake.setCrate(crate);
    EXPECT_EQ(namesOf(parameters()), Lines{"Name"});
}

TEST_F(ConfigChannels, ANameThatCannotBeReadIsBad)
{
    makeBoard(3, {});
    fake.failCalls("GetChName(", 5);
    const auto nodes = parameters();
    ASSERT_EQ(namesOf(nodes), Lines{"Name"});
    EXPECT_EQ(nodes[0]->getNodeValue().ZANTOGetQuality(), nodeValueQualityBad);
}

TEST_F(ConfigChannels, AParameterIsAskedForAgainUntilTypeAndModeAreKnown)
{
    makeBoard(3, {power, status});
    fake.failCalls("GetChParamProp(7, 1, 2, Pw, Type)", 5, 1, 2);
    fake.failCalls("GetChParamProp(7, 1, 2, Pw, Mode)", 5, 3, 1);
    const std::string message = "Error fetching [1:2:Pw] properties\n";
    EXPECT_EQ(printedAt(1,
                        [] {
                            EXPECT_EQ(namesOf(parameters()), (Lines{"Name", "Pw", "St"}));
                        }),
              message + message + message);
    EXPECT_EQ(fake.callsOf("GetChParamProp(7, 1, 2, Pw, Type)").size(), 4U);
    EXPECT_EQ(fake.callsOf("GetChParamProp(7, 1, 2, Pw, Mode)").size(), 4U);
    EXPECT_EQ(fake.callsOf("GetChParam(7, 1, Pw").size(), 1U);
}

TEST_F(ConfigChannels, ARetryIsSilentAtLevelZero)
{
    makeBoard(3, {power});
    fake.failCalls("GetChParamProp(", 5, 1, 1);
    EXPECT_EQ(printedAt(0, [] { parameters(); }), "");
}

TEST_F(ConfigChannels, AParameterThatCannotBeReadIsMadeAllTheSame)
{
    makeBoard(3, {status});
    fake.failCalls("GetChParam(", 5);
    const auto nodes = parameters();
    ASSERT_EQ(nodes.size(), 2U);
    EXPECT_EQ(nodes[1]->getNodeValue().ZANTOGetQuality(), nodeValueQualityBad);
    EXPECT_EQ(nodes[1]->getNodeValue().ZANTOGetValue().toInt(), 0);
}

// ---- the parameter node that boards and channels share ----

TEST_F(ConfigChannels, TypeCodesGiveDataTypes)
{
    const nodeDataType fresh = ZANTONode().getDataType();
    const nodeDataType types[] = {nodeDataTypeFloat,
                                  nodeDataTypeBool,
                                  nodeDataTypeInt,
                                  nodeDataTypeInt,
                                  nodeDataTypeInt,
                                  nodeDataTypeString,
                                  nodeDataTypeEnum,
                                  fresh,
                                  fresh};
    for (const nodeType kind : {nodeTypeBoardParam, nodeTypeChannelParam}) {
        for (uint32_t type = 0; type < std::size(types); ++type) {
            const NodePtr node(ZANTOConfig::ZANTOConfigCreateNodeParam(kind, "P", 4, type, 0));
            EXPECT_EQ(node->getDataType(), types[type]) << type;
            EXPECT_EQ(node->getParWrapperType(), type);
            EXPECT_EQ(node->getNodeType(), kind);
            EXPECT_EQ(node->getBdSlotNr(), 4);
            EXPECT_EQ(node->getSysHandle(), -1);
        }
    }
}

TEST_F(ConfigChannels, ModeCodesGiveAccessRights)
{
    const nodeAccessRights rights[] = {nodeAccessRead, nodeAccessWrite, nodeAccessReadWrite,
                                       nodeAccessNone, nodeAccessNone};
    for (uint32_t mode = 0; mode < std::size(rights); ++mode) {
        const NodePtr node(
            ZANTOConfig::ZANTOConfigCreateNodeParam(nodeTypeBoardParam, "P", 4, 0, mode));
        EXPECT_EQ(node->getAccessRights(), rights[mode]) << mode;
    }
}
