#include "textDiff.h"

#include <gtest/gtest.h>

TEST(TextDiff, EqualTextsDoNotDiffer)
{
    EXPECT_EQ(textDiff("", ""), "");
    EXPECT_EQ(textDiff("a\nb\n", "a\nb\n"), "");
}

TEST(TextDiff, ChangedLinesStandBetweenTheirNeighbours)
{
    EXPECT_EQ(textDiff("1\n2\n3\n4\n5\n6\n7\n", "1\n2\n3\nx\n5\n6\n7\n"),
              "  ...\n  2\n  3\n- 4\n+ x\n  5\n  6\n");
}

TEST(TextDiff, AddedAndRemovedLinesAreMarked)
{
    EXPECT_EQ(textDiff("", "a\n"), "+ a\n");
    EXPECT_EQ(textDiff("a\nb\n", "b\n"), "- a\n  b\n");
}

TEST(TextDiff, AMissingLineEndIsSeen)
{
    EXPECT_EQ(textDiff("a\n", "a"), "- a\n+ a (no line end)\n");
}

TEST(TextDiff, ALongDifferenceIsCut)
{
    std::string text;
    for (int i = 0; i < 1000; ++i)
        text += "x" + std::to_string(i) + "\n";
    const std::string diff = textDiff("", text);
    EXPECT_LT(diff.size(), 1000U);
    EXPECT_NE(diff.find("and more"), std::string::npos);
}
