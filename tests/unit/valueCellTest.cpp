// A value that is read without a lock while another thread writes it.
#include "ZANTOvaluecell.h"

#include "unitSupport.h"

#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr time_t longAgo = 1000;

void put(ZANTOValueCell &cell, const variant &value, time_t timestamp = longAgo)
{
    ZANTONodeValue whole(value, nodeValueQualityGood, timestamp);
    cell.makeRoomFor(whole);
    cell.set(std::move(whole));
}

// 40 bytes, each an "x" before the copy.
std::string shownBy(const ZANTOValueCell &cell)
{
    char shown[40];
    std::memset(shown, 'x', sizeof(shown));
    EXPECT_TRUE(cell.tryText(shown));
    return std::string(shown, sizeof(shown));
}

} // namespace

TEST(ValueCell, StartsUninitializedWithoutNumberAndText)
{
    const time_t before = std::time(nullptr);
    const ZANTOValueCell cell;
    variant number = variantOf(5);
    EXPECT_TRUE(cell.tryNumber(number));
    EXPECT_EQ(number.toInt(), 0);
    EXPECT_EQ(shownBy(cell)[0], '\0');
    EXPECT_EQ(cell.get().ZANTOGetQuality(), nodeValueQualityUninitialized);
    EXPECT_GE(cell.get().ZANTOGetTimestamp(), before);
}

TEST(ValueCell, KeepsAllFourBytesAndTheTextBesideThem)
{
    ZANTOValueCell cell;
    variant value = variantOf(0x12345678);
    value.setValue(int16_t{1});
    value.setValue("text");
    put(cell, value);
    EXPECT_EQ(cell.get().ZANTOGetValue().toInt(), 0x12340001);
    EXPECT_EQ(cell.get().ZANTOGetValue().toString(), "text");
    EXPECT_EQ(cell.get().ZANTOGetQuality(), nodeValueQualityGood);
    EXPECT_EQ(cell.get().ZANTOGetTimestamp(), longAgo);
    variant number;
    EXPECT_TRUE(cell.tryNumber(number));
    EXPECT_EQ(number.toInt(), 0x12340001);
}

TEST(ValueCell, ShowsThirtyNineCharactersAndKeepsTheWholeText)
{
    ZANTOValueCell cell;
    const std::string letters = "0123456789012345678901234567890123456789abcdef";
    for (const std::size_t length : {0, 1, 7, 8, 9, 38, 39, 40, 46}) {
        SCOPED_TRACE(length);
        const std::string text = letters.substr(0, length);
        put(cell, variantOf(text));
        EXPECT_STREQ(shownBy(cell).c_str(), text.substr(0, 39).c_str());
        EXPECT_EQ(cell.get().ZANTOGetValue().toString(), text);
    }
}

TEST(ValueCell, ATextGivesWayToTheEmptyOne)
{
    ZANTOValueCell cell;
    put(cell, variantOf(std::string("text")));
    put(cell, variantOf(7));
    EXPECT_EQ(cell.get().ZANTOGetValue().toString(), "");
    EXPECT_EQ(shownBy(cell)[0], '\0');
}

TEST(ValueCell, QualityAndTimeChangeWithoutTheValue)
{
    ZANTOValueCell cell;
    put(cell, variantOf(1.5F));
    cell.setQuality(nodeValueQualityWriteFail);
    EXPECT_EQ(cell.get().ZANTOGetQuality(), nodeValueQualityWriteFail);
    EXPECT_EQ(cell.get().ZANTOGetTimestamp(), longAgo);
    cell.setQualityAndTime(nodeValueQualityBad, 2000);
    EXPECT_EQ(cell.get().ZANTOGetQuality(), nodeValueQualityBad);
    EXPECT_EQ(cell.get().ZANTOGetTimestamp(), 2000);
    EXPECT_EQ(cell.get().ZANTOGetValue().toFloat(), 1.5F);
}

TEST(ValueCell, WithRoomMadeATextNeedsNoMemory)
{
    ZANTOValueCell cell;
    ZANTONodeValue value(variantOf(std::string(500, 'y')), nodeValueQualityGood, longAgo);
    cell.makeRoomFor(value);
    {
        const AllocationFailure none(1, 10000);
        cell.set(std::move(value));
    }
    EXPECT_EQ(cell.get().ZANTOGetValue().toString(), std::string(500, 'y'));
}

// A copy that was taken for whole is of one value, and of no older one than the reader saw before.
TEST(ValueCell, ReadersNeverSeeHalfAValueOrGoBack)
{
    constexpr int changes = 20000;
    ZANTOValueCell cell;
    put(cell, variantOf(std::string(40, 'a')));
    std::atomic<bool> stop{false};
    std::atomic<int> torn{0};
    std::atomic<int> backwards{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < 2; ++i)
        readers.emplace_back([&] {
            int32_t last = 0;
            while (!stop) {
                variant number;
                if (cell.tryNumber(number) && number.toInt() < last)
                    ++backwards;
                last = std::max(last, number.toInt());
                char shown[40];
                if (cell.tryText(shown) && std::string(39, shown[0]) != shown)
                    ++torn;
            }
        });
    for (int i = 1; i <= changes; ++i) {
        variant value = variantOf(i);
        value.setValue(std::string(60, static_cast<char>('a' + i % 26)));
        put(cell, value);
    }
    stop = true;
    for (std::thread &reader : readers)
        reader.join();
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(backwards, 0);
    EXPECT_EQ(cell.get().ZANTOGetValue().toInt(), changes);
}
