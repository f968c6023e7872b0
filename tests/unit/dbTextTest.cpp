#include "unitSupport.h"

#include "ZANTOdbtext.h"

namespace {

std::string value(const std::string &text)
{
    std::string field = "before ";
    ZANTOAppendDbValue(field, text);
    EXPECT_EQ(field.substr(0, 7), "before ");
    return field.substr(7);
}

} // namespace

TEST(DbText, ASaneTextComesBackAsItIs)
{
    for (const char *text : {"", "Set Volt", "V", "KiloVolt", "a/b-c_d;e:f,g.h(i)", "100 %", "#",
                             "$", "a$b", "{x}", "'"})
        EXPECT_EQ(value(text), text);
}

TEST(DbText, QuotesAndBackslashesAreEscaped)
{
    EXPECT_EQ(value("say \"on\""), "say \\\"on\\\"");
    EXPECT_EQ(value("a\\"), "a\\\\");
    EXPECT_EQ(value("\\\""), "\\\\\\\"");
}

TEST(DbText, ControlBytesAreDropped)
{
    for (int byte = 1; byte < 0x20; ++byte)
        EXPECT_EQ(value(std::string("a") + static_cast<char>(byte) + "b"), "ab") << byte;
    EXPECT_EQ(value("a\x7F"
                    "b"),
              "ab");
    EXPECT_EQ(value(std::string("a\0b", 3)), "ab");
    EXPECT_EQ(value("\n\t"), "");
}

TEST(DbText, TheDollarOfAMacroReferenceIsDropped)
{
    EXPECT_EQ(value("$(X)"), "(X)");
    EXPECT_EQ(value("a${X}b"), "a{X}b");
    EXPECT_EQ(value("$(A)$(B)"), "(A)(B)");
}

TEST(DbText, WhatIsDroppedLeavesNoMacroReference)
{
    EXPECT_EQ(value("$$(X)"), "(X)");
    EXPECT_EQ(value("$$$$${X}"), "{X}");
    EXPECT_EQ(value("$\n(X)"), "(X)");
}

TEST(DbText, ALongTextComesBackWhole)
{
    const std::string text = repeated("V\xC2\xB0", 1000);
    EXPECT_EQ(value(text), text);
    EXPECT_EQ(value(repeated("\"", 1000)), repeated("\\\"", 1000));
}

TEST(RecordNameText, NamesUpToSixtyBytesAreAccepted)
{
    EXPECT_TRUE(ZANTOIsRecordName("CRATE:01:002:VSet:Sync"));
    EXPECT_TRUE(ZANTOIsRecordName("a"));
    EXPECT_TRUE(ZANTOIsRecordName(std::string(60, 'x')));
    EXPECT_FALSE(ZANTOIsRecordName(std::string(61, 'x')));
    EXPECT_FALSE(ZANTOIsRecordName(""));
}

TEST(RecordNameText, WhatComesBehindTheNameCounts)
{
    EXPECT_TRUE(ZANTOIsRecordName(std::string(55, 'x'), 5));
    EXPECT_FALSE(ZANTOIsRecordName(std::string(56, 'x'), 5));
    EXPECT_FALSE(ZANTOIsRecordName("", 5));
}

TEST(RecordNameText, BytesThatEndTheLoadAreRefused)
{
    for (const char byte : std::string(" \"'.$\\\n\t\x01\x7F"))
        EXPECT_FALSE(ZANTOIsRecordName(std::string("a") + byte + "b")) << static_cast<int>(byte);
    EXPECT_FALSE(ZANTOIsRecordName(std::string("a\0b", 3)));
}

TEST(RecordNameText, OtherBytesAreAccepted)
{
    for (const char byte : std::string("_-:+[]<>;/,%#()\xC2\xB0"))
        EXPECT_TRUE(ZANTOIsRecordName(std::string("a") + byte + "b")) << static_cast<int>(byte);
}

TEST(RecordHeaders, HaveTheTypeAndTheNameOfEachRecordInTheirOrder)
{
    EXPECT_EQ(recordsIn("record( ao, \"A:VSet\")\n{\n\tfield( DESC, \"V Set\")\n}\n"
                        "record( mbbiDirect, \"A:VSet:RBV\")\n{\n}\n"
                        "record(ao, \"A:VSet:Sync\")\n{\n}\n"),
              (Lines{"ao A:VSet", "mbbiDirect A:VSet:RBV", "ao A:VSet:Sync"}));
}

TEST(RecordHeaders, ATextOfNoRecordHasNone)
{
    for (const char *text : {"", "\n", "record(", "record( ao", "record( ao, \"A)\n",
                             "record( \"A,B\")\n", "field( DESC, \"x\")\n"})
        EXPECT_TRUE(recordsIn(text).empty()) << text;
}

TEST(RecordHeaders, AFieldThatLooksLikeAHeaderIsNone)
{
    EXPECT_EQ(recordsIn("record( ao, \"A\")\n{\n\tfield( DESC, \"record( ao, B)\")\n"
                        "\trecord( ao, \"C\")\n}\n"),
              Lines{"ao A"});
    // The next line's quote belongs to no header.
    EXPECT_TRUE(recordsIn("record( ao,\n\tfield( DESC, \"x\")\n").empty());
}

TEST(RecordHeaders, TheLastLineNeedsNoEnd)
{
    EXPECT_EQ(recordsIn("record( ao, \"A\")\n{\n}\nrecord( ai, \"B\")"), (Lines{"ao A", "ai B"}));
}
