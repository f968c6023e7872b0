#include "pvlist/names.h"

#include <gtest/gtest.h>

namespace {

using namespace pvlist;

TEST(SiteNames, ARecordNameHas1To60Bytes)
{
    EXPECT_FALSE(isRecordName(""));
    EXPECT_TRUE(isRecordName("x"));
    EXPECT_TRUE(isRecordName(std::string(60, 'x')));
    EXPECT_FALSE(isRecordName(std::string(61, 'x')));
}

TEST(SiteNames, ARecordNameHoldsNothingThatADatabaseFileReadsOtherwise)
{
    for (const char bad : {' ', '"', '\'', '\\', '$', '.', '\t', '\n', '\0', '\x1f', '\x7f'})
        EXPECT_FALSE(isRecordName(std::string("a") + bad + "b")) << static_cast<int>(bad);
    for (const char *good : {"DC:S1:W01", "a-b", "a/b", "a{b}", "(a)", "a,b", "größe", "a\xff"})
        EXPECT_TRUE(isRecordName(good)) << good;
}

TEST(SiteNames, QuotesAndBackslashesAreEscapedAndControlBytesLeftOut)
{
    EXPECT_EQ("\"\"", quotedForDatabase(""));
    EXPECT_EQ(R"("say \"hi\" \\ µ")", quotedForDatabase("say \"hi\" \\ µ"));
    EXPECT_EQ("\"ab\"", quotedForDatabase("a\n\t\x7f"
                                          "b"));
}

TEST(SiteNames, WhatIsPrintedIsShortAndPlain)
{
    EXPECT_EQ("a?b?", printable("a\nb\x7f"));
    EXPECT_EQ("größe", printable("größe"));
    EXPECT_EQ(std::string(100, 'x') + "...", printable(std::string(1000000, 'x')));
    EXPECT_EQ(std::string(100, 'x'), printable(std::string(100, 'x')));
}

TEST(SiteNames, NumbersAreAsShortAsTheyCanBe)
{
    EXPECT_EQ("1800", numberText(1800));
    EXPECT_EQ("0.1", numberText(0.1));
    EXPECT_EQ("-12.5", numberText(-12.5));
    EXPECT_EQ(1e-30, std::stod(numberText(1e-30)));
    EXPECT_EQ(1.0 / 3, std::stod(numberText(1.0 / 3)));
}

} // namespace
