// Records of texts.
#include "iocSupport.h"

#include "ZANTOlife.h"

#include <stringinRecord.h>
#include <stringoutRecord.h>

#include <cstring>

using ::testing::IsEmpty;

namespace {

const std::string inRecord = "sin__:Text";
const std::string outRecord = "sout_:Text";

std::string repeated(char letter, std::size_t times) { return std::string(times, letter); }

class Strings : public IocTest {
protected:
    static char *valOf(const std::string &name)
    {
        return reinterpret_cast<stringinRecord *>(record(name))->val;
    }

    static void fillVal(const std::string &name, const std::string &text)
    {
        std::memset(valOf(name), 0, MAX_STRING_SIZE);
        text.copy(valOf(name), MAX_STRING_SIZE - 1);
    }
};

} // namespace

TEST_F(Strings, ATextIsShownUpTo39Characters)
{
    for (const std::size_t length : {0, 1, 38, 39, 40, 50, 1000}) {
        SCOPED_TRACE(length);
        give(nodeOf("Text", -1), variantOf(repeated('t', length)));
        fillVal(inRecord, repeated('v', 39));
        record(inRecord)->udf = 1;
        EXPECT_EQ(callReadOrWrite(inRecord), 2);
        EXPECT_EQ(std::string(valOf(inRecord)), repeated('t', std::min<std::size_t>(length, 39)));
        EXPECT_EQ(record(inRecord)->udf, 0);
    }
}

TEST_F(Strings, The40thByteIsLeftAsItWas)
{
    for (const std::size_t length : {39, 40, 50}) {
        give(nodeOf("Text", -1), variantOf(repeated('t', length)));
        valOf(inRecord)[MAX_STRING_SIZE - 1] = 'x';
        EXPECT_EQ(callReadOrWrite(inRecord), 2);
        EXPECT_EQ(valOf(inRecord)[MAX_STRING_SIZE - 1], 'x');
        EXPECT_EQ(valOf(inRecord)[MAX_STRING_SIZE - 2], 't');
        valOf(inRecord)[MAX_STRING_SIZE - 1] = '\0';
    }
}

TEST_F(Strings, ANodeOfAnotherTypeIsNotShown)
{
    for (const DataTypeNode &kind : dataTypeNodes) {
        if (kind.dataType == nodeDataTypeString)
            continue;
        const std::string name = recordOf("stringin", kind.name);
        give(nodeOf(kind.name), variantOf(std::string("text")));
        fillVal(name, "before");
        for (const uint8_t udf : {0, 1}) {
            record(name)->udf = udf;
            EXPECT_EQ(printedAt(10, [&] { EXPECT_EQ(callReadOrWrite(name), 1); }), "");
            EXPECT_STREQ(valOf(name), "before");
            EXPECT_EQ(record(name)->udf, udf);
        }
    }
}

TEST_F(Strings, AReadIsToldFromLevel8On)
{
    give(nodeOf("Text", -1), variantOf(std::string("some text")));
    expectPrintedFrom(8, "[STRINGIN] - READ sin__:Text = some text\n",
                      [] { callReadOrWrite(inRecord); });
}

TEST_F(Strings, AMissingNodeIsToldFromLevel1On)
{
    expectPrintedFrom(1, "[STRINGIN] - error getting node from id\n",
                      [] { EXPECT_EQ(callReadOrWrite(recordOf("stringin", "Missing")), 1); });
    expectPrintedFrom(1, "[STRINGOUT] - error getting node from id\n",
                      [] { EXPECT_EQ(callReadOrWrite(recordOf("stringout", "Missing")), 1); });
}

TEST_F(Strings, ATextIsSentAsItIs)
{
    for (const std::string &text :
         {std::string(""), std::string("a \"b\" %s:"), repeated('x', 38), repeated('x', 39)}) {
        SCOPED_TRACE(text);
        fillVal(outRecord, text);
        record(outRecord)->udf = 1;
        fake.forgetCalls();
        EXPECT_EQ(callReadOrWrite(outRecord), 0);
        EXPECT_EQ(fake.calls(), Lines{"SetSysProp(7, Text) = \"" + text + "\""});
        EXPECT_EQ(record(outRecord)->udf, 0);
        const variant value = nodeOf("Text", -1)->getNodeValue().ZANTOGetValue();
        EXPECT_EQ(value.toString(), text);
        EXPECT_EQ(value.toInt(), 0);
    }
}

