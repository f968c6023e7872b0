// The parts of zantocratectl that need neither crate nor terminal.
#include <gmock/gmock.h>

#include "ctl/place.h"
#include "ctl/problem.h"
#include "ctl/table.h"
#include "ctl/values.h"
#include "ctl/views.h"

using namespace sim::ctl;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

std::vector<std::string> textsOf(const std::vector<Line> &lines)
{
    std::vector<std::string> texts;
    for (const auto &line : lines)
        texts.push_back(line.text);
    return texts;
}

std::string problemOf(const std::function<void()> &attempt)
{
    try {
        attempt();
    } catch (const Problem &problem) {
        return problem.what();
    }
    return "no problem";
}

Json item(const char *type) { return {{"name", "Thing"}, {"type", type}, {"value", 0}}; }

Json switchItem()
{
    Json shown = item("on-off");
    shown["labels"] = {"Kill", "Ramp"};
    return shown;
}

Json channelRow(int channel, double voltage, const Json &words, const char *currentUnit = "uA")
{
    return {{"channel", channel},
            {"name", "CH" + std::to_string(channel)},
            {"statusText", words},
            {"voltage", voltage},
            {"current", 0.5},
            {"units", {{"voltage", "V"}, {"current", currentUnit}}},
            {"decimals", {{"voltage", 1}, {"current", 2}}}};
}

Json shownBoard(const Json &rows)
{
    return {{"slot", 3},
            {"present", true},
            {"model", "M1"},
            {"description", "two channels"},
            {"serialNumber", 42},
            {"firmware", "1.04"},
            {"statusText", Json::array()},
            {"clock", {{"paused", true}, {"speed", 10.0}, {"uptime", 3725.25}}},
            {"items", Json::array()},
            {"channelRows", rows}};
}

} // namespace

TEST(CtlPlace, HasSlotAndChannelWithOrWithoutLeadingZeros)
{
    for (const char *text : {"3:7", "3:007", "03:7"}) {
        const auto place = parsePlace(text);
        ASSERT_TRUE(place) << text;
        EXPECT_EQ(withPlace(Json::object(), *place), Json({{"slot", 3}, {"channel", 7}})) << text;
    }
    EXPECT_TRUE(parsePlace("15")->isBoard());
    EXPECT_TRUE(parsePlace("system")->isSystem());
    EXPECT_EQ(withPlace({{"cmd", "show"}}, *parsePlace("system")), Json({{"cmd", "show"}}));
}

TEST(CtlPlace, EverythingElseIsNone)
{
    for (const char *text : {"", ":", "3:", ":7", "a", "3:b", "-1", "3:-1", "3:7:1", "3 ", " 3",
                             "3.5", "99999999999", "System"})
        EXPECT_FALSE(parsePlace(text)) << text;
}

TEST(CtlValue, FollowsTheItemsType)
{
    EXPECT_EQ(valueFor(item("numeric"), "-12.5"), -12.5);
    EXPECT_EQ(valueFor(item("real"), "1e3"), 1000.0);
    EXPECT_EQ(valueFor(item("integer"), "7"), 7);
    EXPECT_EQ(valueFor(item("uint32"), "0xff"), 255);
    EXPECT_EQ(valueFor(item("int16"), "-5"), -5);
    EXPECT_EQ(valueFor(item("text"), "12"), "12");
    EXPECT_EQ(valueFor(item("text"), ""), "");
    EXPECT_EQ(valueFor(item("boolean"), "true"), 1);
    EXPECT_EQ(valueFor(switchItem(), "ramp"), 1);
    EXPECT_EQ(valueFor(switchItem(), "Kill"), 0);
    EXPECT_EQ(valueFor(switchItem(), "On"), 1);
    EXPECT_EQ(valueFor(switchItem(), "0"), 0);
}

TEST(CtlValue, WhatDoesNotFitIsSaid)
{
    const auto problem = [](const Json &shown, const char *text) {
        return problemOf([&] { valueFor(shown, text); });
    };
    EXPECT_THAT(problem(item("numeric"), "12V"), HasSubstr("Thing takes a number, not \"12V\""));
    EXPECT_THAT(problem(item("numeric"), "nan"), HasSubstr("number"));
    EXPECT_THAT(problem(item("numeric"), ""), HasSubstr("number"));
    EXPECT_THAT(problem(item("integer"), "1.5"), HasSubstr("whole number"));
    EXPECT_THAT(problem(item("integer"), "0x"), HasSubstr("whole number"));
    EXPECT_THAT(problem(switchItem(), "2"), HasSubstr("Kill or Ramp"));
    EXPECT_THAT(problem(item("boolean"), "maybe"), HasSubstr("on or off"));
}

TEST(CtlValue, FieldsAndMixes)
{
    Json request = Json::object();
    addField(request, "count=3");
    addField(request, "operation=GetChParam");
    addField(request, "share=0.5");
    addField(request, "text=a=b");
    EXPECT_EQ(request,
              Json({{"count", 3}, {"operation", "GetChParam"}, {"share", 0.5}, {"text", "a=b"}}));
    EXPECT_THAT(problemOf([&] { addField(request, "count"); }), HasSubstr("FIELD=VALUE"));
    EXPECT_THAT(problemOf([&] { addField(request, "=3"); }), HasSubstr("FIELD=VALUE"));
    EXPECT_EQ(parseMix("numeric=8,status=1.5"), Json({{"numeric", 8}, {"status", 1.5}}));
    for (const char *mix : {"", "numeric", "numeric=", "numeric=-1", "=1", "numeric=1,"})
        EXPECT_THAT(problemOf([mix] { parseMix(mix); }), HasSubstr("KIND=SHARE")) << mix;
}

