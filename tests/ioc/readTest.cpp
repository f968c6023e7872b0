// What input records show of the nodes.
#include "iocSupport.h"

#include "ZANTOlife.h"

#include <dbAccess.h>

#include <cmath>
#include <limits>

namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

struct Reading {
    const char *node;
    variant value;
    double ai;   // what an ai record shows
    double bits; // what a binary or multi-bit record shows
};

// A number of each data type in a slot whose other bytes are set as well.
template <typename T> variant number32(T value)
{
    variant v = variantOf(int32_t{-1});
    v.setValue(value);
    return v;
}

const Reading readings[] = {
    {"Int", number32(int32_t{-5}), -5, 65531},
    {"Int", number32(int32_t{70000}), 70000, 4464},
    {"Int", number32(std::numeric_limits<int32_t>::min()), -2147483648.0, 0},
    {"Short", number32(int16_t{-7}), -7, 65529},
    {"Short", number32(int16_t{32767}), 32767, 32767},
    {"Long", number32(int32_t{-70000}), -70000, 61072},
    {"UInt", number32(uint32_t{4000000000U}), 4000000000.0, 10240},
    {"UShort", number32(uint16_t{65535}), 65535, 65535},
    {"ULong", number32(uint32_t{4294967295U}), 4294967295.0, 65535},
    {"Float", number32(12.5F), 12.5, 12},
    {"Float", number32(1.9F), 1.9F, 1},
    {"Float", number32(-1.9F), -1.9F, 65535},
    {"Float", number32(70000.5F), 70000.5, 4464},
    {"Float", number32(1e30F), 1e30F, 65535},
    {"Float", number32(-1e30F), -1e30F, 0},
    {"Float", number32(infinity), infinity, 65535},
    {"Float", number32(-infinity), -infinity, 0},
    {"Float", number32(notANumber), notANumber, 0},
    {"Bool", number32(true), 1, 1},
    {"Bool", number32(false), 0, 0},
};

class Read : public IocTest {};
class ReadOfType : public IocTest, public ::testing::WithParamInterface<const char *> {
protected:
    std::string type() const { return GetParam(); }
    std::string nameFor(const std::string &node) const { return recordOf(type(), node); }
};

std::string nameOfType(const ::testing::TestParamInfo<const char *> &info) { return info.param; }

const char *numericInputs[] = {"ai", "bi", "mbbi", "mbbiDirect"};

struct Words {
    const char *type;
    const char *noNode; // message of a missing node, or empty
    const char *read;   // how the message of a read begins
    const char *end;    // and how it ends
};
constexpr Words words[] = {
    {"ai", "[AI] - error getting node from id\n", "[AI] - READ ", "12.000000\n"},
    {"bi", "", "[BI] - READ ", "12\n"},
    {"mbbi", "[MBBI] - error getting node from id\n", "[MBBI] - READ ", "12\n"},
    {"mbbiDirect", "[MBBIDIRECT] - error getting node from id\n", "[MBBIDIRECT] - READ ", "12\n "},
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Inputs, ReadOfType, ::testing::ValuesIn(numericInputs), nameOfType);

TEST_P(ReadOfType, ShowsANumberOfEachDataType)
{
    for (const Reading &reading : readings) {
        SCOPED_TRACE(::testing::Message() << reading.node << " for " << reading.ai);
        const std::string name = nameFor(reading.node);
        give(nodeOf(reading.node), reading.value);
        record(name)->udf = 1;
        EXPECT_EQ(callReadOrWrite(name), 2);
        EXPECT_EQ(record(name)->udf, 0);
        const double expected = type() == "ai" ? reading.ai : reading.bits;
        if (std::isnan(expected))
            EXPECT_TRUE(std::isnan(val(name)));
        else
            EXPECT_EQ(val(name), expected);
    }
}

TEST_P(ReadOfType, LeavesTheRecordAloneForATextOrAnEnumeration)
{
    for (const char *node : {"String", "Enum"}) {
        const std::string name = nameFor(node);
        give(nodeOf(node), variantOf(1.0F));
        setVal(name, 3);
        for (const uint8_t udf : {0, 1}) {
            record(name)->udf = udf;
            EXPECT_EQ(printedAt(10, [&] { EXPECT_EQ(callReadOrWrite(name), 1); }), "");
            EXPECT_EQ(val(name), 3);
            EXPECT_EQ(record(name)->udf, udf);
        }
    }
}

