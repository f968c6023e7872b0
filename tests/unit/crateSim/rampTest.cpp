// Loads with capacitance: what the current limit does to a ramp.
#include "model/output.h"

#include <cmath>
#include <gtest/gtest.h>

#include "model/codes.h"

using namespace sim;
using namespace std::chrono_literals;

namespace {

constexpr double none = std::numeric_limits<double>::infinity();
constexpr uint32_t held = channelbit::OverCurrent | channelbit::UnderVoltage;

OutputSettings upTo(double voltage, double limit)
{
    OutputSettings settings;
    settings.voltage = voltage;
    settings.currentLimit = limit;
    settings.rampUp = 50;
    settings.rampDown = 25;
    return settings;
}

Output running(double ohm, double farad, const OutputSettings &settings)
{
    Output output(ohm, farad);
    output.configure(settings);
    output.switchOn();
    return output;
}

} // namespace

TEST(Ramp, ChargingAddsToTheCurrentOfTheLoad)
{
    Output output = running(1e6, 1e-6, upTo(100, 1));
    EXPECT_EQ(output.current(), 0); // no voltage yet
    output.advance(1s);
    EXPECT_DOUBLE_EQ(output.current(), 50e-6 + 50e-6);
    output.advance(1s);
    EXPECT_DOUBLE_EQ(output.current(), 100e-6); // steady: the load alone
}

TEST(Ramp, DischargingTakesFromTheCurrentOfTheLoad)
{
    OutputSettings settings = upTo(100, 1);
    Output output = running(1e6, 1e-6, settings);
    output.advance(1h);
    settings.voltage = 50;
    output.configure(settings);
    output.advance(1s);
    EXPECT_DOUBLE_EQ(output.voltage(), 75);
    EXPECT_DOUBLE_EQ(output.current(), 75e-6 - 25e-6);
}

TEST(Ramp, DischargingNeverDrawsBackwards)
{
    Output output = running(none, 1e-6, upTo(100, 1));
    output.advance(1h);
    EXPECT_EQ(output.current(), 0);
    output.switchOff();
    output.advance(1s);
    EXPECT_DOUBLE_EQ(output.voltage(), 75);
    EXPECT_EQ(output.current(), 0);
}

TEST(Ramp, CapacitanceAloneRampsAsTheLimitAllows)
{
    Output output = running(none, 1e-6, upTo(100, 20e-6)); // 20 V/s instead of 50
    output.advance(1s);
    EXPECT_DOUBLE_EQ(output.voltage(), 20);
    EXPECT_DOUBLE_EQ(output.current(), 20e-6);
    EXPECT_EQ(output.status(), channelbit::On | channelbit::RampingUp | held);
    output.advance(4s - 1ns);
    EXPECT_LT(output.voltage(), 100);
    output.advance(1ns);
    EXPECT_EQ(output.voltage(), 100);
    EXPECT_EQ(output.status(), channelbit::On);
}

TEST(Ramp, WithoutCurrentACapacitanceIsNotCharged)
{
    Output output = running(none, 1e-6, upTo(100, 0));
    output.advance(1h);
    EXPECT_EQ(output.voltage(), 0);
    EXPECT_EQ(output.status(), channelbit::On | held);
}

TEST(Ramp, IsLinearThenExponential)
{
    // The limit binds at 1 MOhm * (80 - 50) uA = 30 V, 600 ms from the start.
    Output output = running(1e6, 1e-6, upTo(100, 80e-6));
    output.advance(600ms - 1ns);
    EXPECT_EQ(output.status(), channelbit::On | channelbit::RampingUp);
    output.advance(1ns);
    EXPECT_EQ(output.status(), channelbit::On | channelbit::RampingUp | held);
    EXPECT_DOUBLE_EQ(output.voltage(), 30);
    output.advance(1s); // the time constant
    EXPECT_NEAR(output.voltage(), 80 - 50 * std::exp(-1.0), 1e-9);
    EXPECT_DOUBLE_EQ(output.current(), 80e-6);
    output.advance(1h);
    EXPECT_DOUBLE_EQ(output.voltage(), 80);
    EXPECT_EQ(output.status(), channelbit::On | held);
}

TEST(Ramp, LeavesTheLimitAtTheSetPoint)
{
    Output output = running(1e6, 1e-6, upTo(70, 80e-6));
    // From 30 V to 70 V towards 80 V.
    const auto limited = Duration(std::llround(std::log(5.0) * 1e9));
    output.advance(600ms + limited - 1us);
    EXPECT_EQ(output.status(), channelbit::On | channelbit::RampingUp | held);
    output.advance(2us);
    EXPECT_EQ(output.voltage(), 70);
    EXPECT_EQ(output.status(), channelbit::On);
    EXPECT_DOUBLE_EQ(output.current(), 70e-6);
}

TEST(Ramp, TripTimeCountsFromTheMomentTheLimitBinds)
{
    OutputSettings settings = upTo(100, 80e-6);
    settings.tripTime = 250ms;
    Output output = running(1e6, 1e-6, settings);
    output.advance(850ms - 1ns);
    EXPECT_TRUE(output.isOn());
    output.advance(1ns);
    EXPECT_EQ(output.status(), channelbit::InternalTrip | channelbit::RampingDown);
}

