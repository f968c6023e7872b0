// A node's line in the list of process variables.
#include "unitSupport.h"

#include "ZANTOutils.h"

namespace {

class PvList : public ZantoTest {};

std::string lineOf(const NodePtr &node, int32_t board, int32_t channel)
{
    return ZANTOUtils::ZANTOCreateStringForItemExporting(node.get(), board, channel);
}

std::string lineOf(const std::string &name, nodeType type, uint32_t wrapperType,
                   nodeAccessRights access, int32_t board = 1, int32_t channel = 2)
{
    return lineOf(makeItem(name, type, wrapperType, access), board, channel);
}

} // namespace

TEST_F(PvList, AChannelParameterHasBothPositions)
{
    EXPECT_EQ(lineOf("Set Volt", nodeTypeChannelParam, VEXAHV_PARAM_NUMERIC, nodeAccessReadWrite),
              "1, 2, CRATE:01:002:SetVolt,  ao, x, x\n");
}

TEST_F(PvList, ABoardParameterHasAnUnpaddedSlotAndAHyphen)
{
    EXPECT_EQ(lineOf("Alarm", nodeTypeBoardParam, VEXAHV_PARAM_ONOFF, nodeAccessRead, 3, -1),
              "3, -, CRATE:03:Alarm,  bi, x,  \n");
}

TEST_F(PvList, CommandsAndSystemPropertiesHaveTwoHyphens)
{
    EXPECT_EQ(lineOf("Clear Alarm", nodeTypeSystemCmd, VEXAHV_PARAM_ONOFF, nodeAccessWrite, -1, -1),
              "-, -, CRATE:ClearAlarm,  bo,  , x\n");
    EXPECT_EQ(
        lineOf("Clear Alarm", nodeTypeSystemCmd, VEXAHV_PARAM_STRING, nodeAccessWrite, -1, -1),
        "-, -, CRATE:ClearAlarm,  stringout,  , x\n");
    EXPECT_EQ(lineOf("ModelName", nodeTypeSystemProp, VEXAHV_SYSPROP_TEXT, nodeAccessRead, -1, -1),
              "-, -, CRATE:ModelName,  stringin, x,  \n");
}

TEST_F(PvList, TheKindAndTheDirectionMakeTheRecordType)
{
    const char *inputs[] = {"ai", "bi", "ai", "ai", "mbbiDirect", "stringin"};
    const char *outputs[] = {"ao", "bo", "ao", "ao", "mbboDirect", "stringout"};
    for (uint32_t kind = 0; kind < std::size(inputs); ++kind) {
        const std::string begin = "1, 2, CRATE:01:002:P,  ";
        EXPECT_EQ(lineOf("P", nodeTypeChannelParam, kind, nodeAccessRead),
                  begin + inputs[kind] + ", x,  \n");
        EXPECT_EQ(lineOf("P", nodeTypeChannelParam, kind, nodeAccessWrite),
                  begin + outputs[kind] + ",  , x\n");
        EXPECT_EQ(lineOf("P", nodeTypeChannelParam, kind, nodeAccessReadWrite),
                  begin + outputs[kind] + ", x, x\n");
    }
}

TEST_F(PvList, SystemPropertyTypesAreMappedToKinds)
{
    const char *types[] = {"stringin", "ai", "ai", "ai", "ai", "ai", "bi"};
    for (uint32_t type = 0; type < std::size(types); ++type)
        EXPECT_EQ(lineOf("P", nodeTypeSystemProp, type, nodeAccessRead, -1, -1),
                  std::string("-, -, CRATE:P,  ") + types[type] + ", x,  \n");
}

TEST_F(PvList, LargePositionsTakeAsManyDigitsAsTheyNeed)
{
    EXPECT_EQ(lineOf("P", nodeTypeChannelParam, 0, nodeAccessRead, 100, 1000),
              "100, 1000, CRATE:100:1000:P,  ai, x,  \n");
}

TEST_F(PvList, OtherNodeTypesHaveNoLineAndAMessage)
{
    for (const nodeType type : {nodeTypeSystemItem, nodeTypeSystemParam, nodeTypeBoardItem,
                                nodeTypeChannelItem, nodeTypeGlobalSetting, nodeTypeEmptyNode}) {
        SCOPED_TRACE(type);
        expectPrintedFrom(1, "Error finding type while creating string for [SetVolt] PV list\n",
                          [&] { EXPECT_EQ(lineOf("Set Volt", type, 0, nodeAccessRead), ""); });
    }
}

TEST_F(PvList, UnknownSystemPropertyTypesHaveNoLineAndAMessage)
{
    for (const uint32_t type : {7U, UINT32_MAX})
        expectPrintedFrom(
            1, "Error finding system type while creating string for [SetVolt] PV list\n",
            [&] { EXPECT_EQ(lineOf("Set Volt", nodeTypeSystemProp, type, nodeAccessRead), ""); });
}

TEST_F(PvList, OtherNodesWithoutRecordsHaveNoLineAndNoMessage)
{
    const auto lines = [] {
        EXPECT_EQ(lineOf("P", nodeTypeChannelParam, 6, nodeAccessReadWrite), "");
        EXPECT_EQ(lineOf("P", nodeTypeBoardParam, UINT32_MAX, nodeAccessRead), "");
        EXPECT_EQ(lineOf("P", nodeTypeBoardParam, 0, nodeAccessNone), "");
        EXPECT_EQ(lineOf("Name", nodeTypeChannelParam, 6, nodeAccessRead), "");
        EXPECT_EQ(lineOf("a\"b", nodeTypeChannelParam, 0, nodeAccessRead), "");
    };
    EXPECT_EQ(printedAt(10, lines), "");
}

TEST_F(PvList, ListsExactlyTheNodesThatHaveRecords)
{
    for (int type = nodeTypeSystemItem; type <= nodeTypeSystemCmd; ++type) {
        for (uint32_t kind = 0; kind <= 8; ++kind) {
            for (int access = nodeAccessRead; access <= nodeAccessNone; ++access) {
                const NodePtr node = makeItem("P", static_cast<nodeType>(type), kind,
                                              static_cast<nodeAccessRights>(access));
                const bool recorded =
                    !ZANTOUtils::ZANTOCreateStringForDbRecord(node.get(), 1, 2).empty();
                EXPECT_EQ(!lineOf(node, 1, 2).empty(), recorded)
                    << "type " << type << ", kind " << kind << ", access " << access;
            }
        }
    }
}
