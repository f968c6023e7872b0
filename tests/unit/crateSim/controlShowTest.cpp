// What the control port shows of crate, board and channel.
#include <gmock/gmock.h>

#include "controller.h"
#include "control/editdistance.h"
#include "control/placeitems.h"
#include "model/words.h"

using namespace crateTest;
using sim::control::closestName;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

struct ControlShow : testing::Test {
    RunningCrate crate{controlled()};
    Controller control;

    Json show(Json place = Json::object())
    {
        place["cmd"] = "show";
        return control.ask(place);
    }
    void set(int slot, int channel, const char *name, double value)
    {
        ASSERT_EQ(control.ask({{"cmd", "set"},
                               {"slot", slot},
                               {"channel", channel},
                               {"name", name},
                               {"value", value}})["ok"],
                  true);
    }
};

Json itemNamed(const Json &shown, const std::string &name)
{
    for (const auto &item : shown["items"])
        if (item["name"] == name)
            return item;
    return nullptr;
}

} // namespace

TEST_F(ControlShow, CrateHasClockSlotsPropertiesAndCommands)
{
    const Json shown = show();
    EXPECT_EQ(shown["name"], "ZC16");
    EXPECT_EQ(shown["slotCount"], 16);
    EXPECT_EQ(shown["clock"]["paused"], false);
    EXPECT_EQ(shown["clock"]["speed"], 1);
    EXPECT_GE(shown["clock"]["uptime"], 0);
    ASSERT_EQ(shown["slots"].size(), 5u);
    const Json &third = shown["slots"][2];
    EXPECT_EQ(third["slot"], 3);
    EXPECT_EQ(third["model"], "ZA48L");
    EXPECT_EQ(third["description"], "48 channels 500 V 20 mA");
    EXPECT_EQ(third["serialNumber"], 65001);
    EXPECT_EQ(third["firmware"], "2.10");
    EXPECT_EQ(third["channels"], 48);
    EXPECT_EQ(shown["slots"][0]["firmware"], "1.04");
    EXPECT_EQ(itemNamed(shown, "Location")["value"], "Test stand");
    EXPECT_EQ(itemNamed(shown, "TripCount")["type"], "uint16");
    EXPECT_THAT(shown["commands"], Contains("ClearAlarm"));
}

TEST_F(ControlShow, CountsOnRampingTripped)
{
    set(0, 0, "VSet", 3000);
    set(0, 0, "RUp", 1);
    set(0, 0, "Pw", 1);
    control.ask({{"cmd", "trip"}, {"slot", 0}, {"channel", 4}});
    const Json board = show()["slots"][0];
    EXPECT_EQ(board["on"], 1);
    EXPECT_EQ(board["ramping"], 1);
    EXPECT_EQ(board["tripped"], 1);
}

TEST_F(ControlShow, BoardHasItemsAndARowPerChannel)
{
    set(2, 1, "VSet", 12.5);
    const Json shown = show({{"slot", 2}});
    EXPECT_EQ(shown["channelRows"].size(), 24u);
    const Json &row = shown["channelRows"][1];
    EXPECT_EQ(row["channel"], 1);
    EXPECT_EQ(row["name"], "CHANNEL01");
    EXPECT_EQ(row["voltageSet"], 12.5);
    EXPECT_EQ(row["currentSet"], 200);
    EXPECT_EQ(row["units"]["currentSet"], "uA");
    EXPECT_EQ(row["decimals"]["current"], 3);
    EXPECT_EQ(row["on"], false);
    const Json temperature = itemNamed(shown, "Temp");
    EXPECT_EQ(temperature["type"], "numeric");
    EXPECT_EQ(temperature["mode"], "read");
    EXPECT_EQ(temperature["unit"], "\u00b0C");
    EXPECT_EQ(temperature["role"], "temperature");
    EXPECT_EQ(itemNamed(shown, "BdEnable")["labels"], Json({"Disabled", "Enabled"}));
}

TEST_F(ControlShow, ChannelHasItsRowAndItems)
{
    set(2, 3, "Pw", 1);
    const Json shown = show({{"slot", 2}, {"channel", 3}});
    EXPECT_EQ(shown["on"], true);
    EXPECT_THAT(shown["statusText"], Contains("on"));
    EXPECT_EQ(shown["items"][0]["name"], "Name");
    EXPECT_EQ(shown["items"][0]["type"], "text");
    EXPECT_EQ(itemNamed(shown, "Pw")["value"], 1);
    EXPECT_EQ(itemNamed(shown, "Trip Int")["type"], "integer");
}

