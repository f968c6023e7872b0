// Values from events, and the labels of two-state parameters.
#include "unitSupport.h"

#include "ZANTOutils.h"

namespace {

class EventValue : public ZantoTest {};

IDValue_t eventOf(int32_t number)
{
    IDValue_t value = {};
    value.IntValue = number;
    return value;
}

IDValue_t eventOf(float number)
{
    IDValue_t value = {};
    value.FloatValue = number;
    return value;
}

IDValue_t eventOf(const std::string &text)
{
    IDValue_t value = {};
    text.copy(value.StringValue, sizeof(value.StringValue));
    return value;
}

NodePtr nodeOf(nodeDataType dataType)
{
    NodePtr node = makeItem("P", nodeTypeChannelParam, 0, nodeAccessRead);
    node->setDataType(dataType);
    return node;
}

ZANTONodeValue convert(nodeDataType dataType, const IDValue_t &event)
{
    return ZANTOUtils::ZANTOCreateValueFromNodeTypeAndEventType(nodeOf(dataType).get(), event);
}

variant valueOf(nodeDataType dataType, const IDValue_t &event)
{
    return convert(dataType, event).ZANTOGetValue();
}

} // namespace

TEST_F(EventValue, EveryTypeTakesItsPartOfTheUnion)
{
    // 98304 has 8000 hexadecimal in its low 16 bits.
    EXPECT_EQ(valueOf(nodeDataTypeInt, eventOf(-98304)).toInt(), -98304);
    EXPECT_EQ(valueOf(nodeDataTypeLong, eventOf(-98304)).toLong(), -98304);
    EXPECT_EQ(valueOf(nodeDataTypeShort, eventOf(98304)).toShort(), -32768);
    EXPECT_EQ(valueOf(nodeDataTypeUInt, eventOf(-1)).toUInt(), UINT32_MAX);
    EXPECT_EQ(valueOf(nodeDataTypeULong, eventOf(-1)).toULong(), UINT32_MAX);
    EXPECT_EQ(valueOf(nodeDataTypeUShort, eventOf(98304)).toUShort(), 32768);
    EXPECT_EQ(valueOf(nodeDataTypeFloat, eventOf(-1.5F)).toFloat(), -1.5F);
    EXPECT_EQ(valueOf(nodeDataTypeString, eventOf("text")).toString(), "text");
    EXPECT_EQ(valueOf(nodeDataTypeEnum, eventOf(3)).toFloat(), 3.0F);
}

TEST_F(EventValue, NarrowTypesLeaveTheRestOfTheSlotZero)
{
    EXPECT_EQ(valueOf(nodeDataTypeShort, eventOf(-1)).toUInt(), 0xFFFFU);
    EXPECT_EQ(valueOf(nodeDataTypeUShort, eventOf(-1)).toUInt(), 0xFFFFU);
    EXPECT_EQ(valueOf(nodeDataTypeBool, eventOf(-1)).toUInt(), 1U);
}

TEST_F(EventValue, AnythingButZeroIsTrue)
{
    EXPECT_FALSE(valueOf(nodeDataTypeBool, eventOf(0)).toBool());
    for (const int32_t number : {1, 2, -1, 0x100, 0x10000})
        EXPECT_TRUE(valueOf(nodeDataTypeBool, eventOf(number)).toBool()) << number;
}

TEST_F(EventValue, AFloatKeepsItsBits)
{
    for (const int32_t bits : {0x3FC00000, 0x7FC12345, 0x7F800000, 0x00000001})
        EXPECT_EQ(valueOf(nodeDataTypeFloat, eventOf(bits)).toInt(), bits);
}

TEST_F(EventValue, ATextWithoutANulEndsWithTheUnion)
{
    const std::string endless(sizeof(IDValue_t), 'x');
    EXPECT_EQ(valueOf(nodeDataTypeString, eventOf(endless)).toString(), endless);
    EXPECT_EQ(valueOf(nodeDataTypeString, eventOf("")).toString(), "");
}

