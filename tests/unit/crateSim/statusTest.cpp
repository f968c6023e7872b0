// Every bit of the status words by its cause, and what its end leaves behind.
#include <functional>
#include <gtest/gtest.h>

#include "model/crate.h"
#include "description/defaultcrate.h"

using namespace sim;
using namespace std::chrono_literals;

namespace {

constexpr Address channel{0, 0};
constexpr Address hungry{0, 2}; // draws more than its limit at full voltage
constexpr Address board{0, -1};

CrateDescription withMinimum()
{
    CrateDescription crate = defaultCrate();
    ParameterDescription minimum;
    minimum.name = "IMin";
    minimum.mode = Mode::ReadWrite;
    minimum.role = Role::CurrentMinimum;
    minimum.maximum = 1000;
    minimum.exponent = -6;
    crate.models[0].channel.push_back(minimum);
    return crate;
}

struct StatusTest : testing::Test {
    Crate crate{withMinimum()};

    void set(Address at, const char *name, Value value)
    {
        ASSERT_EQ(crate.write(at, name, value, Origin::FrontPanel), Result::Ok) << name;
    }
    double number(Address at, const char *name) const
    {
        ItemId id = 0;
        EXPECT_EQ(crate.find(at, name, id), Result::Ok) << name;
        return toNumber(crate.items().value(id));
    }
    uint32_t status(Address at = channel) const
    {
        return static_cast<uint32_t>(number(at, at.channel < 0 ? "BdStatus" : "Status"));
    }
    void ramp(Address at = channel, float volts = 100)
    {
        set(at, "VSet", volts);
        set(at, "Pw", 1u);
    }
    void rampFully(Address at = channel, float volts = 100)
    {
        ramp(at, volts);
        crate.step(1h);
    }
    void condition(uint32_t bit, bool present = true)
    {
        ASSERT_EQ(crate.setChannelCondition(channel, bit, present), Result::Ok);
    }
    void boardCondition(uint32_t bit, bool present = true)
    {
        ASSERT_EQ(crate.setBoardCondition(0, bit, present), Result::Ok);
    }
    bool canSwitchOn() { return crate.write(channel, "Pw", 1u, Origin::Network) == Result::Ok; }
};

} // namespace

TEST_F(StatusTest, On)
{
    rampFully();
    EXPECT_EQ(status(), channelbit::On);
}

TEST_F(StatusTest, RampingUp)
{
    ramp();
    EXPECT_EQ(status(), channelbit::On | channelbit::RampingUp);
}

TEST_F(StatusTest, RampingDown)
{
    rampFully();
    set(channel, "Pw", 0u);
    EXPECT_EQ(status(), channelbit::RampingDown);
    crate.step(1s);
    EXPECT_EQ(status(), 0u);
}

TEST_F(StatusTest, OverCurrentAndUnderVoltage)
{
    set(hungry, "Trip", 1000.0f); // never
    rampFully(hungry, 3000);
    EXPECT_EQ(status(hungry), channelbit::On | channelbit::OverCurrent | channelbit::UnderVoltage);
}

TEST_F(StatusTest, OverVoltageUntilBelowTheLoweredLimit)
{
    rampFully();
    set(channel, "SVMax", 50.0f);
    EXPECT_EQ(status() & channelbit::OverVoltage, channelbit::OverVoltage);
    crate.step(500ms); // 100 V/s
    EXPECT_EQ(status(), channelbit::On | channelbit::HvMax);
}

TEST_F(StatusTest, HvMaxByTheLimitOfTheBoard)
{
    set(board, "HVMax", 50.0f);
    rampFully();
    EXPECT_EQ(status(), channelbit::On | channelbit::HvMax);
    set(board, "HVMax", 100.0f);
    crate.step(1h);
    EXPECT_EQ(status(), channelbit::On);
}

TEST_F(StatusTest, ExternalTripRampsDown)
{
    rampFully();
    ASSERT_EQ(crate.tripChannel(channel, channelbit::ExternalTrip), Result::Ok);
    EXPECT_EQ(status(), channelbit::ExternalTrip | channelbit::RampingDown);
    crate.step(1s);
    EXPECT_EQ(status(), channelbit::ExternalTrip);
}

TEST_F(StatusTest, InternalTripKills)
{
    set(hungry, "PDwn", 0u);
    rampFully(hungry, 3000);
    EXPECT_EQ(status(hungry), channelbit::InternalTrip);
    EXPECT_EQ(number(hungry, "VMon"), 0);
    EXPECT_EQ(number(hungry, "IMon"), 0);
}

TEST_F(StatusTest, UnderCurrentBelowTheMinimum)
{
    set(channel, "IMin", 13.5f); // 13.3 uA flow
    rampFully();
    EXPECT_EQ(status(), channelbit::On | channelbit::UnderCurrent);
    set(channel, "IMin", 13.0f);
    EXPECT_EQ(status(), channelbit::On);
}