TEST_P(ReadOfType, ShowsNothingOfANodeThatIsMissing)
{
    const std::string name = nameFor("Missing");
    setVal(name, 3);
    for (const uint8_t udf : {0, 1}) {
        record(name)->udf = udf;
        EXPECT_EQ(callReadOrWrite(name), 1);
        EXPECT_EQ(val(name), 3);
        EXPECT_EQ(record(name)->udf, udf);
    }
}

TEST_P(ReadOfType, ProcessesWithoutAConversionOfTheRawValue)
{
    const std::string name = nameFor("Int");
    give(nodeOf("Int"), variantOf(int32_t{9}));
    ASSERT_EQ(dbProcess(record(name)), 0);
    EXPECT_EQ(val(name), 9);
    EXPECT_EQ(number(name + ".RVAL"), 0);
}

// A read that fails is an error of the record support's as well; the value stays.
TEST_P(ReadOfType, KeepsItsValueWhileTheTreeIsClosed)
{
    const std::string name = nameFor("Int");
    give(nodeOf("Int"), variantOf(int32_t{9}));
    EXPECT_EQ(callReadOrWrite(name), 2);
    give(nodeOf("Int"), variantOf(int32_t{10}));
    ASSERT_TRUE(ZANTOCloseTree(watchdog));
    EXPECT_EQ(callReadOrWrite(name), 1);
    EXPECT_EQ(val(name), 9);
    ZANTOOpenTree();
    EXPECT_EQ(callReadOrWrite(name), 2);
    EXPECT_EQ(val(name), 10);
}

TEST_P(ReadOfType, FindsItsNodeInANewTree)
{
    const std::string name = nameFor("Int");
    give(nodeOf("Int"), variantOf(int32_t{9}));
    EXPECT_EQ(callReadOrWrite(name), 2);
    plantTree();
    EXPECT_EQ(callReadOrWrite(name), 2);
    EXPECT_EQ(val(name), 0);
    give(nodeOf("Int"), variantOf(int32_t{11}));
    EXPECT_EQ(callReadOrWrite(name), 2);
    EXPECT_EQ(val(name), 11);
}

TEST_P(ReadOfType, FindsANodeThatTheFirstTreeLacked)
{
    const std::string name = nameFor("Missing");
    EXPECT_EQ(callReadOrWrite(name), 1);
    auto *node = new ZANTONode;
    node->ZANTOPrepareNode("Missing", nodeTypeChannelParam, -1, -1, "", "", "");
    give(node, variantOf(int32_t{5}));
    systemNode->childAt(0)->childAt(0)->addParameter(node);
    EXPECT_EQ(callReadOrWrite(name), 2);
    EXPECT_EQ(val(name), 5);
    plantTree();
    EXPECT_EQ(callReadOrWrite(name), 1);
}

TEST_F(Read, TellsAReadFromLevel8On)
{
    give(nodeOf("Int"), variantOf(int32_t{12}));
    for (const Words &w : words) {
        const std::string name = recordOf(w.type, "Int");
        expectPrintedFrom(8, w.read + name + " = " + w.end, [&] { callReadOrWrite(name); });
    }
}

TEST_F(Read, TellsAMissingNodeFromLevel1On)
{
    for (const Words &w : words) {
        const std::string name = recordOf(w.type, "Missing");
        expectPrintedFrom(1, w.noNode, [&] { callReadOrWrite(name); });
    }
}

TEST_F(Read, TheQualityOfANodeDoesNotCount)
{
    const std::string name = recordOf("ai", "Float");
    for (const nodeValueQuality quality : {nodeValueQualityBad, nodeValueQualityUninitialized,
                                           nodeValueQualityWriteFail, nodeValueQualityUnknown}) {
        nodeOf("Float")->setNodeValue(ZANTONodeValue(variantOf(12.5F), quality, 0));
        record(name)->udf = 1;
        EXPECT_EQ(dbProcess(record(name)), 0);
        EXPECT_EQ(val(name), 12.5);
        EXPECT_EQ(number(name + ".SEVR"), 0);
    }
}

TEST_F(Read, MakesNoCallOfTheLibrary)
{
    for (const char *type : numericInputs) {
        for (const DataTypeNode &kind : dataTypeNodes)
            callReadOrWrite(recordOf(type, kind.name));
    }
    EXPECT_THAT(fake.calls(), ::testing::IsEmpty());
}