TEST_F(EventValue, TheValueIsGoodAndOfNow)
{
    const time_t before = std::time(nullptr);
    for (int dataType = nodeDataTypeInt; dataType <= nodeDataTypeEnum; ++dataType) {
        const ZANTONodeValue value = convert(static_cast<nodeDataType>(dataType), eventOf(0));
        EXPECT_EQ(value.ZANTOGetQuality(), nodeValueQualityGood) << dataType;
        EXPECT_GE(value.ZANTOGetTimestamp(), before);
    }
}

TEST_F(EventValue, AnUnknownTypeGivesTheDefaultValueWithoutAMessage)
{
    const auto unknown = static_cast<nodeDataType>(10);
    ZANTONodeValue value;
    EXPECT_EQ(printedAt(10, [&] { value = convert(unknown, eventOf(5)); }), "");
    EXPECT_EQ(value.ZANTOGetQuality(), nodeValueQualityUninitialized);
    EXPECT_EQ(value.ZANTOGetValue().toInt(), 0);
}

TEST_F(EventValue, NoNodeGivesTheDefaultValueAndAMessage)
{
    ZANTONodeValue value;
    const auto convertNull = [&] {
        value = ZANTOUtils::ZANTOCreateValueFromNodeTypeAndEventType(nullptr, eventOf(5));
    };
    expectPrintedFrom(1, "Node not found\n", convertNull);
    EXPECT_EQ(value.ZANTOGetQuality(), nodeValueQualityUninitialized);
    EXPECT_EQ(value.ZANTOGetValue().toInt(), 0);
}

// ---- labels ----

namespace {

void addLabel(ZANTONode &node, const std::string &name, const std::string &text)
{
    auto property = std::make_unique<ZANTONodeProperty>();
    property->setPropName(name);
    property->setPropVal(variantOf(text));
    node.addProperty(property.release());
}

NodePtr nodeWithLabels(const std::vector<std::pair<std::string, std::string>> &labels)
{
    NodePtr node = nodeOf(nodeDataTypeBool);
    for (const auto &label : labels)
        addLabel(*node, label.first, label.second);
    return node;
}

} // namespace

TEST_F(EventValue, ABooleanBecomesTheLabelOfItsState)
{
    const NodePtr node = nodeWithLabels(
        {{"Other", "x"}, {"Offstate", "Off"}, {"Onstate", "On"}, {"Onstate", "Second"}});
    EXPECT_EQ(ZANTOUtils::ZANTOConvertPropertyStringFromBool(node.get(), true), "On");
    EXPECT_EQ(ZANTOUtils::ZANTOConvertPropertyStringFromBool(node.get(), false), "Off");
}

TEST_F(EventValue, ABooleanWithoutALabelBecomesAnEmptyText)
{
    const NodePtr node = nodeWithLabels({{"Offstate", "Off"}});
    EXPECT_EQ(ZANTOUtils::ZANTOConvertPropertyStringFromBool(node.get(), true), "");
    EXPECT_EQ(ZANTOUtils::ZANTOConvertPropertyStringFromBool(nullptr, true), "");
}

TEST_F(EventValue, ALabelBecomesTrueWhenItIsTheFirstOne)
{
    const NodePtr usual = nodeWithLabels({{"Other", "x"}, {"Onstate", "On"}, {"Offstate", "Off"}});
    EXPECT_TRUE(ZANTOUtils::ZANTOConvertPropertyBoolFromString(usual.get(), "On"));
    for (const char *other : {"Off", "on", "On ", "O", "", "x"})
        EXPECT_FALSE(ZANTOUtils::ZANTOConvertPropertyBoolFromString(usual.get(), other)) << other;

    const NodePtr reversed = nodeWithLabels({{"Offstate", "Off"}, {"Onstate", "On"}});
    EXPECT_TRUE(ZANTOUtils::ZANTOConvertPropertyBoolFromString(reversed.get(), "Off"));
    EXPECT_FALSE(ZANTOUtils::ZANTOConvertPropertyBoolFromString(reversed.get(), "On"));
}

TEST_F(EventValue, ATextWithoutLabelsIsFalse)
{
    const NodePtr node = nodeWithLabels({{"Other", "x"}});
    EXPECT_FALSE(ZANTOUtils::ZANTOConvertPropertyBoolFromString(node.get(), "x"));
    EXPECT_FALSE(ZANTOUtils::ZANTOConvertPropertyBoolFromString(nullptr, ""));
}
