// What output records send to the mainframe.
#include "iocSupport.h"

#include "ZANTOlife.h"

#include <dbAccess.h>

#include <cmath>
#include <future>
#include <limits>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

struct Writing {
    double value;
    const char *node;
    const char *sent; // as the call shows it
};

// From an ao record.
const Writing analogWritings[] = {
    {-1.7, "Int", "-1"},
    {1.7, "Int", "1"},
    {2147483647.0, "Int", "2147483647"},
    {1e300, "Int", "2147483647"},
    {-1e300, "Int", "-2147483648"},
    {infinity, "Int", "2147483647"},
    {-infinity, "Int", "-2147483648"},
    {notANumber, "Int", "0"},
    {-1.7, "Long", "-1"},
    {infinity, "Long", "2147483647"},
    {notANumber, "Long", "0"},
    // A narrow number leaves the upper half of its slot alone, which is 0 here.
    {-1.7, "Short", "65535"},
    {70000.9, "Short", "4464"},
    {infinity, "Short", "65535"},
    {-infinity, "Short", "0"},
    {notANumber, "Short", "0"},
    {4000000000.9, "UInt", "4000000000"},
    {-1.7, "UInt", "4294967295"},
    {4294967296.0 + 5, "UInt", "5"},
    {1e300, "UInt", "4294967295"},
    {-1e300, "UInt", "0"},
    {notANumber, "UInt", "0"},
    {4000000000.9, "ULong", "4000000000"},
    {infinity, "ULong", "4294967295"},
    {-infinity, "ULong", "0"},
    {70000.9, "UShort", "4464"},
    {-1.0, "UShort", "65535"},
    {1e300, "UShort", "65535"},
    {-1e300, "UShort", "0"},
    {notANumber, "UShort", "0"},
    {12.5, "Float", "12.5"},
    {1e300, "Float", "inf"},
    {-1e300, "Float", "-inf"},
    {infinity, "Float", "inf"},
    {3.9, "Bool", "1"},
    {-0.1, "Bool", "1"},
    {0.0, "Bool", "0"},
    {notANumber, "Bool", "1"},
    {infinity, "Bool", "1"},
};

// From records of 16 bits.
const Writing bitWritings[] = {
    {1, "Int", "1"},           {65535, "Int", "65535"},  {65535, "Short", "65535"},
    {65535, "Long", "65535"},  {65535, "UInt", "65535"}, {65535, "UShort", "65535"},
    {65535, "ULong", "65535"}, {12, "Float", "12"},      {2, "Bool", "1"},
    {0, "Bool", "0"},
};

struct Output {
    const char *type;
    const char *noNode;  // message of a missing node at level 1; %s stands for the record
    const char *request; // message before a write of 12 at level 7
    const char *written; // and after it
    const char *failed;  // message of a failure with 5 at level 1
    bool positiveCodesSucceed;
};
constexpr Output outputs[] = {
    {"ao", "[AO] - error getting node %s from id\n", "[AO] - request write %s = 12.000000\n",
     "[AO] - WRITE %s = 12.000000\n", "[AO] - error setting node value for [%s] - res=5\n", false},
    {"bo", "", "", "[BO] - WRITE %s = 12\n", "", true},
    {"mbbo", "[MBBO] - error getting node from id\n", "", "[MBBO] - WRITE %s = 12\n",
     "[MBBO] - error setting node value for [%s] - res=5\n", false},
    {"mbboDirect", "[MBBODIRECT] - error getting node from id\n", "",
     "[MBBODIRECT] - WRITE %s = 12\n", "[MBBODIRECT] - error setting node value for [%s] - res=5\n",
     false},
};

std::string filledIn(std::string text, const std::string &name)
{
    const std::size_t at = text.find("%s");
    return at == std::string::npos ? text : text.replace(at, 2, name);
}

class Write : public IocTest, public ::testing::WithParamInterface<Output> {
protected:
    std::string nameFor(const std::string &node) const { return recordOf(GetParam().type, node); }

    std::string inWords(const char *text, const std::string &node) const
    {
        return filledIn(text, nameFor(node));
    }

    // The call that writing this value makes, or empty.
    std::string callOf(const std::string &node, double value)
    {
        const std::string name = nameFor(node);
        setVal(name, value);
        record(name)->udf = 1;
        fake.forgetCalls();
        EXPECT_EQ(callReadOrWrite(name), 0);
        EXPECT_EQ(record(name)->udf, 0);
        const Lines calls = fake.callsOf("SetChParam(");
        return calls.size() == 1 ? calls[0] : std::to_string(calls.size()) + " calls";
    }

