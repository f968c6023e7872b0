// Properties of board and channel parameters.
#include "unitSupport.h"

#include "ZANTOconfig.h"

#include <limits>

namespace {

class ConfigProperties : public ZantoTest {
protected:
    // A parameter P of the board in slot 1 and of its three channels.
    void makeParameter(FakeParameter parameter)
    {
        parameter.name = "P";
        FakeCrate crate;
        crate.slots = {FakeBoard(), fakeBoard("A1", 3, {parameter}, {parameter})};
        fake.setCrate(crate);
        fake.forgetCalls();
    }
};

using Properties = std::vector<std::unique_ptr<ZANTONodeProperty>>;

const nodeType kinds[] = {nodeTypeBoardParam, nodeTypeChannelParam};

Properties propertiesOf(nodeType kind, uint32_t type)
{
    return owned(
        kind == nodeTypeBoardParam
            ? ZANTOConfig::ZANTOConfigCreateBoardParameterProperties(crateHandle, "P", type, 1)
            : ZANTOConfig::ZANTOConfigCreateChannelParameterProperties(crateHandle, "P", type, 1,
                                                                       2));
}

ZANTONodeValue valueOf(nodeType kind, const std::string &property)
{
    return kind == nodeTypeBoardParam
               ? ZANTOConfig::ZANTOConfigGetBoardPropertyValue(property, crateHandle, "P", 1)
               : ZANTOConfig::ZANTOConfigGetChannelPropertyValue(property, crateHandle, "P", 1, 2);
}

std::string callFor(nodeType kind, const std::string &property)
{
    return (kind == nodeTypeBoardParam ? "GetBdParamProp(7, 1, P, "
                                       : "GetChParamProp(7, 1, 2, P, ") +
           property + ")";
}

std::string messageFor(nodeType kind, const std::string &property)
{
    return "Error getting [" + property + "] for [P] " +
           (kind == nodeTypeBoardParam ? "board" : "channel") + " parameter\n";
}

Lines namesOf(const Properties &properties)
{
    Lines names;
    for (const auto &property : properties)
        names.push_back(property->getPropName());
    return names;
}

Lines callsFor(nodeType kind, const Lines &properties)
{
    Lines calls;
    for (const std::string &property : properties)
        calls.push_back(callFor(kind, property));
    return calls;
}

const Lines numericNames = {"Minval", "Maxval", "Unit", "Exp", "Decimal"};
const FakeParameter number = fakeNumeric("P", 0, 0.0F, -1.5F, 8000.0F, 65535, -6, -3);

} // namespace

TEST_F(ConfigProperties, TheTypeDecidesWhatIsAskedFor)
{
    makeParameter(number);
    for (const nodeType kind : kinds) {
        for (const uint32_t type : {0U, 4U}) {
            fake.forgetCalls();
            EXPECT_EQ(namesOf(propertiesOf(kind, type)), numericNames);
            EXPECT_EQ(fake.calls(), callsFor(kind, numericNames));
        }
    }
    makeParameter(fakeOnOff("P", 0, 0));
    for (const nodeType kind : kinds) {
        fake.forgetCalls();
        EXPECT_EQ(namesOf(propertiesOf(kind, 1)), (Lines{"Onstate", "Offstate"}));
        EXPECT_EQ(fake.calls(), callsFor(kind, {"Onstate", "Offstate"}));
    }
}

TEST_F(ConfigProperties, OtherTypesHaveNoPropertiesAndMakeNoCall)
{
    makeParameter(number);
    for (const nodeType kind : kinds) {
        for (const uint32_t type : {2U, 3U, 5U, 7U, UINT32_MAX})
            EXPECT_TRUE(propertiesOf(kind, type).empty()) << type;
    }
    EXPECT_EQ(fake.calls(), Lines{});
}

TEST_F(ConfigProperties, AnEnumerationIsAskedForItsNamesWithoutACallAndHasNone)
{
    makeParameter(number);
    const Lines four = {"Minval", "Maxval", "Unit", "Exp"};
    for (const nodeType kind : kinds) {
        fake.forgetCalls();
        EXPECT_EQ(printedAt(1, [&] { EXPECT_EQ(namesOf(propertiesOf(kind, 6)), four); }),
                  messageFor(kind, "Enum"));
        EXPECT_EQ(fake.calls(), callsFor(kind, four));
        EXPECT_EQ(printedAt(0, [&] { propertiesOf(kind, 6); }), "");
    }
}

TEST_F(ConfigProperties, EachPropertyIsStoredInItsWidth)
{
    makeParameter(number);
    for (const nodeType kind : kinds) {
        EXPECT_EQ(valueOf(kind, "Minval").ZANTOGetValue().toFloat(), -1.5F);
        EXPECT_EQ(valueOf(kind, "Maxval").ZANTOGetValue().toFloat(), 8000.0F);
        // A narrow value leaves the upper half of a fresh slot zero.
        EXPECT_EQ(valueOf(kind, "Unit").ZANTOGetValue().toUInt(), 65535U);
        EXPECT_EQ(valueOf(kind, "Exp").ZANTOGetValue().toUInt(), 0xFFFAU);
        EXPECT_EQ(valueOf(kind, "Exp").ZANTOGetValue().toShort(), -6);
        EXPECT_EQ(valueOf(kind, "Decimal").ZANTOGetValue().toShort(), -3);
    }
    makeParameter(fakeOnOff("P", 0, 0, "Ein", ""));
    for (const nodeType kind : kinds) {
        EXPECT_EQ(valueOf(kind, "Onstate").ZANTOGetValue().toString(), "Ein");
        EXPECT_EQ(valueOf(kind, "Offstate").ZANTOGetValue().toString(), "");
    }
}

