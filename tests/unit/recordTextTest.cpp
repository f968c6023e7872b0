// The record database's text of a node.
#include "unitSupport.h"

#include "ZANTOutils.h"

#include <cstdio>
#include <cstring>
#include <limits>

namespace {

class RecordText : public ZantoTest {};

std::string recordsOf(const NodePtr &node, int32_t board = 1, int32_t channel = 2)
{
    return ZANTOUtils::ZANTOCreateStringForDbRecord(node.get(), board, channel);
}

NodePtr channelItem(const std::string &name, uint32_t type, nodeAccessRights access)
{
    return makeItem(name, nodeTypeChannelParam, type, access);
}

NodePtr setVolt()
{
    NodePtr node = channelItem("Set Volt", VEXAHV_PARAM_NUMERIC, nodeAccessReadWrite);
    node->setExpUnit("V");
    node->setNodeDecimals(2);
    node->setMaxVal(8000);
    node->setMinVal(0.0F);
    return node;
}

// The lines of `text` that hold `part`, without their tabs.
Lines linesWith(const std::string &text, const std::string &part)
{
    Lines found;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = text.find('\n', begin);
        const std::string line = text.substr(begin, end - begin);
        if (line.find(part) != std::string::npos)
            found.push_back(line.substr(line.find_first_not_of('\t')));
        begin = end + 1;
    }
    return found;
}

Lines headers(const std::string &text) { return linesWith(text, "record("); }

} // namespace

// ---- whole records, byte for byte ----

TEST_F(RecordText, AReadWriteNumberHasASetOfThreeRecords)
{
    EXPECT_EQ(recordsOf(setVolt()), "record( ao, \"CRATE:01:002:SetVolt\")\n"
                                    "{\n"
                                    "\tfield( EGU , \"V\")\n"
                                    "\tfield( PREC , \"2\")\n"
                                    "\tfield( HOPR , \"8000.000000\")\n"
                                    "\tfield( LOPR , \"0.000000\")\n"
                                    "\tfield( DESC, \"Set Volt\")\n"
                                    "\tfield( DTYP, \"VEXA ZANTO Item\")\n"
                                    "\tfield( SDIS, \"CRATE:01:002:SetVolt:Sync.PACT\")\n"
                                    "\tfield( OUT, \"@CRATE:01:002:SETVOLT\")\n"
                                    "}\n"
                                    "record( ai, \"CRATE:01:002:SetVolt:RBV\")\n"
                                    "{\n"
                                    "\tfield( DTYP, \"VEXA ZANTO Item\")\n"
                                    "\tfield( INP,  \"@CRATE:01:002:SETVOLT\")\n"
                                    "\tfield( SCAN, \"I/O Intr\")\n"
                                    "\tfield( PINI, \"YES\")\n"
                                    "\tfield( FLNK, \"CRATE:01:002:SetVolt:Sync\")\n"
                                    "}\n"
                                    "record(ao, \"CRATE:01:002:SetVolt:Sync\")\n"
                                    "{\n"
                                    "\tfield( DOL,  \"CRATE:01:002:SetVolt:RBV NPP\")\n"
                                    "\tfield( OMSL, \"closed_loop\")\n"
                                    "\tfield( OUT,  \"CRATE:01:002:SetVolt PP\")\n"
                                    "}\n");
}

TEST_F(RecordText, AReadOnlySwitchOfABoardHasOneRecord)
{
    const NodePtr node = makeItem("Alarm", nodeTypeBoardParam, VEXAHV_PARAM_ONOFF, nodeAccessRead);
    node->setOnString("On");
    node->setOffString("Off");
    EXPECT_EQ(recordsOf(node, 3, -1), "record( bi, \"CRATE:03:Alarm\")\n"
                                      "{\n"
                                      "\tfield( ZNAM , \"Off\")\n"
                                      "\tfield( ONAM , \"On\")\n"
                                      "\tfield( DESC, \"Alarm\")\n"
                                      "\tfield( DTYP, \"VEXA ZANTO Item\")\n"
                                      "\tfield( INP, \"@CRATE:03:Alarm\")\n"
                                      "\tfield( PINI, \"YES\")\n"
                                      "\tfield( SCAN, \"I/O Intr\")\n"
                                      "}\n");
}

