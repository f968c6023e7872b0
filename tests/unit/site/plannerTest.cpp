// What a site file and its crates come to together.
#include <ctime>
#include <gmock/gmock.h>

#include "siteSupport.h"

namespace {

using namespace site;
using namespace siteTest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char *groups = "access: {groups: {OPERATE: {}, EXPERT: {}}}\n";

std::vector<std::string> errorsOf(const std::string &more, std::vector<Crate> crates)
{
    return Planned(siteOf(more), std::move(crates)).errors;
}

std::vector<std::string> errorsOf(const std::string &more)
{
    return errorsOf(more, {crateOf("HV", {4, 2})});
}

// VSet's hardware limits are 0 to 2000.
Crate limitedCrate()
{
    Crate crate = crateOf("HV", {4});
    for (Channel &channel : crate.boards[0].channels)
        for (Parameter &each : channel.parameters)
            if (each.name == "VSet") {
                each.low = 0;
                each.high = 2000;
            }
    return crate;
}

TEST(SitePlan, DefaultsHoldForEveryChannelAndEntriesOverrideThem)
{
    const Planned planned(siteOf(std::string(groups) + R"(defaults:
  access: {all: OPERATE, Pw: EXPERT}
  limits: {IMon: {}, VMon: {high: 5}}
  archive: monitor 2
  delay: 7
  states: {off: MINOR}
channels:
  - channels: 0:1
    access: {VSet: EXPERT}
    limits: {VMon: {high: 8}}
    archive: {VMon: scan 60}
    delay: 9
    states: {off: INVALID}
)"),
                          {[] {
                              Crate crate = crateOf("HV", {2});
                              for (Channel &channel : crate.boards[0].channels)
                                  channel.parameters[1].name = "IMon";
                              return crate;
                          }()});
    ASSERT_THAT(planned.errors, ElementsAre());
    const auto &usual = planned.channel(0, 0);
    const auto &own = planned.channel(0, 1);
    EXPECT_EQ("OPERATE", parameterOf(usual, "VSet").access);
    EXPECT_EQ("EXPERT", parameterOf(usual, "Pw").access);
    EXPECT_EQ("", parameterOf(usual, "VMon").access);
    EXPECT_EQ("EXPERT", parameterOf(own, "VSet").access);
    EXPECT_EQ("EXPERT", parameterOf(own, "Pw").access);
    EXPECT_EQ("OPERATE", parameterOf(own, "RUp").access);
    EXPECT_EQ(5, parameterOf(usual, "VMon").limits.high->limit);
    EXPECT_EQ(8, parameterOf(own, "VMon").limits.high->limit);
    EXPECT_EQ(2, parameterOf(usual, "VMon").archive->period);
    EXPECT_FALSE(parameterOf(usual, "ClrTrip").archive); // nothing to read
    EXPECT_TRUE(parameterOf(own, "VMon").archive->scan);
    EXPECT_EQ(2, parameterOf(own, "VSet").archive->period);
    EXPECT_EQ(7, usual.alarm.delay);
    EXPECT_EQ(9, own.alarm.delay);
    EXPECT_TRUE(usual.alarm.latching);
    EXPECT_EQ(Severity::Minor, usual.severities[0]);
    EXPECT_EQ(Severity::Invalid, own.severities[0]);
    EXPECT_EQ(Severity::Major, own.severities[State::Tripped]);
    // The defaults are those of channels alone.
    EXPECT_EQ("", planned.plan.crates[0].parameters.at(1).access);
}

TEST(SitePlan, BoardsAndTheCrateHaveEntriesOfTheirOwn)
{
    const Planned planned(siteOf(std::string(groups) + R"(boards:
  - {slots: 0, limits: {Temp: {hihi: 60}}, description: First, guidance: Look}
  - {slots: all, archive: scan 5}
system: [{access: EXPERT, latching: false}]
)"),
                          {crateOf("HV", {1, 1})});
    ASSERT_THAT(planned.errors, ElementsAre());
    const auto &crate = planned.plan.crates[0];
    EXPECT_EQ("First", crate.boards[0].description);
    EXPECT_EQ("Look", crate.boards[0].alarm.guidance);
    EXPECT_EQ(60, crate.boards[0].parameters[0].limits.hihi->limit);
    EXPECT_FALSE(crate.boards[1].parameters[0].limits.any());
    EXPECT_EQ(5, crate.boards[1].parameters[0].archive->period);
    EXPECT_EQ("EXPERT", crate.parameters.at(1).access);
    EXPECT_FALSE(crate.alarm.latching);
}

TEST(SitePlan, NamesAreThoseOfTheChannelsNumbersOrCountOn)
{
    const Planned planned(
        siteOf("channels:\n"
               "  - {channels: \"0:2-3\", name: \"A##\", description: \"Wire #\"}\n"
               "  - {channels: [\"0:0-1\", \"1:0\"], name: \"B#\", first: 9,\n"
               "     description: \"Pad ###\"}\n"
               "  - {channels: \"1:1\", name: C}\n"),
        {crateOf("HV", {4, 2})});
    ASSERT_THAT(planned.errors, ElementsAre());
    EXPECT_EQ("A02", planned.channel(0, 2).name);
    EXPECT_EQ("A03", planned.channel(0, 3).name);
    EXPECT_EQ("Wire 3", planned.channel(0, 3).description);
    EXPECT_EQ("B9", planned.channel(0, 0).name);
    EXPECT_EQ("B10", planned.channel(0, 1).name);
    EXPECT_EQ("B11", planned.channel(1, 0).name);
    EXPECT_EQ("Pad 011", planned.channel(1, 0).description);
    EXPECT_EQ("Pad 011 VSet", parameterOf(planned.channel(1, 0), "VSet").description);
    EXPECT_EQ("C", planned.channel(1, 1).name);
    EXPECT_EQ("", planned.channel(1, 1).description);
    EXPECT_EQ("C:VSet", parameterOf(planned.channel(1, 1), "VSet").alias);
    EXPECT_EQ("C:VSet:RBV", parameterOf(planned.channel(1, 1), "VSet").shownReadBack());
    EXPECT_EQ("C:State", planned.channel(1, 1).shownState());
}

TEST(SitePlan, EachCrateHasItsOwnEntries)
{
    const std::string yaml = "site: T\ncrates: [{name: A, description: first}, {name: B}]\n";
    const std::string entries = "channels:\n"
                                "  - {crate: B, channels: all, name: \"B#\"}\n"
                                "  - {crate: A, channels: \"0:0\", name: \"X#\"}\n";
    // In the order of the file, not of the lists.
    const Planned planned(yaml + entries, {crateOf("B", {1}), crateOf("A", {2})});
    ASSERT_THAT(planned.errors, ElementsAre());
    ASSERT_EQ(2U, planned.plan.crates.size());
    EXPECT_EQ("A", planned.plan.crates[0].name);
    EXPECT_EQ("first", planned.plan.crates[0].description);
    EXPECT_EQ("X0", planned.channel(0, 0).name);
    EXPECT_EQ("", planned.channel(0, 1).name);
    EXPECT_EQ("B0", planned.channel(0, 0, 1).name);
    const std::vector<Crate> both{crateOf("A", {1}), crateOf("B", {1})};
    EXPECT_THAT(Planned(yaml + "channels: [{channels: all}]\n", both).errors,
                ElementsAre("3: there are several crates: \"crate\" has to name one"));
    EXPECT_THAT(Planned(yaml + "channels:\n  - channels: all\n    crate: C\n", both).errors,
                ElementsAre("5: no crate is called \"C\""));
    EXPECT_THAT(Planned(yaml, {crateOf("A", {1})}).errors,
                ElementsAre("2: no PV list is that of crate \"B\"; given: A"));
    EXPECT_THAT(Planned(yaml, {both[0], both[1], crateOf("C", {1})}).errors,
                ElementsAre("0: has no crate \"C\", of which C.txt is"));
    EXPECT_THAT(Planned(yaml, {both[0], both[1], both[0]}).errors,
                ElementsAre("0: two lists are of a crate \"A\": A.txt and A.txt"));
    EXPECT_THAT(Planned(yaml + "channels:\n  - {crate: A, channels: all, name: \"X#\"}\n"
                               "  - {crate: B, channels: all, name: \"X#\"}\n",
                        both)
                    .errors,
                testing::Contains("5: name \"X0:VSet\" is taken twice, first in line 4"));
}

TEST(SitePlan, AFileForAnotherCrateIsRefused)
{
    const auto errors = errorsOf("", {crateOf("XX", {1})});
    EXPECT_THAT(errors, ElementsAre("0: has no crate \"XX\", of which XX.txt is",
                                    "2: no PV list is that of crate \"HV\"; given: XX"));
}

TEST(SitePlan, RolesAreFoundByTheSitesNames)
{
    const Planned usual(siteOf(""), {crateOf("HV", {1})});
    const auto &roles = usual.channel(0, 0).roles;
    EXPECT_EQ("VSet", roles.voltageSet->parameter->name);
    EXPECT_EQ("SVMax", roles.voltageLimit->parameter->name);
    EXPECT_EQ("ClrTrip", roles.clearTrip->parameter->name);
    EXPECT_EQ(nullptr, roles.rampDown);
    EXPECT_TRUE(usual.channel(0, 0).hasState);
    const Planned own(siteOf("parameters: {voltage-set: SVMax, status: \"\"}\n"),
                      {crateOf("HV", {1})});
    EXPECT_EQ("SVMax", own.channel(0, 0).roles.voltageSet->parameter->name);
    EXPECT_EQ(nullptr, own.channel(0, 0).roles.status);
    EXPECT_FALSE(own.channel(0, 0).hasState);
}

TEST(SitePlan, AChannelThatHasAStateAlreadyGetsNone)
{
    Crate crate = crateOf("HV", {2});
    auto &parameter = crate.boards[0].channels[1].parameters[0];
    parameter.name = "State";
    parameter.record = "HV:00:001:State";
    const Planned planned(siteOf("channels: [{channels: all, name: \"W#\"}]\n"), {crate});
    ASSERT_THAT(planned.errors, ElementsAre());
    EXPECT_TRUE(planned.channel(0, 0).hasState);
    EXPECT_FALSE(planned.channel(0, 1).hasState);
    EXPECT_THAT(planned.notes, ElementsAre(HasSubstr("HV:00:001 has a parameter called State")));
}

// Loaded, such a record would end the loading of the site's database.
TEST(SitePlan, ASumOverStatesTakesNoParametersName)
{
    Crate crate = crateOf("HV", {1});
    Parameter taken;
    taken.type = "ai";
    taken.readable = true;
    for (const char *record : {"HV:ChannelsOn", "HV:00:Channels"}) {
        taken.record = record;
        taken.name = taken.record.substr(taken.record.rfind(':') + 1);
        (taken.name == "Channels" ? crate.boards[0].parameters : crate.parameters).push_back(taken);
    }
    EXPECT_THAT(errorsOf("", {crate}),
                ElementsAre(HasSubstr("HV:00 has a parameter called Channels, as a sum"),
                            HasSubstr("HV has a parameter called ChannelsOn, as a sum")));
    EXPECT_THAT(errorsOf("parameters: {status: \"\"}\n", {crate}), ElementsAre());
}

struct Bad {
    std::string yaml;
    std::string reason;
};

void PrintTo(const Bad &bad, std::ostream *out) { *out << bad.yaml; }

class SitePlanError : public testing::TestWithParam<Bad> {};

TEST_P(SitePlanError, IsToldWithItsLine)
{
    const auto errors = errorsOf(GetParam().yaml, {limitedCrate()});
    EXPECT_THAT(errors,
                testing::Contains(testing::AllOf(HasSubstr(GetParam().reason.substr(3)),
                                                 StartsWith(GetParam().reason.substr(0, 3)))));
}

Bad entry(const std::string &text, const std::string &reason)
{
    return {"channels:\n  - channels: all\n    " + text + "\n", "5: " + reason};
}

Bad defaults(const std::string &text, const std::string &reason)
{
    return {"defaults:\n  " + text + "\n", "4: " + reason};
}

const std::string long40 = std::string(36, 'x');

INSTANTIATE_TEST_SUITE_P(
    , SitePlanError,
    testing::Values(
        Bad{"channels: [{channels: 1}]", "3: crate \"HV\" has no board in slot 1"},
        Bad{"channels: [{channels: \"0:0-4\"}]", "3: crate \"HV\" has no channel HV:00:004"},
        Bad{"channels: [{channels: \"0:0-65535\"}]", "3: crate \"HV\" has no channel HV:00:004"},
        Bad{"channels: [{channels: \"all:4\"}]", "3: crate \"HV\" has no channel 4"},
        Bad{"channels: [{channels: 0-65535}]", "3: crate \"HV\" has no board in slot 1"},
        Bad{"boards: [{slots: 0-65535}]", "3: crate \"HV\" has no board in slot 1"},
        Bad{"boards: [{slots: [0, 7]}]", "3: crate \"HV\" has no board in slot 7"},
        Bad{"boards: [{slots: 0, crate: XX}]", "3: no crate is called \"XX\""},
        entry("access: NOBODY", "no access group is called \"NOBODY\""),
        entry("limits: {Other: {high: 1}}", "HV:00:000 has no parameter \"Other\""),
        entry("limits: {Pw: {high: 1}}",
              "HV:00:000 has no parameter \"Pw\" that can have alarm limits"),
        entry("drive: {VMon: [0, 1]}",
              "HV:00:000 has no parameter \"VMon\" that can have drive limits"),
        Bad{"access: {groups: {A: {}}}\nchannels: [{channels: all, access: {VMon: A}}]",
            "4: HV:00:000 has no parameter \"VMon\" that can be written"},
        entry("archive: {ClrTrip: monitor}",
              "HV:00:000 has no parameter \"ClrTrip\" that can be read"),
        entry("limits: {VSet: {high: 2001}}",
              "HV:00:000 has hardware limits 0 to 2000 of VSet; 2001 is beyond them"),
        entry("limits: {VSet: {lolo: -1}}", "HV:00:000 has hardware limits 0 to 2000 of VSet"),
        entry("limits: {all: {high: 2001}}", "HV:00:000 has hardware limits 0 to 2000 of VSet"),
        entry("drive: {VSet: [-1, 100]}", "HV:00:000 has hardware limits 0 to 2000 of VSet"),
        entry("drive: {all: [0, 2001]}", "HV:00:000 has hardware limits 0 to 2000 of VSet"),
        entry("name: W", "name \"W:VSet\" is taken twice"),
        entry("name: \"HV:00:###\"", "name \"HV:00:000:VSet\" is that of a record"),
        entry("name: \"a b#\"", "name \"a b0:VSet\" holds what no record name can"),
        entry("name: 'a\"#'", "name \"a\"0:VSet\" holds what no record name can"),
        entry("name: " + std::string(60, 'x') + "##",
              "name \"" + std::string(60, 'x') + "00:VSet\" is longer than 60 bytes"),
        entry("description: " + long40, "description \"" + long40 + " VSet\" is longer than 40"),
        entry("description: \"$(X)\"", "a description cannot hold a dollar"),
        defaults("limits: {Other: {high: 1}}", "no channel has a parameter \"Other\""),
        defaults("drive: {Other: [0, 1]}", "no channel has a parameter \"Other\""),
        defaults("access: {Other: A}", "no channel has a parameter \"Other\""),
        defaults("archive: {Other: monitor}", "no channel has a parameter \"Other\""),
        defaults("limits: {Pw: {high: 1}}",
                 "no channel has a parameter \"Pw\" that can have alarm limits"),
        defaults("access: {VMon: A}", "no channel has a parameter \"VMon\" that can be written"),
        defaults("access: NOBODY", "no access group is called \"NOBODY\""),
        defaults("limits: {VSet: {high: 2001}}", "HV:00:000 has hardware limits 0 to 2000")));

TEST(SitePlanErrors, ALongNameThatJustFitsIsTaken)
{
    const std::string name(60 - std::string(":SVMax:RBV").size() - 1, 'x');
    EXPECT_THAT(errorsOf("channels: [{channels: \"0:0\", name: \"" + name + "#\"}]\n"),
                ElementsAre());
    EXPECT_THAT(errorsOf("channels: [{channels: \"0:0\", name: \"x" + name + "#\"}]\n").size(),
                testing::Gt(0U));
    EXPECT_THAT(errorsOf("channels:\n  - channels: \"0:0\"\n    description: " +
                         std::string(32, 'd') + "\n"),
                ElementsAre());
}

// One mistake is one message, however many channels it concerns.
TEST(SitePlanErrors, AMistakeIsToldOnce)
{
    for (const char *text :
         {"archive: {Other: monitor}", "limits: {Pw: {high: 1}}", "limits: {VSet: {high: 2001}}",
          "drive: {VSet: [0, 2001]}", "access: NOBODY"})
        EXPECT_EQ(1U, errorsOf(std::string("channels: [{channels: all, ") + text + "}]\n",
                               {limitedCrate()})
                          .size())
            << text;
}

TEST(SitePlanErrors, TwoEntriesMustNotSayTheSame)
{
    EXPECT_THAT(errorsOf("channels:\n  - channels: \"0:0-2\"\n    delay: 1\n"
                         "  - channels: \"0:1-3\"\n    delay: 2\n"),
                ElementsAre("7: HV:00:001 has a delay in line 5 already"));
    EXPECT_THAT(errorsOf("channels:\n  - {channels: all, limits: {VMon: {high: 1}}}\n"
                         "  - {channels: 1, limits: {VMon: {low: 0}}}\n"),
                ElementsAre("5: HV:01:000 has alarm limits in line 4 already"));
    EXPECT_THAT(errorsOf("channels:\n  - {channels: all, states: {off: MINOR}}\n"
                         "  - {channels: 1, states: {off: MAJOR}}\n"),
                ElementsAre("5: HV:01:000 has this state's severity in line 4 already"));
    EXPECT_THAT(errorsOf("system:\n  - {delay: 1}\n  - {delay: 1}\n"),
                ElementsAre("5: HV has a delay in line 4 already"));
    // Different things, or one of all and one of a parameter by its name
    EXPECT_THAT(errorsOf(std::string(groups) + "channels:\n"
                                               "  - {channels: all, access: OPERATE, delay: 1}\n"
                                               "  - {channels: 1, access: {Pw: EXPERT}}\n"),
                ElementsAre());
}

TEST(SitePlanErrors, AThousandOverlappingRangesAreCheckedInTime)
{
    const std::clock_t start = std::clock(); // of this process alone
    std::string ranges = "channels:\n  - delay: 1\n    channels: [\"0:0-47\"";
    std::string entries = "channels:\n";
    for (int index = 0; index < 1000; ++index) {
        ranges += ", \"" + std::to_string(index % 16) + ":0-" + std::to_string(index % 48) + "\"";
        entries += "  - {channels: \"0-15:0-47\", limits: {VMon: {high: 1}}, delay: 1}\n";
    }
    const Crate crate = crateOf("HV", std::vector<int>(16, 48));
    EXPECT_THAT(errorsOf(ranges + "]\n", {crate}), ElementsAre());
    EXPECT_LT(errorsOf(entries, {crate}).size(), 2100U);
    EXPECT_LT(std::clock() - start, CLOCKS_PER_SEC);
}

} // namespace