TEST_F(Strings, AFieldWithoutANulIsSentUpToItsEnd)
{
    std::memset(valOf(outRecord), 'x', MAX_STRING_SIZE);
    EXPECT_EQ(callReadOrWrite(outRecord), 0);
    EXPECT_EQ(fake.calls(), Lines{"SetSysProp(7, Text) = \"" + repeated('x', 40) + "\""});
    fillVal(outRecord, "");
}

TEST_F(Strings, AClientsPutSendsTheText)
{
    put(outRecord, std::string("from a client"));
    EXPECT_EQ(fake.calls(), Lines{"SetSysProp(7, Text) = \"from a client\""});
}

TEST_F(Strings, AWriteIsToldFromLevel7On)
{
    fillVal(outRecord, "text");
    expectPrintedFrom(7, "[STRINGOUT] - WRITE sout_:Text = text\n",
                      [] { callReadOrWrite(outRecord); });
}

TEST_F(Strings, ANodeOfAnotherTypeIsNotWritten)
{
    for (const DataTypeNode &kind : dataTypeNodes) {
        if (kind.dataType == nodeDataTypeString)
            continue;
        const std::string name = recordOf("stringout", kind.name);
        fillVal(name, "12");
        for (const uint8_t udf : {0, 1}) {
            record(name)->udf = udf;
            expectPrintedFrom(1, "[STRINGOUT] - error data type for node [" + name + "]\n",
                              [&] { EXPECT_EQ(callReadOrWrite(name), 1); });
            EXPECT_EQ(record(name)->udf, udf);
        }
    }
    EXPECT_THAT(fake.calls(), IsEmpty());
}

TEST_F(Strings, ARejectionFails)
{
    for (const int32_t code : {5, -3}) {
        fake.heal();
        fake.failCalls("SetSysProp", code);
        fillVal(outRecord, "text");
        for (const uint8_t udf : {0, 1}) {
            record(outRecord)->udf = udf;
            expectPrintedFrom(1,
                              "[STRINGOUT] - error setting node value for [sout_:Text] - res=" +
                                  std::to_string(code) + "\n",
                              [] { EXPECT_EQ(callReadOrWrite(outRecord), 1); });
            EXPECT_EQ(record(outRecord)->udf, udf);
        }
        EXPECT_EQ(nodeOf("Text", -1)->getNodeValue().ZANTOGetQuality(), nodeValueQualityWriteFail);
    }
}

TEST_F(Strings, AStringParameterOfAChannelCannotBeWritten)
{
    const std::string name = recordOf("stringout", "String");
    fillVal(name, "text");
    EXPECT_EQ(callReadOrWrite(name), 1);
    EXPECT_THAT(fake.calls(), IsEmpty());
    EXPECT_EQ(nodeOf("String")->getNodeValue().ZANTOGetQuality(), nodeValueQualityWriteFail);
}

TEST_F(Strings, AnyTextExecutesACommand)
{
    put("CRATE:ClearAlarm", std::string("now"));
    EXPECT_THAT(fake.calls(), IsEmpty()) << "its record's name lacks the blank of its node's";
    ZANTONode *command = nodeOf("Clear Alarm", -1);
    command->setNodeName("ClearAlarm");
    fake.setCrate([this] {
        FakeCrate crate = fake.crate();
        crate.commands = {"ClearAlarm"};
        return crate;
    }());
    put("CRATE:ClearAlarm", std::string("now"));
    put("CRATE:ClearAlarm", std::string(""));
    EXPECT_EQ(fake.calls(), (Lines{"ExecComm(7, ClearAlarm)", "ExecComm(7, ClearAlarm)"}));
}

TEST_F(Strings, NothingIsReadOrSentWhileTheTreeIsClosed)
{
    fillVal(inRecord, "before");
    ASSERT_TRUE(ZANTOCloseTree(watchdog));
    EXPECT_EQ(callReadOrWrite(inRecord), 1);
    EXPECT_EQ(callReadOrWrite(outRecord), 1);
    ZANTOOpenTree();
    EXPECT_STREQ(valOf(inRecord), "before");
    EXPECT_THAT(fake.calls(), IsEmpty());
    EXPECT_EQ(callReadOrWrite(inRecord), 2);
}
