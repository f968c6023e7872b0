// What a site adds to a server's records.
#include "outputs.h"

#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>

#include "folder.h"
#include "recordFile.h"
#include "siteSupport.h"

namespace {

using namespace site;
using namespace siteTest;
using testing::ElementsAre;
using testing::HasSubstr;

std::string textOf(const Planned &planned, StaleLink link = StaleLink::State)
{
    EXPECT_THAT(planned.errors, ElementsAre());
    return databaseText(planned.plan.crates.at(0), planned.plan, link);
}

constexpr const char *smallSite = R"(site: Test
crates: [{name: HV}]
stale: INVALID
access: {groups: {OPERATE: {}, EXPERT: {}}}
defaults: {access: OPERATE}
channels:
  - channels: "0:0"
    name: "DC:W#"
    description: Say "W\#"
    limits: {VMon: {hihi: [20, INVALID], high: 15.5, low: -1, lolo: -2, hysteresis: 0.1},
             VSet: {high: 3}}
    drive: {VSet: [0, 1800]}
    access: {Pw: EXPERT}
    archive: {VMon: monitor 1, VSet: scan 60}
    states: {off: MINOR}
boards: [{slots: all, limits: {Temp: {high: 50}}}]
system: [{access: EXPERT}]
)";

// To accept: ZANTOSITE_ACCEPT=1 in the environment.
TEST(SiteDatabase, ASmallSiteIsAsItWas)
{
    const Planned planned(smallSite, {crateOf("HV", {2})});
    const std::string text = textOf(planned);
    const std::string golden = GOLDEN_DIR "/small.db";
    if (std::getenv("ZANTOSITE_ACCEPT") != nullptr)
        std::ofstream(golden) << text;
    EXPECT_EQ(readFile(golden), text);
    EXPECT_NO_THROW(readRecords(text));
}

TEST(SiteDatabase, WhatIsReadBackHasTheLimitsAndWhatIsWrittenTheRights)
{
    const Planned planned(smallSite, {crateOf("HV", {2})});
    const auto records = readRecords(textOf(planned));
    const auto &set = records.at("HV:00:000:VSet");
    const auto &back = records.at("HV:00:000:VSet:RBV");
    EXPECT_EQ("ao", set.type);
    EXPECT_EQ("ai", back.type);
    EXPECT_THAT(set.aliases, ElementsAre("DC:W0:VSet"));
    EXPECT_THAT(back.aliases, ElementsAre("DC:W0:VSet:RBV"));
    EXPECT_EQ("1800", set.field("DRVH"));
    EXPECT_EQ("", back.field("DRVH"));
    EXPECT_EQ("", set.field("HIGH"));
    EXPECT_EQ("3", back.field("HIGH"));
    EXPECT_EQ("OPERATE", set.field("ASG"));
    EXPECT_EQ("EXPERT", records.at("HV:00:000:Pw").field("ASG"));
    EXPECT_EQ("", back.field("ASG"));
    const auto &read = records.at("HV:00:000:VMon");
    EXPECT_EQ("20", read.field("HIHI"));
    EXPECT_EQ("INVALID", read.field("HHSV"));
    EXPECT_EQ("MINOR", read.field("HSV"));
    EXPECT_EQ("-2", read.field("LOLO"));
    EXPECT_EQ("0.1", read.field("HYST"));
    EXPECT_EQ(R"(Say \"W\\0\" VMon)", read.field("DESC"));
    EXPECT_EQ("HV:00:000:State:Word", records.at("HV:00:000:Status").field("FLNK"));
    EXPECT_EQ("", records.at("HV:00:001:Status").field("DESC"));
}

TEST(SiteDatabase, ReadBacksAreShownAsTheirSetPoints)
{
    auto crate = crateOf("HV", {1});
    crate.boards[0].channels[0].parameters[0].display = {R"(field(EGU, "Volt"))",
                                                         R"(field(PREC, "1"))"};
    crate.boards[0].channels[0].parameters[2].display = {R"(field(EGU, "Volt"))"};
    const auto records = readRecords(textOf({smallSite, {crate}}));
    EXPECT_EQ("Volt", records.at("HV:00:000:VSet:RBV").field("EGU"));
    EXPECT_EQ("1", records.at("HV:00:000:VSet:RBV").field("PREC"));
    EXPECT_EQ("", records.at("HV:00:000:VSet").field("EGU"));
    EXPECT_EQ("", records.at("HV:00:000:VMon").field("EGU"));
}

TEST(SiteDatabase, InfoTagsTellArchiversAndAutosave)
{
    const auto records = readRecords(textOf({smallSite, {crateOf("HV", {1})}}));
    EXPECT_EQ("monitor, 1, VAL", records.at("HV:00:000:VMon").infos.at("archive"));
    EXPECT_EQ("scan, 60, VAL", records.at("HV:00:000:VSet:RBV").infos.at("archive"));
    EXPECT_EQ("7, VAL", records.at("HV:00:000:VSet").infos.at("saveSet"));
    EXPECT_TRUE(records.at("HV:00:000:Pw").infos.empty());
}

// The server disables set-points itself.
TEST(SiteDatabase, WhatFollowsTheHardwareGetsStaleWithTheConnection)
{
    for (const auto link : {StaleLink::State, StaleLink::Database}) {
        const auto records = readRecords(textOf({smallSite, {crateOf("HV", {1})}}, link));
        for (const char *name : {"HV:00:000:VMon", "HV:00:000:VSet:RBV", "HV:00:000:Label:RBV",
                                 "HV:00:Temp", "HV:ModelName"}) {
            const auto &record = records.at(name);
            EXPECT_EQ(link == StaleLink::State ? "ZANTO:EventsLost" : "HV:Health:Lost",
                      record.field("SDIS"))
                << name;
            EXPECT_EQ("1", record.field("DISV"));
            EXPECT_EQ("INVALID", record.field("DISS"));
        }
        for (const char *name : {"HV:00:000:VSet", "HV:00:000:ClrTrip", "HV:ClearAlarm"})
            EXPECT_EQ("", records.at(name).field("SDIS")) << name;
    }
    const Planned keeping(siteOf("stale: keep\n"), {crateOf("HV", {1})});
    EXPECT_EQ(std::string::npos, textOf(keeping).find("SDIS"));
    EXPECT_EQ(std::string::npos, textOf(keeping).find("Lost"));
}

TEST(SiteDatabase, TextsOfPeopleCannotBreakOut)
{
    const Planned planned(
        siteOf("channels:\n  - {channels: all, description: \"\\\") }\\n\\\\\\\"\"}\n"),
        {crateOf("HV", {1})});
    const auto records = readRecords(textOf(planned));
    EXPECT_EQ(R"(\") }\\\" VSet)", records.at("HV:00:000:VSet").field("DESC"));
}

TEST(SiteDatabase, ACrateOfWhichNothingIsSaidHasItsStatesAndSaveSetAlone)
{
    const auto records = readRecords(textOf({siteOf(""), {crateOf("HV", {1})}}));
    EXPECT_EQ(0U, records.count("HV:00:000:VMon"));
    EXPECT_EQ(0U, records.count("HV:ModelName"));
    EXPECT_EQ(1U, records.count("HV:00:000:State"));
}

} // namespace
