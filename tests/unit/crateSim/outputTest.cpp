#include "model/output.h"

#include <gtest/gtest.h>

#include "model/codes.h"

using namespace sim;
using namespace std::chrono_literals;

namespace {

constexpr double ohm = 1e6;

OutputSettings plain()
{
    OutputSettings settings;
    settings.voltage = 100;
    settings.currentLimit = 1;
    settings.rampUp = 50;
    settings.rampDown = 25;
    settings.hardLimit = 1000;
    return settings;
}

struct OutputTest : testing::Test {
    Output output{ohm};
    OutputSettings settings = plain();

    void apply() { output.configure(settings); }
    void SetUp() override { apply(); }
    void atVoltage()
    {
        output.switchOn();
        output.advance(1h);
    }
    // At the set-point the load draws more than the limit.
    void overCurrent(Duration tripTime)
    {
        settings.currentLimit = 50e-6;
        settings.tripTime = tripTime;
        apply();
        output.switchOn();
        output.advance(1s); // 50 V at 50 V/s: the limit is just reached
    }
};

} // namespace

TEST_F(OutputTest, IsOffAtFirst)
{
    output.advance(10s);
    EXPECT_EQ(output.status(), 0u);
    EXPECT_EQ(output.voltage(), 0);
    EXPECT_EQ(output.current(), 0);
}

TEST_F(OutputTest, RampsUpAtItsRate)
{
    ASSERT_TRUE(output.switchOn());
    output.advance(500ms);
    EXPECT_DOUBLE_EQ(output.voltage(), 25);
    EXPECT_DOUBLE_EQ(output.current(), 25 / ohm);
    EXPECT_EQ(output.status(), channelbit::On | channelbit::RampingUp);
}

TEST_F(OutputTest, EndsARampAtTheVeryMoment)
{
    output.switchOn();
    output.advance(2s - 1us);
    EXPECT_LT(output.voltage(), 100);
    output.advance(1us);
    EXPECT_EQ(output.voltage(), 100);
    EXPECT_EQ(output.status(), channelbit::On);
}

TEST_F(OutputTest, RampIsTheSameInAnySteps)
{
    settings.rampUp = 3;
    settings.voltage = 3;
    apply();
    output.switchOn();
    for (int step = 0; step < 20; ++step)
        output.advance(50ms);
    EXPECT_EQ(output.voltage(), 3);
    EXPECT_EQ(output.status(), channelbit::On);
}

TEST_F(OutputTest, RampsDownAtItsOwnRate)
{
    atVoltage();
    settings.voltage = 50;
    apply();
    output.advance(1s);
    EXPECT_DOUBLE_EQ(output.voltage(), 75);
    EXPECT_EQ(output.status(), channelbit::On | channelbit::RampingDown);
    output.advance(1s);
    EXPECT_EQ(output.status(), channelbit::On);
}

TEST_F(OutputTest, RampsDownWhenSwitchedOff)
{
    atVoltage();
    output.switchOff();
    EXPECT_EQ(output.status(), channelbit::RampingDown);
    output.advance(4s);
    EXPECT_EQ(output.voltage(), 0);
    EXPECT_EQ(output.status(), 0u);
}

TEST_F(OutputTest, IsKilledWhenSwitchedOffSo)
{
    settings.rampOff = false;
    apply();
    atVoltage();
    output.switchOff();
    EXPECT_EQ(output.voltage(), 0);
}

TEST_F(OutputTest, HardLimitHoldsTheVoltage)
{
    settings.hardLimit = 60;
    apply();
    atVoltage();
    EXPECT_EQ(output.voltage(), 60);
    EXPECT_EQ(output.status(), channelbit::On | channelbit::HvMax);
}

TEST_F(OutputTest, LoweredHardLimitIsAnOverVoltage)
{
    atVoltage();
    settings.hardLimit = 60;
    apply();
    EXPECT_EQ(output.status(), channelbit::On | channelbit::RampingDown | channelbit::OverVoltage |
                                   channelbit::HvMax);
    output.advance(2s);
    EXPECT_EQ(output.voltage(), 60);
    EXPECT_EQ(output.status() & channelbit::OverVoltage, 0u);
}

TEST_F(OutputTest, CurrentLimitHoldsTheVoltage)
{
    overCurrent(Duration::max());
    EXPECT_DOUBLE_EQ(output.voltage(), 50);
    EXPECT_DOUBLE_EQ(output.current(), 50e-6);
    EXPECT_EQ(output.status(), channelbit::On | channelbit::OverCurrent | channelbit::UnderVoltage);
    output.advance(24h);
    EXPECT_EQ(output.status(), channelbit::On | channelbit::OverCurrent | channelbit::UnderVoltage);
}