TEST_F(StatusTest, ExternalDisableByTheBoard)
{
    rampFully();
    set(board, "BdEnable", 0u);
    EXPECT_EQ(status(), channelbit::ExternalDisable | channelbit::RampingDown);
}

TEST_F(StatusTest, TemperatureErrorOnAHotBoard)
{
    rampFully();
    set(board, "Temp", 80.0f);
    EXPECT_EQ(status(board), boardbit::OverTemperature);
    EXPECT_EQ(status(), channelbit::TemperatureError | channelbit::RampingDown);
    set(board, "Temp", 30.0f);
    EXPECT_EQ(status(board), 0u);
    EXPECT_EQ(status(), channelbit::RampingDown);
}

TEST_F(StatusTest, BoardHeatsItselfBeyondItsLimit)
{
    set(board, "Temp", 64.9f);
    for (int32_t index = 0; index < 12; ++index)
        ramp({0, index}, 1500);
    for (int second = 0; second < 600 && status(board) == 0; ++second)
        crate.step(1s);
    EXPECT_EQ(status(board), boardbit::OverTemperature);
    EXPECT_EQ(number(channel, "Pw"), 0);
    crate.step(1h); // without load it cools down, and nothing comes back by itself
    EXPECT_EQ(status(board), 0u);
    EXPECT_EQ(status(), 0u);
}

TEST_F(StatusTest, UnderTemperatureKeepsChannelsOn)
{
    rampFully();
    set(board, "Temp", 4.0f);
    EXPECT_EQ(status(board), boardbit::UnderTemperature);
    EXPECT_EQ(status(), channelbit::On);
}

TEST_F(StatusTest, TripsOutliveTheirCauseUntilCleared)
{
    rampFully();
    ASSERT_EQ(crate.tripChannel(channel, channelbit::ExternalTrip), Result::Ok);
    ASSERT_EQ(crate.tripChannel(channel, channelbit::InternalTrip), Result::Ok);
    crate.step(1h);
    EXPECT_EQ(status(), channelbit::ExternalTrip | channelbit::InternalTrip);
    EXPECT_FALSE(canSwitchOn());
    ASSERT_EQ(crate.execute("ClearAlarm"), Result::Ok);
    EXPECT_EQ(status(), 0u);
    EXPECT_EQ(number({}, "TripCount"), 1); // one trip, whatever follows before it is cleared
    EXPECT_TRUE(canSwitchOn());
}

TEST_F(StatusTest, EachTripCountsOnce)
{
    for (int round = 0; round < 3; ++round) {
        ASSERT_EQ(crate.tripChannel(channel, channelbit::ExternalTrip), Result::Ok);
        set(channel, "ClrTrip", 1u);
    }
    crate.step(1ms);
    EXPECT_EQ(number({}, "TripCount"), 3);
}

TEST_F(StatusTest, OnlyWhatCanComeFromOutsideDoes)
{
    EXPECT_EQ(crate.tripChannel(channel, channelbit::OverCurrent), Result::BadRequest);
    EXPECT_EQ(crate.setChannelCondition(channel, channelbit::On, true), Result::BadRequest);
    EXPECT_EQ(crate.setChannelCondition(channel, channelbit::InternalTrip, true),
              Result::BadRequest);
    EXPECT_EQ(crate.setChannelCondition(channel, 0, true), Result::BadRequest);
    EXPECT_EQ(crate.setBoardCondition(0, 1u << 6, true), Result::BadRequest);
}

TEST_F(StatusTest, DisableLastsAsLongAsAnybodyDisables)
{
    set(board, "BdEnable", 0u);
    condition(channelbit::ExternalDisable);
    set(board, "BdEnable", 1u);
    EXPECT_EQ(status(), channelbit::ExternalDisable);
    EXPECT_FALSE(canSwitchOn());
    set(board, "BdEnable", 0u);
    condition(channelbit::ExternalDisable, false);
    EXPECT_EQ(status(), channelbit::ExternalDisable);
    set(board, "BdEnable", 1u);
    EXPECT_EQ(status(), 0u);
    EXPECT_TRUE(canSwitchOn());
}

TEST_F(StatusTest, ConditionsOfBoardAndChannelShowTogether)
{
    condition(channelbit::CalibrationError);
    boardCondition(boardbit::PowerFail);
    EXPECT_EQ(status(), channelbit::CalibrationError | channelbit::PowerFail);
    EXPECT_EQ(status({0, 1}), channelbit::PowerFail);
    boardCondition(boardbit::PowerFail, false);
    EXPECT_EQ(status(), channelbit::CalibrationError);
}

TEST_F(StatusTest, UnpluggedChannelStaysSoWhenItsBoardComesBack)
{
    rampFully();
    condition(channelbit::Unplugged);
    EXPECT_EQ(status(), channelbit::Unplugged);
    EXPECT_EQ(number(channel, "VMon"), 0);
    ASSERT_EQ(crate.removeBoard(0), Result::Ok);
    ASSERT_EQ(crate.insertBoard(0), Result::Ok);
    EXPECT_EQ(status(), channelbit::Unplugged);
    EXPECT_EQ(status({0, 1}), 0u);
    condition(channelbit::Unplugged, false);
    EXPECT_EQ(status(), 0u);
}

