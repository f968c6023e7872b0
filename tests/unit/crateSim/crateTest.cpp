#include "model/crate.h"

#include <algorithm>
#include <cmath>
#include <gmock/gmock.h>

#include "description/defaultcrate.h"

using namespace sim;
using namespace std::chrono_literals;

namespace {

constexpr Address channel{0, 0};
constexpr Address hungry{0, 2}; // draws more than its limit at full voltage
constexpr Address board{0, -1};

struct CrateTest : testing::Test {
    Crate crate{defaultCrate()};

    Result write(Address at, const char *name, Value value)
    {
        return crate.write(at, name, value, Origin::Network);
    }
    double number(Address at, const char *name)
    {
        ItemId id = 0;
        EXPECT_EQ(crate.find(at, name, id), Result::Ok) << name;
        return toNumber(crate.items().value(id));
    }
    std::string text(Address at, const char *name)
    {
        ItemId id = 0;
        EXPECT_EQ(crate.find(at, name, id), Result::Ok) << name;
        return toText(crate.items().value(id));
    }
    uint32_t status(Address at) { return static_cast<uint32_t>(number(at, "Status")); }
    void switchOn(Address at, float volts)
    {
        ASSERT_EQ(write(at, "VSet", volts), Result::Ok);
        ASSERT_EQ(write(at, "Pw", 1u), Result::Ok);
    }
    std::vector<std::string> changedNames()
    {
        std::vector<std::string> names;
        for (const ItemId id : crate.takeChanges().items)
            names.emplace_back(crate.items().item(id).name);
        return names;
    }
};

} // namespace

TEST_F(CrateTest, SetPointIsKeptWithinItsLimits)
{
    EXPECT_EQ(write(channel, "VSet", 3000.0f), Result::Ok);
    EXPECT_EQ(write(channel, "VSet", 3000.5f), Result::OutOfRange);
    EXPECT_EQ(write(channel, "VSet", -0.5f), Result::OutOfRange);
    EXPECT_EQ(write(channel, "VSet", std::nanf("")), Result::OutOfRange);
    EXPECT_EQ(number(channel, "VSet"), 3000);
}

TEST_F(CrateTest, EachTypeHasItsRange)
{
    EXPECT_EQ(write(channel, "Pw", 2u), Result::OutOfRange);
    EXPECT_EQ(write(channel, "TripExt", 65535), Result::Ok);
    EXPECT_EQ(write(channel, "TripExt", 65536), Result::OutOfRange);
    EXPECT_EQ(write(channel, "Range", 2), Result::OutOfRange);
    EXPECT_EQ(write(channel, "VSet", 1u), Result::BadRequest);
    EXPECT_EQ(write(channel, "Name", std::string("elevenchars")), Result::Ok);
    EXPECT_EQ(write(channel, "Name", std::string("twelve chars")), Result::OutOfRange);
    EXPECT_EQ(write({}, "FanTrim", 32768), Result::OutOfRange);
    EXPECT_EQ(write({}, "ResFlag", 65536u), Result::OutOfRange);
    EXPECT_EQ(write({}, "RemoteOnly", 2), Result::OutOfRange);
}

TEST_F(CrateTest, ModeDecidesWhoMayWhat)
{
    Value value;
    EXPECT_EQ(write(channel, "VMon", 1.0f), Result::NotWritable);
    EXPECT_EQ(write(channel, "Factory", 0.0f), Result::NotWritable);
    EXPECT_EQ(crate.read(channel, "ClrTrip", value), Result::NotReadable);
    EXPECT_EQ(crate.read(channel, "Factory", value), Result::NotReadable);
    EXPECT_EQ(crate.write(channel, "Inputs", int32_t{9}, Origin::FrontPanel), Result::Ok);
    EXPECT_EQ(number(channel, "Inputs"), 9);
}

TEST_F(CrateTest, NobodyWritesWhatTheOutputDecides)
{
    for (const char *name : {"VMon", "IMon"})
        EXPECT_EQ(crate.write(channel, name, 1.0f, Origin::FrontPanel), Result::NotWritable);
    EXPECT_EQ(crate.write(channel, "Status", 1, Origin::FrontPanel), Result::NotWritable);
}

TEST_F(CrateTest, UnknownPlacesAndNamesAreTold)
{
    Value value;
    EXPECT_EQ(crate.read({1, 0}, "VSet", value), Result::NoSlot);
    EXPECT_EQ(crate.read({16, 0}, "VSet", value), Result::NoSlot);
    EXPECT_EQ(crate.read({0, 12}, "VSet", value), Result::NoChannel);
    EXPECT_EQ(crate.read(channel, "vset", value), Result::NoItem);
    EXPECT_EQ(crate.read({}, "Nothing", value), Result::NoItem);
    EXPECT_EQ(crate.execute("Nothing"), Result::NoCommand);
}