TEST_F(ControlShow, PulledBoardStaysVisible)
{
    set(3, 0, "VSet", 20);
    control.ask({{"cmd", "remove"}, {"slot", 3}});
    EXPECT_EQ(show()["slots"][2]["present"], false);
    const Json board = show({{"slot", 3}});
    EXPECT_EQ(board["present"], false);
    EXPECT_EQ(board["channelRows"][0]["voltageSet"], 20);
    EXPECT_THAT(board["channelRows"][0]["statusText"], Contains("unplugged"));
    EXPECT_THAT(control.errorOf(R"({"cmd":"get","slot":3,"name":"Temp"})"),
                HasSubstr("pulled out"));
}

TEST_F(ControlShow, ErrorsNameThePlaceAndTheNearestName)
{
    EXPECT_THAT(control.errorOf(R"({"cmd":"show","slot":1})"), HasSubstr("no board in slot 1"));
    EXPECT_THAT(control.errorOf(R"({"cmd":"show","slot":0,"channel":12})"),
                HasSubstr("the board in slot 0 has 12"));
    EXPECT_THAT(control.errorOf(R"({"cmd":"get","slot":0,"channel":1,"name":"vste"})"),
                HasSubstr("did you mean \"VSet\"?"));
    EXPECT_THAT(control.errorOf(R"({"cmd":"execute","name":"ClearAlarms"})"),
                HasSubstr("did you mean \"ClearAlarm\"?"));
    EXPECT_THAT(control.errorOf(R"({"cmd":"set","slot":0,"channel":1,"name":"VSet","value":3001})"),
                HasSubstr("from 0 to 3000 V"));
    EXPECT_THAT(control.errorOf(R"({"cmd":"insert","slot":0})"), HasSubstr("already in its place"));
}

TEST_F(ControlShow, ConditionsByTheirNames)
{
    for (const auto &[bit, word, isCondition] : sim::channelStatusWords) {
        Json request = {{"cmd", "condition"}, {"slot", 0}, {"channel", 7}, {"name", word}};
        EXPECT_EQ(control.ask(request)["ok"], isCondition) << word;
        const uint32_t status = show({{"slot", 0}, {"channel", 7}})["status"];
        EXPECT_EQ(status & bit, isCondition ? bit : 0u) << word;
        request["on"] = false;
        control.ask(request);
    }
    for (const auto &[bit, word, isCondition] : sim::boardStatusWords) {
        const Json request = {{"cmd", "condition"}, {"slot", 2}, {"name", word}};
        EXPECT_EQ(control.ask(request)["ok"], isCondition) << word;
        EXPECT_EQ(show({{"slot", 2}})["status"].get<uint32_t>() & bit, isCondition ? bit : 0u)
            << word;
    }
    EXPECT_THAT(control.errorOf(R"({"cmd":"condition","slot":0,"channel":0,"name":"overvoltage"})"),
                HasSubstr("did you mean \"over-voltage\"?"));
}

TEST(UnitSymbol, HasThePrefixOfItsExponent)
{
    using sim::unitSymbol;
    EXPECT_EQ(unitSymbol(sim::Unit::Ampere, -6), "uA");
    EXPECT_EQ(unitSymbol(sim::Unit::Volt, 3), "kV");
    EXPECT_EQ(unitSymbol(sim::Unit::None, 0), "");
    EXPECT_EQ(unitSymbol(sim::Unit::Ampere, -12), "e-12 A");
    EXPECT_EQ(unitSymbol(static_cast<sim::Unit>(77), 0), "");
}

TEST(NearestName, IsTheOneFewestLettersAway)
{
    EXPECT_EQ(sim::control::editDistance("", "abc"), 3u);
    EXPECT_EQ(sim::control::editDistance("VSet", "vset"), 0u);
    EXPECT_EQ(sim::control::editDistance("kitten", "sitting"), 3u);
    EXPECT_EQ(closestName("vmon", {"IMon", "VMon", "VSet"}), "VMon");
    EXPECT_EQ(closestName("Iset", {"VSet", "ISet"}), "ISet");
    EXPECT_EQ(closestName("Temperature", {"Temp", "Status"}), "");
    EXPECT_EQ(closestName("x", {"Pw", "On"}), "");
    EXPECT_EQ(closestName("anything", {}), "");
}

TEST(StatusWords, EachBitOnceInOrder)
{
    uint32_t expected = 1;
    for (const auto &each : sim::channelStatusWords) {
        EXPECT_EQ(each.bit, expected) << each.word;
        expected <<= 1;
    }
    expected = 1;
    for (const auto &each : sim::boardStatusWords) {
        EXPECT_EQ(each.bit, expected) << each.word;
        expected <<= 1;
    }
}