TEST_F(StatusTest, HeatAndConditionBothKeepAChannelOff)
{
    condition(channelbit::TemperatureError);
    set(board, "Temp", 80.0f);
    set(board, "Temp", 30.0f);
    EXPECT_EQ(status(), channelbit::TemperatureError);
    condition(channelbit::TemperatureError, false);
    EXPECT_EQ(status(), 0u);
}

TEST_F(StatusTest, InsertedBoardStartsAnew)
{
    for (int32_t index = 0; index < 12; ++index)
        rampFully({0, index}, 1500);
    ASSERT_EQ(crate.tripChannel(channel, channelbit::ExternalTrip), Result::Ok);
    ASSERT_EQ(crate.removeBoard(0), Result::Ok);
    crate.step(1s);
    EXPECT_EQ(number({}, "OutPower"), 0);
    ASSERT_EQ(crate.insertBoard(0), Result::Ok);
    EXPECT_EQ(status(), 0u);
    EXPECT_EQ(number({0, 1}, "Pw"), 0);
    EXPECT_EQ(number({0, 1}, "VMon"), 0);
    EXPECT_EQ(number({0, 1}, "VSet"), 1500);
    EXPECT_EQ(number(board, "Temp"), 27);
}

TEST_F(StatusTest, TheCrateKnowsHowLongItRuns)
{
    crate.step(90s);
    crate.step(1ns);
    EXPECT_EQ(crate.uptime(), 90s + 1ns);
    EXPECT_EQ(number({}, "Uptime"), 1);
}

namespace {

struct ConditionCase {
    const char *name;
    uint32_t bit;      // of the channel; of the board where boardBit is 0
    uint32_t boardBit; // 0: the channel's own condition
    bool keepsOn;
    double voltsAtOnce;
};

struct EachCondition : StatusTest, testing::WithParamInterface<ConditionCase> {
    void raise(bool present)
    {
        const auto &[name, bit, boardBit, keepsOn, volts] = GetParam();
        if (boardBit != 0)
            boardCondition(boardBit, present);
        else
            condition(bit, present);
    }
};

void PrintTo(const ConditionCase &each, std::ostream *stream) { *stream << each.name; }

using namespace channelbit;

const ConditionCase conditionCases[] = {
    {"OverVoltage", OverVoltage, 0, true, 100},
    {"UnderVoltage", UnderVoltage, 0, true, 100},
    {"ExternalDisable", ExternalDisable, 0, false, 100},
    {"CalibrationError", CalibrationError, 0, true, 100},
    {"Unplugged", Unplugged, 0, false, 0},
    {"UnderCurrent", UnderCurrent, 0, true, 100},
    {"OverVoltageProtection", OverVoltageProtection, 0, false, 0},
    {"PowerFail", channelbit::PowerFail, 0, false, 0},
    {"TemperatureError", channelbit::TemperatureError, 0, false, 100},
    {"BoardPowerFail", channelbit::PowerFail, boardbit::PowerFail, false, 0},
    {"BoardFirmwareChecksum", 0, boardbit::FirmwareChecksum, true, 100},
    {"BoardHvCalibration", CalibrationError, boardbit::HvCalibration, true, 100},
    {"BoardTemperatureError", channelbit::TemperatureError, boardbit::TemperatureError, false, 100},
    {"BoardUnderTemperature", 0, boardbit::UnderTemperature, true, 100},
    {"BoardOverTemperature", channelbit::TemperatureError, boardbit::OverTemperature, false, 100},
};

} // namespace

TEST_P(EachCondition, HasItsEffectAndItsEndSwitchesNothingOn)
{
    const auto &[name, bit, boardBit, keepsOn, volts] = GetParam();
    rampFully();
    raise(true);
    const uint32_t down = !keepsOn && volts > 0 ? uint32_t{RampingDown} : 0;
    EXPECT_EQ(status(), (keepsOn ? uint32_t{On} : 0) | bit | down);
    EXPECT_EQ(status(board), boardBit);
    EXPECT_EQ(number(channel, "VMon"), volts);
    crate.step(1h);
    EXPECT_EQ(status(), (keepsOn ? uint32_t{On} : 0) | bit);
    EXPECT_EQ(canSwitchOn(), keepsOn);
    raise(false);
    crate.step(1h);
    EXPECT_EQ(status(board), 0u);
    EXPECT_EQ(status(), keepsOn ? uint32_t{On} : 0);
    EXPECT_TRUE(canSwitchOn());
}

INSTANTIATE_TEST_SUITE_P(All, EachCondition, testing::ValuesIn(conditionCases),
                         [](const auto &each) { return std::string(each.param.name); });