TEST_F(CrateTest, ChannelRampsAndShowsIt)
{
    switchOn(channel, 100);
    crate.step(1s);
    EXPECT_EQ(number(channel, "VMon"), 50);
    EXPECT_NEAR(number(channel, "IMon"), 50 / 7.5, 0.01); // µA at 7.5 MOhm
    EXPECT_EQ(status(channel), channelbit::On | channelbit::RampingUp);
    crate.step(1s);
    EXPECT_EQ(status(channel), channelbit::On);
}

TEST_F(CrateTest, ReadBackHasTheResolutionOfItsDecimals)
{
    switchOn(channel, 100);
    crate.step(1900us); // 0.095 V are less than a step of 0.1 V
    EXPECT_EQ(number(channel, "VMon"), 0);
    crate.takeChanges();
    crate.step(100us);
    EXPECT_THAT(changedNames(), testing::Contains("VMon"));
    EXPECT_FLOAT_EQ(static_cast<float>(number(channel, "VMon")), 0.1f);
}

TEST_F(CrateTest, ChangesAreToldOnce)
{
    ASSERT_EQ(write(channel, "VSet", 10.0f), Result::Ok);
    ASSERT_EQ(write(channel, "VSet", 20.0f), Result::Ok);
    EXPECT_THAT(changedNames(), testing::ElementsAre("VSet"));
    ASSERT_EQ(write(channel, "VSet", 20.0f), Result::Ok);
    EXPECT_THAT(changedNames(), testing::IsEmpty());
}

TEST_F(CrateTest, NothingChangesAtRest)
{
    crate.step(1s);
    crate.takeChanges();
    crate.step(1s);
    EXPECT_THAT(changedNames(), testing::IsEmpty());
}

TEST_F(CrateTest, OverCurrentTripsAfterTheTripTime)
{
    ASSERT_EQ(write(hungry, "RUp", 500.0f), Result::Ok);
    ASSERT_EQ(write(hungry, "Trip", 2.0f), Result::Ok);
    switchOn(hungry, 3000);
    crate.step(3750ms); // 1875 V: the limit of 1000 µA
    EXPECT_EQ(status(hungry) & channelbit::OverCurrent, channelbit::OverCurrent);
    EXPECT_EQ(number(hungry, "IMon"), 1000);
    crate.step(2s - 1ns);
    EXPECT_EQ(number(hungry, "Pw"), 1);
    crate.step(1ns);
    EXPECT_EQ(number(hungry, "Pw"), 0);
    EXPECT_EQ(status(hungry), channelbit::InternalTrip | channelbit::RampingDown);
    EXPECT_EQ(text(hungry, "LastTrip"), "over-current");
    EXPECT_EQ(number({}, "TripCount"), 1);
}

TEST_F(CrateTest, TripTimeAtItsLimitNeverTrips)
{
    ASSERT_EQ(write(hungry, "Trip", 1000.0f), Result::Ok);
    switchOn(hungry, 3000);
    crate.step(24h);
    EXPECT_EQ(number(hungry, "Pw"), 1);
}

TEST_F(CrateTest, CommandUnlocksATrip)
{
    ASSERT_EQ(crate.tripChannel(channel, channelbit::ExternalTrip), Result::Ok);
    EXPECT_EQ(text(channel, "LastTrip"), "external");
    EXPECT_EQ(write(channel, "Pw", 1u), Result::Locked);
    EXPECT_EQ(crate.execute("ClearAlarm"), Result::Ok);
    EXPECT_EQ(status(channel), 0u);
    EXPECT_EQ(write(channel, "Pw", 1u), Result::Ok);
}

TEST_F(CrateTest, ChannelClearsItsOwnTrip)
{
    ASSERT_EQ(crate.tripChannel(channel, channelbit::InternalTrip), Result::Ok);
    EXPECT_EQ(write(channel, "ClrTrip", 1u), Result::Ok);
    EXPECT_EQ(status(channel), 0u);
}

TEST_F(CrateTest, KillTakesAllVoltageAway)
{
    switchOn(channel, 100);
    switchOn({2, 0}, 100);
    crate.step(10s);
    EXPECT_EQ(crate.execute("Kill"), Result::Ok);
    EXPECT_EQ(number(channel, "VMon"), 0);
    EXPECT_EQ(number({2, 0}, "VMon"), 0);
    EXPECT_EQ(number(channel, "Pw"), 0);
}

TEST_F(CrateTest, DisabledBoardKeepsItsChannelsOff)
{
    switchOn(channel, 100);
    ASSERT_EQ(write(board, "BdEnable", 0u), Result::Ok);
    EXPECT_EQ(status(channel), channelbit::ExternalDisable);
    EXPECT_EQ(write(channel, "Pw", 1u), Result::Locked);
    ASSERT_EQ(write(board, "BdEnable", 1u), Result::Ok);
    EXPECT_EQ(write(channel, "Pw", 1u), Result::Ok);
}

TEST_F(CrateTest, BoardLimitHoldsEveryChannel)
{
    ASSERT_EQ(crate.write(board, "HVMax", 40.0f, Origin::FrontPanel), Result::Ok);
    switchOn(channel, 100);
    crate.step(10s);
    EXPECT_EQ(number(channel, "VMon"), 40);
    EXPECT_EQ(status(channel), channelbit::On | channelbit::HvMax);
}