TEST_F(RecordText, AWriteOnlyCommandHasOneRecordThatIsNotScanned)
{
    const NodePtr node =
        makeItem("Clear Alarm", nodeTypeSystemCmd, VEXAHV_PARAM_ONOFF, nodeAccessWrite);
    EXPECT_EQ(recordsOf(node, -1, -1), "record( bo, \"CRATE:ClearAlarm\")\n"
                                       "{\n"
                                       "\tfield( ZNAM , \"\")\n"
                                       "\tfield( ONAM , \"\")\n"
                                       "\tfield( DESC, \"Clear Alarm\")\n"
                                       "\tfield( DTYP, \"VEXA ZANTO Item\")\n"
                                       "\tfield( OUT, \"@CRATE:ClearAlarm\")\n"
                                       "}\n");
}

TEST_F(RecordText, ACommandAsBuiltIsAText)
{
    const NodePtr node =
        makeItem("Clear Alarm", nodeTypeSystemCmd, VEXAHV_PARAM_STRING, nodeAccessWrite);
    EXPECT_EQ(recordsOf(node, -1, -1), "record( stringout, \"CRATE:ClearAlarm\")\n"
                                       "{\n"
                                       "\tfield( DESC, \"Clear Alarm\")\n"
                                       "\tfield( DTYP, \"VEXA ZANTO Item\")\n"
                                       "\tfield( OUT, \"@CRATE:ClearAlarm\")\n"
                                       "}\n");
}

// ---- types ----

TEST_F(RecordText, TheKindAndTheDirectionMakeTheRecordType)
{
    const struct {
        uint32_t kind;
        const char *input;
        const char *output;
    } kinds[] = {{0, "ai", "ao"},
                 {1, "bi", "bo"},
                 {2, "ai", "ao"},
                 {3, "ai", "ao"},
                 {4, "mbbiDirect", "mbboDirect"},
                 {5, "stringin", "stringout"}};
    for (const auto &kind : kinds) {
        SCOPED_TRACE(kind.kind);
        const std::string in = kind.input;
        const std::string out = kind.output;
        const std::string name = ", \"CRATE:01:002:P";
        EXPECT_EQ(headers(recordsOf(channelItem("P", kind.kind, nodeAccessRead))),
                  Lines{"record( " + in + name + "\")"});
        EXPECT_EQ(headers(recordsOf(channelItem("P", kind.kind, nodeAccessWrite))),
                  Lines{"record( " + out + name + "\")"});
        EXPECT_EQ(headers(recordsOf(channelItem("P", kind.kind, nodeAccessReadWrite))),
                  (Lines{"record( " + out + name + "\")", "record( " + in + name + ":RBV\")",
                         "record(" + out + name + ":Sync\")"}));
    }
}

TEST_F(RecordText, SystemPropertyTypesAreMappedToKinds)
{
    const char *types[] = {"stringin", "ai", "ai", "ai", "ai", "ai", "bi"};
    for (uint32_t type = 0; type < std::size(types); ++type) {
        const NodePtr node = makeItem("P", nodeTypeSystemProp, type, nodeAccessRead);
        EXPECT_EQ(headers(recordsOf(node, -1, -1)),
                  Lines{std::string("record( ") + types[type] + ", \"CRATE:P\")"});
    }
}

TEST_F(RecordText, ABooleanSystemPropertyNamesItsStatesInTheMainRecordOnly)
{
    const std::string text =
        recordsOf(makeItem("P", nodeTypeSystemProp, 6, nodeAccessReadWrite), -1, -1);
    EXPECT_EQ(headers(text), (Lines{"record( bo, \"CRATE:P\")", "record( bi, \"CRATE:P:RBV\")",
                                    "record(bo, \"CRATE:P:Sync\")"}));
    EXPECT_EQ(linesWith(text, "NAM").size(), 2U);
    EXPECT_LT(text.find("ONAM"), text.find(":RBV\""));
    EXPECT_EQ(headers(recordsOf(makeItem("P", nodeTypeSystemProp, 6, nodeAccessRead), -1, -1)),
              Lines{"record( bi, \"CRATE:P\")"});
    EXPECT_EQ(headers(recordsOf(makeItem("P", nodeTypeSystemProp, 6, nodeAccessWrite), -1, -1)),
              Lines{"record( bo, \"CRATE:P\")"});
}