TEST(CtlValue, TextsCannotUpsetATerminal)
{
    EXPECT_EQ(textOf("a\x1b[2J\n"), "a?[2J?");
    EXPECT_EQ(textOf("27 \u00b0C"), "27 \u00b0C");
    EXPECT_EQ(textOf(12.5), "12.5");
    EXPECT_EQ(textOf(nullptr), "nan");
    EXPECT_EQ(fixed(2, 3), "2.000");
    EXPECT_EQ(fixed(nullptr, 3), "nan");
}

TEST(CtlTable, ColumnsAreAsWideAsTheirWidestCell)
{
    const Table table{{{"Name"}, {"Value", Align::Right}, {"Unit"}},
                      {{{"Temp", "27.0", "\u00b0C"}, Tone::On}, {{"Fan Speed", "2400", ""}, {}}}};
    const auto lines = linesOf(table);
    EXPECT_THAT(textsOf(lines), ElementsAre("Name       Value  Unit", "Temp        27.0  \u00b0C",
                                            "Fan Speed   2400"));
    EXPECT_EQ(lines[0].tone, Tone::Heading);
    EXPECT_EQ(lines[1].tone, Tone::On);
}

TEST(CtlTable, PartsAreCutBetweenLetters)
{
    EXPECT_EQ(widthOf("a\u00b0b"), 3u);
    EXPECT_EQ(visiblePart("a\u00b0bcd", 1, 2), "\u00b0b");
    EXPECT_EQ(visiblePart("abc", 5, 2), "");
    EXPECT_EQ(visiblePart("abc", 0, 99), "abc");
}

TEST(CtlTable, ScrollingEndsWithTheLastLine)
{
    EXPECT_EQ(clampedTop(5, 10, 4), 5u);
    EXPECT_EQ(clampedTop(9, 10, 4), 6u);
    EXPECT_EQ(clampedTop(9, 3, 4), 0u);
    EXPECT_EQ(clampedTop(9, 0, 0), 0u);
}

TEST(CtlView, BoardSharesUnitsInTheTitle)
{
    const View view = viewOf(
        shownBoard({channelRow(0, 100, {"on", "ramping-up"}), channelRow(1, 0, Json::array())}));
    EXPECT_THAT(view.titles,
                ElementsAre("Slot 3: M1, two channels",
                            "serial number 42, firmware 1.04, status: OK",
                            "crate time 1:02:05.3, 10 times as fast as the clock, paused"));
    EXPECT_THAT(textsOf(linesOf(view.main)), ElementsAre("Ch  Name  V [V]  I [uA]  Status",
                                                         " 0  CH0   100.0    0.50  on, ramping-up",
                                                         " 1  CH1     0.0    0.50  off"));
}

TEST(CtlView, MixedUnitsStandInTheCells)
{
    const View view = viewOf(
        shownBoard({channelRow(0, 1, Json::array()), channelRow(1, 2, Json::array(), "mA")}));
    EXPECT_THAT(textsOf(linesOf(view.main)),
                ElementsAre("Ch  Name  V [V]        I  Status", " 0  CH0     1.0  0.50 uA  off",
                            " 1  CH1     2.0  0.50 mA  off"));
}

TEST(CtlView, TonesOfChannels)
{
    const auto toneOf = [](const Json &words) {
        return viewOf(shownBoard(Json::array({channelRow(0, 1, words)}))).main.rows[0].tone;
    };
    EXPECT_EQ(toneOf({"on"}), Tone::On);
    EXPECT_EQ(toneOf({"on", "ramping-up"}), Tone::Ramping);
    EXPECT_EQ(toneOf({"ramping-down", "internal-trip"}), Tone::Tripped);
    EXPECT_EQ(toneOf({"external-trip"}), Tone::Tripped);
    EXPECT_EQ(toneOf({"unplugged", "internal-trip"}), Tone::Absent);
    EXPECT_EQ(toneOf(Json::array()), Tone::Plain);
}

TEST(CtlView, ChannelShowsLabelsAndDecimals)
{
    Json shown = channelRow(7, 1, {"on"});
    shown["slot"] = 3;
    shown["clock"] = {{"paused", false}, {"speed", 1.0}, {"uptime", 0.04}};
    shown["items"] = {{{"name", "VSet"},
                       {"type", "numeric"},
                       {"mode", "read-write"},
                       {"unit", "V"},
                       {"value", 12.5},
                       {"role", "voltage-set"},
                       {"decimals", 2}},
                      {{"name", "Pw"},
                       {"type", "on-off"},
                       {"mode", "read-write"},
                       {"unit", ""},
                       {"value", 1},
                       {"role", "power"},
                       {"labels", {"Off", "On"}}}};
    const View view = viewOf(shown);
    EXPECT_THAT(view.titles,
                ElementsAre("Channel 3:7, \"CH7\", status: on", "crate time 0:00:00.0"));
    EXPECT_THAT(textsOf(linesOf(view.main)),
                ElementsAre("Name   Value  Unit  Type     Mode        Role",
                            "VSet   12.50  V     numeric  read-write  voltage-set",
                            "Pw    1 (On)        on-off   read-write  power"));
}
