#include "ZANTOscanpace.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

constexpr ZANTOScanPace::Time start{1000s};

} // namespace

TEST(ScanPace, PassesOfLightLoadNeverWait)
{
    ZANTOScanPace pace;
    for (auto now = start; now < start + 10s; now += 1ms)
        ASSERT_LE(pace.nextPass(now, false), now);
}

TEST(ScanPace, FourPassesInARowNeedNoPause)
{
    ZANTOScanPace pace;
    EXPECT_LE(pace.nextPass(start, true), start);
    EXPECT_LE(pace.nextPass(start + 5ms, true), start + 5ms);
    EXPECT_LE(pace.nextPass(start + 10ms, true), start + 10ms);
    EXPECT_EQ(pace.nextPass(start + 15ms, true), start + 35ms);
    EXPECT_EQ(pace.nextPass(start + 35ms, true), start + 55ms);
}

TEST(ScanPace, ARestStartsTheRowAgain)
{
    ZANTOScanPace pace;
    for (int pass = 0; pass < 3; ++pass)
        pace.nextPass(start, true);
    EXPECT_LE(pace.nextPass(start + 5ms, false), start + 5ms);
    EXPECT_LE(pace.nextPass(start + 10ms, true), start + 10ms);
}

// Of a list with few records, whose passes are over before the next event comes.
TEST(ScanPace, ShortPassesComeOnceAMillisecondInTheLongRun)
{
    ZANTOScanPace pace;
    auto now = start;
    int passes = 0;
    for (; now < start + 1s; ++passes)
        now = std::max(now + 5us, pace.nextPass(now, false));
    EXPECT_GE(passes, 1000);
    EXPECT_LE(passes, 1010);
}

TEST(ScanPace, EightShortPassesNeedNoPause)
{
    ZANTOScanPace pace;
    auto now = start;
    for (int pass = 0; pass < 8; ++pass) {
        ASSERT_LE(pace.nextPass(now, false), now);
        now += 1us;
    }
    EXPECT_GT(pace.nextPass(now, false), now + 900us);
}

TEST(ScanPace, AfterALongRestABurstIsFreeAgain)
{
    ZANTOScanPace pace;
    auto now = start;
    for (int pass = 0; pass < 100; ++pass)
        now = std::max(now, pace.nextPass(now, false));
    now += 1s;
    for (int pass = 0; pass < 8; ++pass)
        ASSERT_LE(pace.nextPass(now, false), now);
}