// ---- numeric fields ----

TEST_F(RecordText, OnlyNumbersHaveNumericFields)
{
    for (const uint32_t kind : {1U, 2U, 3U, 4U, 5U}) {
        NodePtr node = channelItem("P", kind, nodeAccessReadWrite);
        node->setExpUnit("V");
        node->setNodeDecimals(2);
        node->setMaxVal(8000);
        node->setMinVal(0.0F);
        const std::string text = recordsOf(node);
        for (const char *field : {"EGU", "PREC", "HOPR", "LOPR"})
            EXPECT_EQ(linesWith(text, field), Lines{}) << kind;
        EXPECT_EQ(linesWith(text, "ZNAM").size(), kind == 1 ? 1U : 0U);
    }
}

TEST_F(RecordText, WhatIsNotGivenHasNoLine)
{
    const NodePtr node = setVolt();
    node->setExpUnit("");
    node->setMaxVal(0);
    for (const int32_t decimals : {0, -1, -100}) {
        node->setNodeDecimals(decimals);
        const std::string text = recordsOf(node);
        for (const char *field : {"EGU", "PREC", "HOPR", "LOPR"})
            EXPECT_EQ(linesWith(text, field), Lines{}) << decimals;
    }
}

TEST_F(RecordText, LimitsHaveSixDecimalsUpToTheLargestFloat)
{
    const NodePtr node = setVolt();
    node->setMaxVal(INT32_MIN);
    node->setMinVal(-1.5F);
    EXPECT_EQ(linesWith(recordsOf(node), "OPR"),
              (Lines{"field( HOPR , \"-2147483648.000000\")", "field( LOPR , \"-1.500000\")"}));
    node->setMinVal(std::numeric_limits<float>::max());
    EXPECT_EQ(linesWith(recordsOf(node), "LOPR"),
              Lines{"field( LOPR , \"340282346638528859811704183484516925440.000000\")"});
}

TEST_F(RecordText, EveryLimitIsPrintedAsPrintfDoes)
{
    const NodePtr node = setVolt();
    node->setMaxVal(-7);
    std::vector<float> limits = {-0.0F,         1e9F,       -1e9F,    999999936.0F, 16777217.0F,
                                 0.1F,          0.0000005F, 1.0F / 3, -2.5F,        8388607.5F,
                                 2147483648.0F, 1e-45F,     -1e-45F};
    // Every sign and exponent, with mantissas from all over their range.
    for (uint32_t bits = 12345; bits < UINT32_MAX - 99991; bits += 99991) {
        limits.emplace_back();
        std::memcpy(&limits.back(), &bits, sizeof(bits));
    }
    for (const float limit : limits) {
        node->setMinVal(limit);
        char expected[80];
        std::snprintf(expected, sizeof(expected), "field( LOPR , \"%f\")",
                      static_cast<double>(limit));
        ASSERT_NE(recordsOf(node).find(expected), std::string::npos) << expected;
    }
}

