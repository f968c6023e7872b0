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
        ASSERT_LE(pace.nextPass(now, now, false), now);
}

TEST(ScanPace, FourPassesInARowNeedNoPause)
{
    ZANTOScanPace pace;
    EXPECT_LE(pace.nextPass(start, start, true), start);
    EXPECT_LE(pace.nextPass(start + 5ms, start + 5ms, true), start + 5ms);
    EXPECT_LE(pace.nextPass(start + 10ms, start + 10ms, true), start + 10ms);
    EXPECT_EQ(pace.nextPass(start + 15ms, start + 15ms, true), start + 35ms);
    EXPECT_EQ(pace.nextPass(start + 35ms, start + 35ms, true), start + 55ms);
}

TEST(ScanPace, HasTheLimitsThatItIsGiven)
{
    ZANTOScanPace pace({500us, 2ms, 2, 1ms});
    EXPECT_LE(pace.nextPass(start, start, true), start);
    EXPECT_EQ(pace.nextPass(start, start, true), start + 2ms);
    EXPECT_EQ(pace.nextPass(start + 2ms, start + 2ms, false), start + 2ms + 500us - 1ms);
    EXPECT_EQ(pace.nextPass(start + 2ms, start + 2ms, false), start + 2ms);
    EXPECT_EQ(pace.nextPass(start + 2ms, start + 2ms, false), start + 2ms + 500us);
}

// Of a crate so large that a pass takes longer than the pause.
TEST(ScanPace, LongPassesInARowLeaveHalfOfTheTimeToOthers)
{
    ZANTOScanPace pace;
    auto now = start;
    for (int pass = 0; pass < 3; ++pass, now += 50ms)
        ASSERT_LE(pace.nextPass(now, now + 50ms, true), now + 50ms);
    EXPECT_EQ(pace.nextPass(now, now + 50ms, true), now + 100ms);
    EXPECT_EQ(pace.nextPass(now + 100ms, now + 112ms, true), now + 124ms);
}

TEST(ScanPace, ARestStartsTheRowAgain)
{
    ZANTOScanPace pace;
    for (int pass = 0; pass < 3; ++pass)
        pace.nextPass(start, start, true);
    EXPECT_LE(pace.nextPass(start + 5ms, start + 5ms, false), start + 5ms);
    EXPECT_LE(pace.nextPass(start + 10ms, start + 10ms, true), start + 10ms);
}

// Of a list with few records, whose passes are over before the next event comes.
TEST(ScanPace, ShortPassesComeOnceAMillisecondInTheLongRun)
{
    ZANTOScanPace pace;
    auto now = start;
    int passes = 0;
    for (; now < start + 1s; ++passes)
        now = std::max(now + 5us, pace.nextPass(now, now, false));
    EXPECT_GE(passes, 1000);
    EXPECT_LE(passes, 1010);
}

TEST(ScanPace, EightShortPassesNeedNoPause)
{
    ZANTOScanPace pace;
    auto now = start;
    for (int pass = 0; pass < 8; ++pass) {
        ASSERT_LE(pace.nextPass(now, now, false), now);
        now += 1us;
    }
    EXPECT_GT(pace.nextPass(now, now, false), now + 900us);
}

TEST(ScanPace, AfterALongRestABurstIsFreeAgain)
{
    ZANTOScanPace pace;
    auto now = start;
    for (int pass = 0; pass < 100; ++pass)
        now = std::max(now, pace.nextPass(now, now, false));
    now += 1s;
    for (int pass = 0; pass < 8; ++pass)
        ASSERT_LE(pace.nextPass(now, now, false), now);
}
