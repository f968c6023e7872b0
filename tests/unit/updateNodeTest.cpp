#include "eventThreadSupport.h"

#include <limits>

using ::testing::HasSubstr;

namespace {
using UpdateNode = EventThread;
}

TEST_F(UpdateNode, AnUpdateGivesTheNodeItsValueAndTellsItsTypeCode)
{
    ZANTONode *node = addChannelParam("IMon", VEXAHV_PARAM_INTEGER, nodeDataTypeInt, 1);
    node->setNodeValue(ZANTONodeValue(variantOf(int32_t{1}), nodeValueQualityBad, 0));
    const auto event = channelEvent("IMon", integer(77), 1);
    EXPECT_EQ(updateNode(1, 1, "IMon", event.Value), VEXAHV_PARAM_INTEGER);
    EXPECT_EQ(intOf(node), 77);
    EXPECT_EQ(node->getNodeValue().ZANTOGetQuality(), nodeValueQualityGood);
    EXPECT_GT(node->getNodeValue().ZANTOGetTimestamp(), 0);
}

TEST_F(UpdateNode, AnUpdateReachesTheNodeThatTheIndexesName)
{
    ZANTONode *ofSystem = addSystemProp("Item", VEXAHV_SYSPROP_INT32);
    ZANTONode *ofBoard =
        addTo(m_board, "Item", nodeTypeBoardParam, VEXAHV_PARAM_INTEGER, nodeDataTypeInt);
    ZANTONode *ofFirst = addChannelParam("Item", VEXAHV_PARAM_INTEGER, nodeDataTypeInt, 0);
    ZANTONode *ofSecond = addChannelParam("Item", VEXAHV_PARAM_INTEGER, nodeDataTypeInt, 1);
    IDValue_t value = {};
    value.IntValue = 1;
    updateNode(-1, -1, "Item", value);
    value.IntValue = 2;
    updateNode(1, -1, "Item", value);
    value.IntValue = 3;
    updateNode(1, 0, "Item", value);
    value.IntValue = 4;
    updateNode(1, 1, "Item", value);
    EXPECT_EQ(intOf(ofSystem), 1);
    EXPECT_EQ(intOf(ofBoard), 2);
    EXPECT_EQ(intOf(ofFirst), 3);
    EXPECT_EQ(intOf(ofSecond), 4);
}

TEST_F(UpdateNode, ExtremeIndexesNameNoNode)
{
    addChannelParam("Item", VEXAHV_PARAM_INTEGER);
    IDValue_t value = {};
    constexpr int32_t most = std::numeric_limits<int32_t>::max();
    constexpr int32_t least = std::numeric_limits<int32_t>::min();
    for (const int32_t board : {0, 1, 2, most, -1, least}) {
        for (const int32_t channel : {2, 3, 65536, most}) {
            SCOPED_TRACE(::testing::Message() << board << ":" << channel);
            EXPECT_EQ(updateNode(board, channel, "Item", value), -1);
        }
    }
    EXPECT_EQ(updateNode(most, -1, "Item", value), -1);
    EXPECT_EQ(updateNode(0, 0, "Item", value), -1);
}

TEST_F(UpdateNode, ATypeCodeOfAParameterIsToldAsItIs)
{
    IDValue_t value = {};
    for (const uint32_t code : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 40U}) {
        const std::string name = "P" + std::to_string(code);
        addChannelParam(name, code);
        EXPECT_EQ(updateNode(1, 0, name.c_str(), value), static_cast<int32_t>(code));
    }
}

TEST_F(UpdateNode, ATypeCodeOfASystemPropertyIsMapped)
{
    constexpr int32_t expected[] = {5, 0, 0, 0, 0, 0, 1, 7, 8};
    IDValue_t value = {};
    for (uint32_t code = 0; code < std::size(expected); ++code) {
        const std::string name = "P" + std::to_string(code);
        addSystemProp(name, code);
        EXPECT_EQ(updateNode(-1, -1, name.c_str(), value), expected[code]) << code;
    }
}

TEST_F(UpdateNode, AnUnknownItemIsReportedFromLevel8On)
{
    const IDValue_t value = {};
    const auto update = [&value] { EXPECT_EQ(updateNode(1, 0, "Nope", value), -1); };
    EXPECT_EQ(printedAt(0, update), "");
    EXPECT_THAT(printedAt(7, update), Not(HasSubstr("Error updating")));
    EXPECT_EQ(printedAt(8, update),
              "\nNode [1:0:Nope] not found in tree\n\nError updating item [Nope]\n");
}

TEST_F(UpdateNode, AnItemWithoutATreeIsReportedFromLevel8On)
{
    NodePtr(systemNode).reset();
    systemNode = nullptr;
    const IDValue_t value = {};
    expectPrintedFrom(8, "\nError finding tree while updating item [VMon]\n",
                      [&value] { EXPECT_EQ(updateNode(1, 0, "VMon", value), -1); });
}

TEST_F(UpdateNode, AClosedTreeIsNotTouched)
{
    ZANTONode *node = addChannelParam("VMon", VEXAHV_PARAM_INTEGER);
    const auto event = channelEvent("VMon", integer(5));
    ASSERT_TRUE(ZANTOCloseTree(std::chrono::milliseconds(0)));
    EXPECT_EQ(updateNode(1, 0, "VMon", event.Value), -1);
    EXPECT_EQ(intOf(node), 0);
    ZANTOOpenTree();
    EXPECT_EQ(updateNode(1, 0, "VMon", event.Value), VEXAHV_PARAM_INTEGER);
}

TEST_F(UpdateNode, ANumbersUpdateIsTracedAsTheFloatOfItsBits)
{
    addChannelParam("VMon", VEXAHV_PARAM_NUMERIC, nodeDataTypeFloat);
    addChannelParam("Mask", VEXAHV_PARAM_INTEGER, nodeDataTypeInt);
    const auto real = channelEvent("VMon", FakeBytes::of(12.5F));
    const auto bits = channelEvent("Mask", integer(0x3F800000));
    expectPrintedFrom(10, "Item [VMon] updated - val = 12.500000 \n",
                      [&real] { updateNode(1, 0, "VMon", real.Value); });
    expectPrintedFrom(10, "Item [Mask] updated - val = 1.000000 \n",
                      [&bits] { updateNode(1, 0, "Mask", bits.Value); });
}

TEST_F(UpdateNode, ATextsUpdateIsTracedAsItsText)
{
    addChannelParam("Name", VEXAHV_PARAM_STRING, nodeDataTypeString);
    const auto event = channelEvent("Name", FakeBytes::text("CH 1 %s"));
    expectPrintedFrom(10, "Item [Name] updated - val = CH 1 %s\n",
                      [&event] { updateNode(1, 0, "Name", event.Value); });
}