TEST_F(ConfigProperties, AReadPropertyIsGoodAndOfNow)
{
    makeParameter(number);
    const time_t before = std::time(nullptr);
    for (const nodeType kind : kinds) {
        for (const std::string &name : numericNames) {
            const ZANTONodeValue value = valueOf(kind, name);
            EXPECT_EQ(value.ZANTOGetQuality(), nodeValueQualityGood) << name;
            EXPECT_GE(value.ZANTOGetTimestamp(), before);
        }
    }
}

TEST_F(ConfigProperties, APropertyHasTheTypeOfItsNameAndTheValueAsRead)
{
    makeParameter(number);
    for (const auto &property : propertiesOf(nodeTypeChannelParam, 0)) {
        EXPECT_EQ(property->getDataType(), nodeDataTypeFloat);
        EXPECT_EQ(property->getPropVal().ZANTOGetQuality(), nodeValueQualityGood);
        EXPECT_EQ(property->getPropVal().ZANTOGetValue().toUInt(),
                  valueOf(nodeTypeChannelParam, property->getPropName()).ZANTOGetValue().toUInt());
    }
}

TEST_F(ConfigProperties, UnknownNamesAreBadWithoutACall)
{
    makeParameter(number);
    for (const nodeType kind : kinds) {
        for (const char *name : {"Enum", "minval", "Minval ", "Type", "Mode", ""}) {
            ZANTONodeValue value;
            expectPrintedFrom(1, messageFor(kind, name), [&] { value = valueOf(kind, name); });
            EXPECT_EQ(value.ZANTOGetQuality(), nodeValueQualityBad);
            EXPECT_EQ(value.ZANTOGetValue().toInt(), 0);
            EXPECT_EQ(value.ZANTOGetValue().toString(), "");
        }
    }
    EXPECT_EQ(fake.calls(), Lines{});
}

TEST_F(ConfigProperties, AFailedCallIsABadZeroAndTold)
{
    makeParameter(number);
    fake.failCalls("", 5);
    for (const nodeType kind : kinds) {
        for (const char *name : {"Minval", "Unit", "Decimal", "Onstate"}) {
            ZANTONodeValue value;
            expectPrintedFrom(1, messageFor(kind, name), [&] { value = valueOf(kind, name); });
            EXPECT_EQ(value.ZANTOGetQuality(), nodeValueQualityBad);
            EXPECT_EQ(value.ZANTOGetValue().toInt(), 0);
        }
    }
}

TEST_F(ConfigProperties, APropertyThatCannotBeReadIsLeftOut)
{
    makeParameter(fakeOnOff("P", 0, 0));
    for (const nodeType kind : kinds) {
        fake.failCalls(callFor(kind, "Offstate"), 5);
        EXPECT_EQ(namesOf(propertiesOf(kind, 1)), Lines{"Onstate"});
    }
    makeParameter(number);
    for (const nodeType kind : kinds) {
        fake.failCalls(callFor(kind, "Unit"), 5);
        EXPECT_EQ(namesOf(propertiesOf(kind, 0)), (Lines{"Minval", "Maxval", "Exp", "Decimal"}));
    }
}

TEST_F(ConfigProperties, ABoardsPropertiesAreReadFromTheBoardWhateverTheChannel)
{
    makeParameter(number);
    const Properties properties = owned(ZANTOConfig::ZANTOConfigCreateParameterProperties(
        nodeTypeBoardParam, crateHandle, "P", 0, 1, 99));
    EXPECT_EQ(namesOf(properties), numericNames);
    EXPECT_EQ(fake.calls(), callsFor(nodeTypeBoardParam, numericNames));
}

TEST_F(ConfigProperties, AnyOtherKindIsReadFromTheChannel)
{
    makeParameter(number);
    const Properties properties = owned(ZANTOConfig::ZANTOConfigCreateParameterProperties(
        nodeTypeSystemProp, crateHandle, "P", 0, 1, 2));
    EXPECT_EQ(fake.calls(), callsFor(nodeTypeChannelParam, numericNames));
}

TEST_F(ConfigProperties, LimitsThatAreNoNumbersComeThrough)
{
    FakeParameter parameter = number;
    parameter.properties[VEXAHV_PROP_MINVAL] = FakeBytes::of<uint32_t>(0x7FC00000);
    parameter.properties[VEXAHV_PROP_MAXVAL] =
        FakeBytes::of(std::numeric_limits<float>::infinity());
    makeParameter(parameter);
    EXPECT_EQ(valueOf(nodeTypeBoardParam, "Minval").ZANTOGetValue().toUInt(), 0x7FC00000U);
    EXPECT_EQ(valueOf(nodeTypeBoardParam, "Maxval").ZANTOGetValue().toUInt(), 0x7F800000U);
}

TEST_F(ConfigProperties, ALabelWithoutANulEndsWithTheLibrarysLongestText)
{
    const std::string endless(VEXAHV_TEXT_SIZE, 'x');
    FakeParameter parameter = fakeOnOff("P", 0, 0);
    parameter.properties[VEXAHV_PROP_ONSTATE] = {endless};
    makeParameter(parameter);
    for (const nodeType kind : kinds)
        EXPECT_EQ(valueOf(kind, "Onstate").ZANTOGetValue().toString(), endless);
}