TEST_F(CrateTest, HotBoardSwitchesItsChannelsOff)
{
    switchOn(channel, 100);
    ASSERT_EQ(crate.write(board, "Temp", 80.0f, Origin::FrontPanel), Result::Ok);
    EXPECT_EQ(number(board, "BdStatus"), boardbit::OverTemperature);
    EXPECT_EQ(status(channel), channelbit::TemperatureError);
    ASSERT_EQ(crate.write(board, "Temp", 0.0f, Origin::FrontPanel), Result::Ok);
    EXPECT_EQ(number(board, "BdStatus"), boardbit::UnderTemperature);
    EXPECT_EQ(status(channel), 0u);
}

TEST_F(CrateTest, BoardConditionsShowTheirBits)
{
    for (const uint32_t bit : {boardbit::PowerFail, boardbit::FirmwareChecksum,
                               boardbit::HvCalibration, boardbit::TemperatureError}) {
        ASSERT_EQ(crate.setBoardCondition(0, bit, true), Result::Ok);
        EXPECT_EQ(number(board, "BdStatus"), bit);
        ASSERT_EQ(crate.setBoardCondition(0, bit, false), Result::Ok);
    }
    crate.setBoardCondition(0, boardbit::PowerFail, true);
    EXPECT_EQ(status(channel), channelbit::PowerFail);
}

TEST_F(CrateTest, BoardWarmsUpUnderLoad)
{
    for (int32_t index = 0; index < 24; ++index)
        switchOn({2, index}, 4000);
    crate.step(1h);
    crate.step(1h);
    EXPECT_GT(number({2, -1}, "Temp"), 27.5);
    EXPECT_GT(number({}, "OutPower"), 1);
    EXPECT_EQ(number({}, "Uptime"), 120);
}

TEST_F(CrateTest, PulledBoardIsGoneUntilInserted)
{
    switchOn(channel, 100);
    crate.step(10s);
    crate.takeChanges();
    ASSERT_EQ(crate.removeBoard(0), Result::Ok);
    EXPECT_EQ(crate.board(0), nullptr);
    EXPECT_EQ(write(channel, "VSet", 1.0f), Result::NoSlot);
    EXPECT_EQ(crate.removeBoard(0), Result::NoSlot);
    EXPECT_THAT(crate.takeChanges().insertions, testing::ElementsAre(0));
    ASSERT_EQ(crate.insertBoard(0), Result::Ok);
    EXPECT_THAT(crate.takeChanges().insertions, testing::ElementsAre(0));
    EXPECT_EQ(number(channel, "VSet"), 100);
    EXPECT_EQ(number(channel, "VMon"), 0);
    EXPECT_EQ(status(channel), 0u);
    EXPECT_EQ(crate.insertBoard(0), Result::Refused);
    EXPECT_EQ(crate.insertBoard(1), Result::NoSlot);
}

TEST_F(CrateTest, NoiseNeedsVoltageAndFollowsTheSeed)
{
    const Address noisy{2, 0};
    Crate same(defaultCrate());
    for (Crate *each : {&crate, &same}) {
        each->write(noisy, "VSet", 4000.0f, Origin::Network);
        each->write(noisy, "RUp", 800.0f, Origin::Network);
    }
    crate.step(1s);
    EXPECT_EQ(number(noisy, "IMon"), 0);
    same.step(1s);
    std::vector<std::string> seen;
    for (Crate *each : {&crate, &same})
        each->write(noisy, "Pw", 1u, Origin::Network);
    for (int step = 0; step < 50; ++step) {
        crate.step(200ms);
        same.step(200ms);
        Value value;
        ASSERT_EQ(same.read(noisy, "IMon", value), Result::Ok);
        EXPECT_EQ(toText(value), text(noisy, "IMon"));
        seen.push_back(toText(value));
    }
    const std::set<std::string> steady(seen.begin() + 40, seen.end());
    EXPECT_GT(steady.size(), 1u);
}

TEST_F(CrateTest, NoChannelEverPassesItsLimits)
{
    std::mt19937 random(7);
    for (int round = 0; round < 400; ++round) {
        const Address at{3, static_cast<int32_t>(random() % 48)};
        write(at, "VSet", static_cast<float>(random() % 501));
        write(at, "SVMax", static_cast<float>(random() % 501));
        write(at, "ISet", static_cast<float>(random() % 21));
        write(at, "Pw", static_cast<uint32_t>(random() % 2));
        crate.step(Duration(random() % 2000000000));
        for (int32_t index = 0; index < 48; ++index) {
            const Address each{3, index};
            ASSERT_GE(number(each, "VMon"), 0);
            ASSERT_LE(number(each, "VMon"), 500);
            ASSERT_LE(number(each, "IMon"), number(each, "ISet") + 0.001);
            ASSERT_TRUE(number(each, "VMon") > 0 || number(each, "IMon") == 0);
        }
    }
}