    nodeValueQuality qualityOf(const std::string &node)
    {
        return nodeOf(node)->getNodeValue().ZANTOGetQuality();
    }
};

std::string nameOfOutput(const ::testing::TestParamInfo<Output> &info) { return info.param.type; }

class SixteenBits : public IocTest {};

} // namespace

INSTANTIATE_TEST_SUITE_P(Outputs, Write, ::testing::ValuesIn(outputs), nameOfOutput);

TEST_P(Write, SendsANumberOfEachDataType)
{
    const bool analog = std::string(GetParam().type) == "ao";
    const Writing *begin = analog ? std::begin(analogWritings) : std::begin(bitWritings);
    const Writing *end = analog ? std::end(analogWritings) : std::end(bitWritings);
    for (const Writing *writing = begin; writing != end; ++writing) {
        SCOPED_TRACE(::testing::Message() << writing->value << " to " << writing->node);
        EXPECT_EQ(callOf(writing->node, writing->value), std::string("SetChParam(7, 0, ") +
                                                             writing->node +
                                                             ", 1, [0]) = " + writing->sent);
        EXPECT_EQ(qualityOf(writing->node), nodeValueQualityGood);
    }
}

TEST_P(Write, SendsTheBitsOfNotANumberToAFloat)
{
    if (std::string(GetParam().type) != "ao")
        return; // the others hold whole numbers
    EXPECT_THAT(callOf("Float", notANumber), ::testing::HasSubstr("nan"));
    EXPECT_TRUE(std::isnan(nodeOf("Float")->getNodeValue().ZANTOGetValue().toFloat()));
}

TEST_P(Write, AClientsPutSendsOneValue)
{
    put(nameFor("Int"), 5.0);
    EXPECT_EQ(fake.calls(), Lines{"SetChParam(7, 0, Int, 1, [0]) = 5"});
    EXPECT_EQ(nodeOf("Int")->getNodeValue().ZANTOGetValue().toInt(), 5);
}

TEST_P(Write, TellsAWriteFromLevel7On)
{
    setVal(nameFor("Int"), 12);
    expectPrintedFrom(7, inWords(GetParam().request, "Int") + inWords(GetParam().written, "Int"),
                      [&] { EXPECT_EQ(callReadOrWrite(nameFor("Int")), 0); });
}

TEST_P(Write, SendsNothingToATextOrAnEnumeration)
{
    for (const char *node : {"String", "Enum"}) {
        const std::string name = nameFor(node);
        setVal(name, 12);
        for (const uint8_t udf : {0, 1}) {
            record(name)->udf = udf;
            EXPECT_EQ(printedAt(6, [&] { EXPECT_EQ(callReadOrWrite(name), 1); }), "");
            EXPECT_EQ(printedAt(7, [&] { EXPECT_EQ(callReadOrWrite(name), 1); }),
                      inWords(GetParam().request, node));
            EXPECT_EQ(record(name)->udf, udf);
        }
    }
    EXPECT_THAT(fake.calls(), IsEmpty());
}

TEST_P(Write, TellsAMissingNodeFromLevel1On)
{
    const std::string name = nameFor("Missing");
    setVal(name, 12);
    const auto write = [&name] { EXPECT_EQ(callReadOrWrite(name), 1); };
    for (const uint8_t udf : {0, 1}) {
        record(name)->udf = udf;
        expectPrintedFrom(1, inWords(GetParam().noNode, "Missing"), write);
        EXPECT_EQ(printedAt(7, write),
                  inWords(GetParam().request, "Missing") + inWords(GetParam().noNode, "Missing"));
        EXPECT_EQ(record(name)->udf, udf);
    }
    EXPECT_THAT(fake.calls(), IsEmpty());
}