TEST(Ramp, NoTripWhenTheLimitIsLeftInTime)
{
    OutputSettings settings = upTo(70, 80e-6);
    settings.tripTime = 2s; // 1.61 s at the limit
    Output output = running(1e6, 1e-6, settings);
    output.advance(1h);
    EXPECT_EQ(output.status(), channelbit::On);
}

TEST(Ramp, LoweredLimitDischargesThroughTheLoad)
{
    OutputSettings settings = upTo(100, 1);
    Output output = running(1e6, 1e-6, settings);
    output.advance(1h);
    settings.currentLimit = 40e-6;
    output.configure(settings);
    EXPECT_EQ(output.voltage(), 100); // a charge does not jump
    EXPECT_DOUBLE_EQ(output.current(), 40e-6);
    output.advance(1s);
    EXPECT_NEAR(output.voltage(), 40 + 60 * std::exp(-1.0), 1e-9);
    EXPECT_EQ(output.status(), channelbit::On | channelbit::RampingDown | held);
    output.advance(1h);
    EXPECT_DOUBLE_EQ(output.voltage(), 40);
    EXPECT_EQ(output.status(), channelbit::On | held);
}

TEST(Ramp, LoweredLimitActsAtOnceOnAResistor)
{
    OutputSettings settings = upTo(100, 1);
    Output output = running(1e6, 0, settings);
    output.advance(1h);
    settings.currentLimit = 40e-6;
    output.configure(settings);
    EXPECT_DOUBLE_EQ(output.voltage(), 40);
    EXPECT_EQ(output.status(), channelbit::On | held);
}

TEST(Ramp, LowSetPointEndsTheLimitOnTheWayDown)
{
    OutputSettings settings = upTo(100, 1);
    Output output = running(1e6, 1e-6, settings);
    output.advance(1h);
    settings.currentLimit = 40e-6;
    settings.voltage = 10;
    output.configure(settings);
    // Above 1 MOhm * (40 + 25) uA = 65 V the charge flows off faster than the ramp.
    output.advance(100ms);
    EXPECT_EQ(output.status(), channelbit::On | channelbit::RampingDown | channelbit::OverCurrent);
    const double seconds = std::log(60.0 / 25.0); // to 65 V
    output.advance(Duration(std::llround(seconds * 1e9)) - 100ms + 1s);
    EXPECT_NEAR(output.voltage(), 40, 1e-6);
    EXPECT_EQ(output.status(), channelbit::On | channelbit::RampingDown);
    EXPECT_NEAR(output.current(), 40e-6 - 25e-6, 1e-12);
}

TEST(Ramp, SetPointMayChangeOnTheWay)
{
    OutputSettings settings = upTo(100, 80e-6);
    Output output = running(1e6, 1e-6, settings);
    output.advance(1600ms);
    settings.voltage = 20;
    output.configure(settings);
    const double start = output.voltage();
    EXPECT_EQ(output.status(), channelbit::On | channelbit::RampingDown);
    output.advance(500ms);
    EXPECT_DOUBLE_EQ(output.voltage(), start - 12.5);
    settings.voltage = 100;
    output.configure(settings);
    EXPECT_EQ(output.status() & channelbit::RampingUp, channelbit::RampingUp);
}

TEST(Ramp, WithoutARateTheVoltageStaysUntilSwitchedOff)
{
    OutputSettings settings = upTo(100, 1);
    Output output = running(1e6, 0, settings);
    output.advance(1s);
    settings.rampUp = settings.rampDown = 0;
    output.configure(settings);
    output.advance(1h);
    EXPECT_EQ(output.voltage(), 50);
    EXPECT_EQ(output.status(), channelbit::On);
    output.switchOff();
    EXPECT_EQ(output.voltage(), 0);
}

TEST(Ramp, TripTimeStartsWhenATripBecomesPossible)
{
    OutputSettings settings = upTo(100, 50e-6);
    Output output = running(1e6, 0, settings);
    output.advance(1h);
    settings.tripTime = 1s;
    output.configure(settings);
    output.advance(1s - 1ns);
    EXPECT_TRUE(output.isOn());
    output.advance(1ns);
    EXPECT_FALSE(output.isOn());
}

namespace {

struct LoadCase {
    double ohm;
    double farad;
};

struct AnyLoad : testing::TestWithParam<LoadCase> {};

} // namespace

// Bit for bit: a server must not see another crate because its clock ticks faster.
TEST_P(AnyLoad, OneStepEqualsAThousand)
{
    OutputSettings settings = upTo(100, 80e-6);
    settings.tripTime = 1234567891ns;
    Output once = running(GetParam().ohm, GetParam().farad, settings);
    Output often = once;
    for (const Duration time : {700ms, 900ms, 300ms, 2300ms, 5000ms}) {
        once.advance(time);
        for (int step = 0; step < 1000; ++step)
            often.advance(time / 1000);
        ASSERT_EQ(once.voltage(), often.voltage());
        ASSERT_EQ(once.current(), often.current());
        ASSERT_EQ(once.status(), often.status());
    }
}

INSTANTIATE_TEST_SUITE_P(All, AnyLoad,
                         testing::Values(LoadCase{1e6, 0}, LoadCase{1e6, 1e-6}, LoadCase{1e6, 1e-8},
                                         LoadCase{none, 0}, LoadCase{none, 1e-6},
                                         LoadCase{none, 3e-6}));
