// Text that grows in one buffer.
#include "ZANTOappend.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace {

std::string number(int32_t value, std::size_t width)
{
    std::string text = "n";
    ZANTOAppendNumber(text, value, width);
    return text;
}

std::string printed(int32_t value, std::size_t width)
{
    char text[32];
    std::snprintf(text, sizeof(text), "n%0*d", static_cast<int>(width), value);
    return text;
}

} // namespace

TEST(Append, PutsThePartsBehindTheText)
{
    std::string text = "a";
    ZANTOAppend(text, "b", std::string("c"), std::string_view("de").substr(1), "");
    EXPECT_EQ(text, "abce");
}

TEST(Append, NumbersArePaddedAsPrintfDoes)
{
    for (const int32_t value : {0, 1, 9, 10, 99, 100, 999, 1000, 65535, INT32_MAX, -1, -9, -10, -99,
                                -100, -1000, INT32_MIN}) {
        for (const std::size_t width : {1U, 2U, 3U, 12U})
            EXPECT_EQ(number(value, width), printed(value, width));
    }
}