TEST_F(RecordText, ALimitThatIsNoNumberDiffersFromEveryOther)
{
    const NodePtr node = setVolt();
    node->setMinVal(std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(linesWith(recordsOf(node), "OPR"),
              (Lines{"field( HOPR , \"8000.000000\")", "field( LOPR , \"nan\")"}));
    node->setMinVal(-std::numeric_limits<float>::infinity());
    EXPECT_EQ(linesWith(recordsOf(node), "LOPR"), Lines{"field( LOPR , \"-inf\")"});
}

// ---- names ----

TEST_F(RecordText, NumbersArePaddedAndTakeAsManyDigitsAsTheyNeed)
{
    const NodePtr node = channelItem("P", 0, nodeAccessRead);
    EXPECT_EQ(headers(recordsOf(node, 7, 15)), Lines{"record( ai, \"CRATE:07:015:P\")"});
    EXPECT_EQ(headers(recordsOf(node, 100, 1000)), Lines{"record( ai, \"CRATE:100:1000:P\")"});
    EXPECT_EQ(headers(recordsOf(node, 65535, 65535)),
              Lines{"record( ai, \"CRATE:65535:65535:P\")"});
}

TEST_F(RecordText, EveryBlankLeavesTheNameAndStaysInTheDescription)
{
    const std::string text = recordsOf(channelItem("  a b  c ", 2, nodeAccessRead));
    EXPECT_EQ(headers(text), Lines{"record( ai, \"CRATE:01:002:abc\")"});
    EXPECT_EQ(linesWith(text, "DESC"), Lines{"field( DESC, \"  a b  c \")"});
}

TEST_F(RecordText, ANameOfBlanksGivesARecordNameThatEndsInAColon)
{
    EXPECT_EQ(headers(recordsOf(channelItem("   ", 2, nodeAccessRead))),
              Lines{"record( ai, \"CRATE:01:002:\")"});
}

TEST_F(RecordText, OnlyReadWriteParametersHaveUpperCaseLinks)
{
    const auto links = [](nodeAccessRights access) {
        return linesWith(recordsOf(channelItem("vSet_1", 2, access)), "\"@");
    };
    EXPECT_EQ(links(nodeAccessRead), Lines{"field( INP, \"@CRATE:01:002:vSet_1\")"});
    EXPECT_EQ(links(nodeAccessWrite), Lines{"field( OUT, \"@CRATE:01:002:vSet_1\")"});
    EXPECT_EQ(links(nodeAccessReadWrite), (Lines{"field( OUT, \"@CRATE:01:002:VSET_1\")",
                                                 "field( INP,  \"@CRATE:01:002:VSET_1\")"}));
}

TEST_F(RecordText, TheChannelNameHasItsSetOfTexts)
{
    const NodePtr node = channelItem("Name", VEXAHV_PARAM_STRING, nodeAccessReadWrite);
    EXPECT_EQ(headers(recordsOf(node)), (Lines{"record( stringout, \"CRATE:01:002:Name\")",
                                               "record( stringin, \"CRATE:01:002:Name:RBV\")",
                                               "record(stringout, \"CRATE:01:002:Name:Sync\")"}));
}

// ---- nodes without records ----

TEST_F(RecordText, OtherNodeTypesHaveNoRecordAndAMessage)
{
    for (const nodeType type : {nodeTypeSystemItem, nodeTypeSystemParam, nodeTypeBoardItem,
                                nodeTypeChannelItem, nodeTypeGlobalSetting, nodeTypeEmptyNode}) {
        SCOPED_TRACE(type);
        const NodePtr node = makeItem("Set Volt", type, 0, nodeAccessRead);
        expectPrintedFrom(1, "Error finding type while creating string for [SetVolt] record\n",
                          [&] { EXPECT_EQ(recordsOf(node), ""); });
    }
}

TEST_F(RecordText, UnknownSystemPropertyTypesHaveNoRecordAndAMessage)
{
    for (const uint32_t type : {7U, 100U, UINT32_MAX}) {
        const NodePtr node = makeItem("Set Volt", nodeTypeSystemProp, type, nodeAccessRead);
        expectPrintedFrom(1,
                          "Error finding system type while creating string for [SetVolt] record\n",
                          [&] { EXPECT_EQ(recordsOf(node), ""); });
    }
}

TEST_F(RecordText, EnumerationsAndUnknownKindsHaveNoRecordAndAMessage)
{
    for (const uint32_t kind : {6U, 7U, UINT32_MAX}) {
        const NodePtr node = channelItem("Set Volt", kind, nodeAccessReadWrite);
        expectPrintedFrom(1, "Error creating string for [SetVolt] record\n",
                          [&] { EXPECT_EQ(recordsOf(node), ""); });
    }
}

TEST_F(RecordText, AnUnknownKindCalledNameHasNoRecordAndNoMessage)
{
    for (const char *name : {"Name", " Na me"}) {
        const NodePtr node = channelItem(name, 6, nodeAccessReadWrite);
        EXPECT_EQ(printedAt(10, [&] { EXPECT_EQ(recordsOf(node), ""); }), "");
    }
}

TEST_F(RecordText, NodesWithoutAccessHaveNoRecordAndNoMessage)
{
    for (const nodeType type : {nodeTypeBoardParam, nodeTypeChannelParam, nodeTypeSystemProp}) {
        const NodePtr node = makeItem("P", type, 0, nodeAccessNone);
        EXPECT_EQ(printedAt(10, [&] { EXPECT_EQ(recordsOf(node), ""); }), "");
    }
}

// ---- texts that a mainframe should not send ----

TEST_F(RecordText, NamesThatTheIocRefusesHaveNoRecordAndAMessage)
{
    for (const std::string &name :
         {std::string("a\"b"), std::string("a\\b"), std::string("a.b"), std::string("a'b"),
          std::string("$(X)"), std::string("a\nb"), std::string(48, 'x')}) {
        SCOPED_TRACE(name);
        const NodePtr node = channelItem(name, 0, nodeAccessRead);
        expectPrintedFrom(1, "Error creating string for [" + name + "] record\n",
                          [&] { EXPECT_EQ(recordsOf(node), ""); });
    }
}

TEST_F(RecordText, TheLongestNameOfASetDecides)
{
    // "CRATE:01:002:" and 47 bytes are 60; ":Sync" needs five of them.
    EXPECT_NE(recordsOf(channelItem(std::string(47, 'x'), 0, nodeAccessRead)), "");
    EXPECT_EQ(recordsOf(channelItem(std::string(48, 'x'), 0, nodeAccessRead)), "");
    EXPECT_NE(recordsOf(channelItem(std::string(42, 'x'), 0, nodeAccessReadWrite)), "");
    EXPECT_EQ(recordsOf(channelItem(std::string(43, 'x'), 0, nodeAccessReadWrite)), "");
}

TEST_F(RecordText, FieldValuesAreMadeSafe)
{
    const NodePtr number = setVolt();
    number->setExpUnit("\"\\\n$(V)");
    EXPECT_EQ(linesWith(recordsOf(number), "EGU"), Lines{"field( EGU , \"\\\"\\\\(V)\")"});

    const NodePtr state = channelItem("P", VEXAHV_PARAM_ONOFF, nodeAccessRead);
    state->setOnString("say \"on\"");
    state->setOffString("off\\");
    EXPECT_EQ(linesWith(recordsOf(state), "NAM"),
              (Lines{"field( ZNAM , \"off\\\\\")", "field( ONAM , \"say \\\"on\\\"\")"}));
}

TEST_F(RecordText, UnitsLabelsAndDescriptionsAreCopiedWhole)
{
    const NodePtr number = channelItem(std::string(45, 'x'), 0, nodeAccessRead);
    number->setExpUnit(std::string(20, 'u'));
    EXPECT_EQ(linesWith(recordsOf(number), "DESC"),
              Lines{"field( DESC, \"" + std::string(45, 'x') + "\")"});
    EXPECT_EQ(linesWith(recordsOf(number), "EGU"),
              Lines{"field( EGU , \"" + std::string(20, 'u') + "\")"});

    const NodePtr state = channelItem("P", VEXAHV_PARAM_ONOFF, nodeAccessRead);
    state->setOnString(std::string(1023, 'y'));
    state->setOffString(std::string(26, 'n'));
    EXPECT_EQ(linesWith(recordsOf(state), "NAM"),
              (Lines{"field( ZNAM , \"" + std::string(26, 'n') + "\")",
                     "field( ONAM , \"" + std::string(1023, 'y') + "\")"}));
}