TEST_P(Write, ARejectionWithAPositiveCode)
{
    const std::string name = nameFor("Int");
    const bool succeeds = GetParam().positiveCodesSucceed;
    give(nodeOf("Int"), variantOf(int32_t{1}));
    fake.failCalls("SetChParam", 5);
    setVal(name, 12);
    record(name)->udf = 1;
    const auto write = [&] { EXPECT_EQ(callReadOrWrite(name), succeeds ? 0 : 1); };
    EXPECT_EQ(printedAt(0, write), "");
    EXPECT_EQ(record(name)->udf, succeeds ? 0 : 1);
    EXPECT_EQ(printedAt(1, write), inWords(GetParam().failed, "Int"));
    EXPECT_EQ(qualityOf("Int"), nodeValueQualityWriteFail);
    EXPECT_EQ(nodeOf("Int")->getNodeValue().ZANTOGetValue().toInt(), 1);
    EXPECT_EQ(val(name), 12) << "the record keeps what was asked for";
    fake.heal();
    EXPECT_EQ(callReadOrWrite(name), 0);
    EXPECT_EQ(qualityOf("Int"), nodeValueQualityGood);
}

TEST_P(Write, ARejectionWithANegativeCodeFails)
{
    const std::string name = nameFor("Int");
    fake.failCalls("SetChParam", -3);
    setVal(name, 12);
    std::string message = inWords(GetParam().failed, "Int");
    if (!message.empty())
        message.replace(message.find("res=5"), 5, "res=-3");
    for (const uint8_t udf : {0, 1}) {
        record(name)->udf = udf;
        expectPrintedFrom(1, message, [&] { EXPECT_EQ(callReadOrWrite(name), 1); });
        EXPECT_EQ(record(name)->udf, udf);
    }
    EXPECT_EQ(qualityOf("Int"), nodeValueQualityWriteFail);
}

TEST_P(Write, SendsNothingWhileTheTreeIsClosed)
{
    const std::string name = nameFor("Int");
    setVal(name, 12);
    EXPECT_EQ(callReadOrWrite(name), 0);
    fake.forgetCalls();
    ASSERT_TRUE(ZANTOCloseTree(watchdog));
    expectPrintedFrom(1, inWords(GetParam().noNode, "Int"),
                      [&] { EXPECT_EQ(callReadOrWrite(name), 1); });
    EXPECT_THAT(fake.calls(), IsEmpty());
    plantTree();
    EXPECT_EQ(callReadOrWrite(name), 0);
    EXPECT_EQ(nodeOf("Int")->getNodeValue().ZANTOGetValue().toInt(), 12);
}

// A write that hangs in the library holds its node: an event of it waits, other nodes do not.
TEST_P(Write, HoldsItsNodeDuringTheCall)
{
    std::promise<void> called;
    bool others = false;
    fake.setHook([&](const std::string &) {
        give(nodeOf("Long"), variantOf(int32_t{1}));
        others = true;
        called.set_value();
    });
    setVal(nameFor("Int"), 12);
    std::thread update([&] {
        called.get_future().wait();
        give(nodeOf("Int"), variantOf(int32_t{99}));
    });
    EXPECT_EQ(callReadOrWrite(nameFor("Int")), 0);
    update.join();
    EXPECT_TRUE(others);
    EXPECT_EQ(nodeOf("Int")->getNodeValue().ZANTOGetValue().toInt(), 99)
        << "the event came after the write";
}

TEST_F(SixteenBits, AreWhatADirectRecordSends)
{
    const std::string name = recordOf("mbboDirect", "Int");
    const struct {
        double value;
        const char *sent;
    } cases[] = {{65536.0 + 5, "5"}, {65535, "65535"}, {-1, "65535"}, {131072, "0"}};
    for (const auto &c : cases) {
        setVal(name, c.value);
        fake.forgetCalls();
        EXPECT_EQ(callReadOrWrite(name), 0);
        EXPECT_EQ(fake.calls(), Lines{std::string("SetChParam(7, 0, Int, 1, [0]) = ") + c.sent});
    }
}

TEST_F(SixteenBits, OfADirectRecordShowInItsBitFields)
{
    give(nodeOf("Int"), variantOf(int32_t{0x58001}));
    const std::string name = recordOf("mbbiDirect", "Int");
    ASSERT_EQ(dbProcess(record(name)), 0);
    EXPECT_EQ(val(name), 0x8001);
    EXPECT_EQ(number(name + ".B0"), 1);
    EXPECT_EQ(number(name + ".B1"), 0);
    EXPECT_EQ(number(name + ".BF"), 1);
}

TEST_F(SixteenBits, OfADirectRecordAreSentWhenOneBitIsPut)
{
    const std::string name = recordOf("mbboDirect", "Int");
    put(name, 8.0);
    fake.forgetCalls();
    put(name + ".B0", 1.0);
    EXPECT_EQ(fake.calls(), Lines{"SetChParam(7, 0, Int, 1, [0]) = 9"});
}
