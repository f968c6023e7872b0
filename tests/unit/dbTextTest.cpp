#include "unitSupport.h"

#include "ZANTOdbtext.h"

namespace {

constexpr std::size_t plenty = 1000;

std::string value(const std::string &text, std::size_t capacity = plenty)
{
    return ZANTODbValue(text, capacity);
}

} // namespace

TEST(DbText, ASaneTextComesBackAsItIs)
{
    for (const char *text : {"", "Set Volt", "V", "KiloVolt", "a/b-c_d;e:f,g.h(i)", "100 %",
                             "#", "$", "a$b", "{x}", "'"})
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
    EXPECT_EQ(value("a\x7F" "b"), "ab");
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

TEST(DbText, AnOverlongTextIsCutBeforeItIsEscaped)
{
    EXPECT_EQ(value("abcdef", 4), "abcd");
    EXPECT_EQ(value("abcd", 4), "abcd");
    EXPECT_EQ(value("\"\"\"\"\"", 4), "\\\"\\\"\\\"\\\"");
    EXPECT_EQ(value("abc\n\n\ndef", 4), "abcd");
    EXPECT_EQ(value("abc$(X)", 4), "abc(");
    EXPECT_EQ(value("abc", 0), "");
}

TEST(DbText, ACharacterIsCutWhole)
{
    EXPECT_EQ(value("\xC2\xB0" "C", 3), "\xC2\xB0" "C");
    EXPECT_EQ(value("V\xC2\xB0", 2), "V");
    EXPECT_EQ(value("\xE2\x82\xAC", 2), "");
    EXPECT_EQ(value("\x80\x80\x80", 2), "");
}

TEST(DbText, CapacitiesAreThoseOfTheRecordFields)
{
    EXPECT_EQ(ZANTOFieldCapacity::egu, 15U);
    EXPECT_EQ(ZANTOFieldCapacity::stateName, 25U);
    EXPECT_EQ(ZANTOFieldCapacity::description, 40U);
}

TEST(RecordNameText, NamesUpToSixtyBytesAreAccepted)
{
    EXPECT_TRUE(ZANTOIsRecordName("CRATE:01:002:VSet:Sync"));
    EXPECT_TRUE(ZANTOIsRecordName("a"));
    EXPECT_TRUE(ZANTOIsRecordName(std::string(60, 'x')));
    EXPECT_FALSE(ZANTOIsRecordName(std::string(61, 'x')));
    EXPECT_FALSE(ZANTOIsRecordName(""));
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

TEST(RecordNames, AreTheNamesOfTheHeadersInTheirOrder)
{
    EXPECT_EQ(ZANTORecordNames("record( ao, \"A:VSet\")\n{\n\tfield( DESC, \"V Set\")\n}\n"
                               "record( ai, \"A:VSet:RBV\")\n{\n}\n"
                               "record(ao, \"A:VSet:Sync\")\n{\n}\n"),
              (Lines{"A:VSet", "A:VSet:RBV", "A:VSet:Sync"}));
}

TEST(RecordNames, ATextOfNoRecordHasNone)
{
    for (const char *text : {"", "\n", "record(", "record( ao", "field( DESC, \"x\")\n"})
        EXPECT_TRUE(ZANTORecordNames(text).empty()) << text;
}

TEST(RecordNames, AFieldThatLooksLikeAHeaderIsNone)
{
    EXPECT_EQ(ZANTORecordNames("record( ao, \"A\")\n{\n\tfield( DESC, \"record( ao, B)\")\n"
                               "\trecord( ao, \"C\")\n}\n"),
              Lines{"A"});
    // The next line's quote belongs to no header.
    EXPECT_TRUE(ZANTORecordNames("record( ao,\n\tfield( DESC, \"x\")\n").empty());
}

TEST(RecordNames, TheLastLineNeedsNoEnd)
{
    EXPECT_EQ(ZANTORecordNames("record( ao, \"A\")\n{\n}\nrecord( ai, \"B\")"),
              (Lines{"A", "B"}));
}