TEST_F(OutputTest, TripsAtTheVeryMoment)
{
    overCurrent(3s);
    output.advance(3s - 1ns);
    EXPECT_TRUE(output.isOn());
    output.advance(1ns);
    EXPECT_FALSE(output.isOn());
    EXPECT_EQ(output.status(), channelbit::InternalTrip | channelbit::RampingDown);
}

TEST_F(OutputTest, TripTimeIsTheSameInAnySteps)
{
    overCurrent(1s);
    for (int step = 0; step < 19; ++step)
        output.advance(50ms);
    EXPECT_TRUE(output.isOn());
    output.advance(50ms);
    EXPECT_FALSE(output.isOn());
}

TEST_F(OutputTest, OneLongStepTripsAndRampsDown)
{
    settings.currentLimit = 50e-6;
    settings.tripTime = 2s;
    apply();
    output.switchOn();
    output.advance(1s + 2s + 1s); // up to the limit, the trip time, down at 25 V/s
    EXPECT_DOUBLE_EQ(output.voltage(), 25);
}

TEST_F(OutputTest, TripTimeOfNothingTripsAtOnce)
{
    overCurrent(0s);
    EXPECT_EQ(output.status() & channelbit::InternalTrip, channelbit::InternalTrip);
}

TEST_F(OutputTest, TripTimeStartsAgainAfterRecovery)
{
    overCurrent(2s);
    output.advance(1500ms);
    settings.currentLimit = 1;
    apply();
    output.advance(100ms);
    settings.currentLimit = 50e-6;
    apply();
    output.advance(1s);
    EXPECT_TRUE(output.isOn());
    output.advance(1s);
    EXPECT_FALSE(output.isOn());
}

TEST_F(OutputTest, TripKillsWhenSetSo)
{
    settings.rampOff = false;
    overCurrent(1s);
    output.advance(1s);
    EXPECT_EQ(output.voltage(), 0);
    EXPECT_EQ(output.status(), channelbit::InternalTrip);
}

TEST_F(OutputTest, TripLocksUntilCleared)
{
    atVoltage();
    output.trip(channelbit::ExternalTrip);
    EXPECT_EQ(output.status(), channelbit::ExternalTrip | channelbit::RampingDown);
    EXPECT_FALSE(output.switchOn());
    output.clearTrip();
    EXPECT_TRUE(output.switchOn());
}

TEST_F(OutputTest, DrawingTooLittleIsAnUnderCurrent)
{
    settings.currentMinimum = 101e-6;
    apply();
    output.switchOn();
    output.advance(1s);
    EXPECT_EQ(output.status(), channelbit::On | channelbit::RampingUp);
    output.advance(1s);
    EXPECT_EQ(output.status(), channelbit::On | channelbit::UnderCurrent);
    settings.currentMinimum = 100e-6;
    apply();
    EXPECT_EQ(output.status(), channelbit::On);
}

TEST_F(OutputTest, OpenLoadDrawsNothing)
{
    Output open(std::numeric_limits<double>::infinity());
    settings.currentLimit = 0;
    open.configure(settings);
    open.switchOn();
    open.advance(10s);
    EXPECT_EQ(open.voltage(), 100);
    EXPECT_EQ(open.current(), 0);
}

namespace {

struct ConditionCase {
    uint32_t bit;
    bool keepsOn;
    double voltageAtOnce;
};

struct OutputConditionTest : OutputTest, testing::WithParamInterface<ConditionCase> {};

} // namespace

TEST_P(OutputConditionTest, ShowsItsBitAndHasItsEffect)
{
    const auto &[bit, keepsOn, voltageAtOnce] = GetParam();
    atVoltage();
    output.setConditions(bit);
    EXPECT_EQ(output.status() & bit, bit);
    EXPECT_EQ(output.isOn(), keepsOn);
    EXPECT_EQ(output.voltage(), voltageAtOnce);
    EXPECT_EQ(output.switchOn(), keepsOn);
    output.setConditions(0);
    EXPECT_EQ(output.status() & bit, 0u);
    EXPECT_TRUE(output.switchOn());
}

INSTANTIATE_TEST_SUITE_P(All, OutputConditionTest,
                         testing::Values(ConditionCase{channelbit::OverVoltage, true, 100},
                                         ConditionCase{channelbit::UnderVoltage, true, 100},
                                         ConditionCase{channelbit::ExternalDisable, false, 100},
                                         ConditionCase{channelbit::CalibrationError, true, 100},
                                         ConditionCase{channelbit::Unplugged, false, 0},
                                         ConditionCase{channelbit::UnderCurrent, true, 100},
                                         ConditionCase{channelbit::OverVoltageProtection, false, 0},
                                         ConditionCase{channelbit::PowerFail, false, 0},
                                         ConditionCase{channelbit::TemperatureError, false, 100}));
