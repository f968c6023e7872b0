// A site file by itself: every key, and every complaint with its line.
#include "sitefile.h"

#include <ctime>
#include <gmock/gmock.h>

#include "siteSupport.h"

namespace {

using namespace site;
using namespace siteTest;
using testing::ElementsAre;
using testing::HasSubstr;

SiteFile read(const std::string &yaml)
{
    auto reading = readSite(yaml);
    EXPECT_THAT(textsOf(reading.findings), ElementsAre());
    return std::move(reading.file);
}

std::vector<std::string> errorsOf(const std::string &yaml)
{
    return textsOf(readSite(yaml).findings);
}

TEST(SiteFileReading, AFileWithNothingButItsCrate)
{
    const auto file = read("site: Test\ncrates: [{name: HV}]\n");
    EXPECT_EQ("Test", file.title);
    ASSERT_EQ(1U, file.crates.size());
    EXPECT_EQ("HV", file.crates[0].name);
    EXPECT_EQ(2, file.crates[0].line);
    EXPECT_FALSE(file.stale);
    EXPECT_TRUE(file.entries.empty());
    for (const RoleWords &each : roleWords)
        EXPECT_EQ(each.usual, file.parameters.at(each.key));
}

// That of a crate stands with its name.
TEST(SiteFileReading, AnEntryForTheCrateHasNoDescription)
{
    EXPECT_THAT(errorsOf("site: Test\ncrates: [{name: HV}]\nsystem:\n  - {description: x}\n"),
                ElementsAre(HasSubstr("description")));
}

TEST(SiteFileReading, WindowsLineEndsAreLineEnds)
{
    const auto file = read("site: Test\r\ncrates:\r\n  - {name: HV}\r\nstale: INVALID\r\n");
    EXPECT_EQ("HV", file.crates.at(0).name);
    EXPECT_EQ(3, file.crates.at(0).line);
    EXPECT_TRUE(file.stale);
}

TEST(SiteFileReading, EveryKeyOfTheFile)
{
    const auto file = read(R"(site: Drift chamber
stale: INVALID
crates:
  - {name: HV1, description: first}
  - {name: HV2}
parameters: {voltage-set: V0Set, status: ""}
access:
  users: {shift: [anna, ben], nobody: []}
  hosts: {room: [pc-1.site.org]}
  groups:
    OPERATE: {users: [shift, nobody], hosts: [room], fields: all}
    ALL: {}
    VALUES: {fields: values}
)");
    EXPECT_TRUE(file.stale);
    EXPECT_EQ("first", file.crates.at(0).description);
    EXPECT_EQ("V0Set", file.parameters.at("voltage-set"));
    EXPECT_EQ("", file.parameters.at("status"));
    EXPECT_EQ("VMon", file.parameters.at("voltage"));
    EXPECT_THAT(file.users.at("shift"), ElementsAre("anna", "ben"));
    EXPECT_TRUE(file.users.at("nobody").empty());
    EXPECT_THAT(file.hosts.at("room"), ElementsAre("pc-1.site.org"));
    const auto &group = file.groups.at("OPERATE");
    EXPECT_THAT(group.users, ElementsAre("shift", "nobody"));
    EXPECT_THAT(group.hosts, ElementsAre("room"));
    EXPECT_TRUE(group.allFields);
    EXPECT_FALSE(file.groups.at("ALL").allFields);
    EXPECT_FALSE(file.groups.at("VALUES").allFields);
}

TEST(SiteFileReading, EveryKeyOfAnEntryForChannels)
{
    const auto file = read(siteOf(R"(channels:
  - crate: HV
    channels: [3:0-11, "4:1,3", 5, "all:7"]
    name: DC:W##
    first: 7
    description: "Wire ##"
    limits: {IMon: {hihi: [20, INVALID], high: 15, low: -1.5, lolo: [-2, NO_ALARM], hysteresis: 0.5}}
    drive: {VSet: [0, 1800]}
    access: {Pw: EXPERT, all: OPERATE}
    archive: {IMon: scan 60, VMon: monitor, VSet: monitor 0.5}
    states: {off: MINOR, unplugged: NO_ALARM}
    guidance: Call somebody
    delay: 2.5
    latching: false
    annunciating: true
)"));
    ASSERT_EQ(1U, file.entries.size());
    const Entry &entry = file.entries[0];
    EXPECT_EQ(EntryKind::Channels, entry.kind);
    EXPECT_EQ(4, entry.line);
    EXPECT_EQ("HV", entry.crate.value);
    const auto holds = [&](int slot, int channel) {
        for (const auto &range : entry.ranges.value)
            if (range.slots.hold(slot) && range.channels.hold(channel))
                return true;
        return false;
    };
    EXPECT_TRUE(holds(3, 0) && holds(3, 11) && holds(4, 3) && holds(5, 500) && holds(15, 7));
    EXPECT_FALSE(holds(3, 12) || holds(4, 0) || holds(4, 2) || holds(15, 8));
    EXPECT_EQ("DC:W##", entry.name->value);
    EXPECT_EQ(6, entry.name->line);
    EXPECT_EQ(7, entry.first);
    EXPECT_EQ("Wire ##", entry.description->value);
    const auto &limits = entry.limits.at("IMon").value;
    EXPECT_EQ(20, limits.hihi->limit);
    EXPECT_EQ(Severity::Invalid, limits.hihi->severity);
    EXPECT_EQ(Severity::Minor, limits.high->severity);
    EXPECT_EQ(-1.5, limits.low->limit);
    EXPECT_EQ(Severity::None, limits.lolo->severity);
    EXPECT_EQ(0.5, limits.hysteresis);
    EXPECT_EQ(1800, entry.drive.at("VSet").value.high);
    EXPECT_EQ("EXPERT", entry.access.at("Pw").value);
    EXPECT_EQ("OPERATE", entry.access.at("all").value);
    EXPECT_TRUE(entry.archive.at("IMon").value.scan);
    EXPECT_EQ(60, entry.archive.at("IMon").value.period);
    EXPECT_FALSE(entry.archive.at("VMon").value.scan);
    EXPECT_EQ(0.5, entry.archive.at("VSet").value.period);
    EXPECT_EQ(Severity::Minor, entry.states.at(State::Off).value);
    EXPECT_EQ(Severity::None, entry.states.at(State::Unplugged).value);
    EXPECT_EQ("Call somebody", entry.guidance->value);
    EXPECT_EQ(2.5, entry.delay->value);
    EXPECT_FALSE(entry.latching->value);
    EXPECT_TRUE(entry.annunciating->value);
}

TEST(SiteFileReading, EntriesForDefaultsBoardsAndSystem)
{
    const auto file = read(siteOf(R"(defaults: {access: OPERATE, archive: monitor 1}
boards: [{slots: 0-15, access: OPERATE, description: Fan tray}]
system: [{limits: {OutputLevel: {high: 5}}}]
)"));
    EXPECT_EQ("OPERATE", file.defaults.access.at(allParameters).value);
    EXPECT_EQ(1, file.defaults.archive.at(allParameters).value.period);
    ASSERT_EQ(2U, file.entries.size());
    EXPECT_EQ(EntryKind::Boards, file.entries[0].kind);
    EXPECT_EQ("Fan tray", file.entries[0].description->value);
    EXPECT_EQ(EntryKind::System, file.entries[1].kind);
    EXPECT_EQ(1U, file.entries[1].limits.size());
}

struct Bad {
    std::string yaml;   // behind the two lines of siteOf
    std::string reason; // "LINE: text"
};

void PrintTo(const Bad &bad, std::ostream *out) { *out << bad.yaml; }

class SiteFileError : public testing::TestWithParam<Bad> {};

TEST_P(SiteFileError, IsToldWithItsLine)
{
    const auto errors = errorsOf(siteOf(GetParam().yaml));
    ASSERT_FALSE(errors.empty());
    EXPECT_THAT(errors[0], HasSubstr(GetParam().reason));
    EXPECT_EQ(GetParam().reason.substr(0, 2), errors[0].substr(0, 2)) << errors[0];
    EXPECT_LT(errors[0].size(), 400U);
}

Bad entry(const std::string &text, const std::string &reason)
{
    return {"channels:\n  - channels: 0:0\n    " + text + "\n", "5: " + reason};
}

INSTANTIATE_TEST_SUITE_P(
    File, SiteFileError,
    testing::Values(
        Bad{"more: 1", "3: the site has no key \"more\" (known: site, stale, crates, "},
        Bad{"stale: yes", "3: \"stale\" is neither INVALID nor keep"},
        Bad{"stale: [INVALID]", "3: \"stale\" is a list, not a text"},
        Bad{"parameters: {volts: X}", "3: the parameters has no key \"volts\""},
        Bad{"parameters: {voltage-set: [X]}", "3: \"voltage-set\" is a list, not a text"},
        Bad{"parameters: VSet", "3: \"parameters\" is a single value, not the parameters"},
        Bad{"site: again", "3: key \"site\" appears twice"},
        Bad{"channels: {a: b}", "3: \"channels\" is a map, not a list"},
        Bad{"channels: 7", "3: \"channels\" is a single value, not a list"},
        Bad{"channels: [7]", "3: \"channels\" is a single value, not an entry for channels"},
        Bad{"channels:\n  - name: W", "4: \"channels\" is missing in an entry for channels"},
        Bad{"boards: [{access: A}]", "3: \"slots\" is missing in an entry for boards"},
        Bad{"boards: [{slots: 1, name: W}]", "3: an entry for boards has no key \"name\""},
        Bad{"boards: [{slots: 1, states: {}}]", "3: an entry for boards has no key \"states\""},
        Bad{"boards: [{slots: \"3:0-11\"}]", "3: \"3:0-11\" is not a range like 0-15"},
        Bad{"system: [{slots: 1}]", "3: an entry for the crate has no key \"slots\""},
        Bad{"defaults: [1]", "3: \"defaults\" is a list, not the defaults"},
        Bad{"defaults: {crate: HV}", "3: the defaults has no key \"crate\""},
        Bad{"defaults: {name: W}", "3: the defaults has no key \"name\""}));

INSTANTIATE_TEST_SUITE_P(
    Access, SiteFileError,
    testing::Values(
        Bad{"access: OPERATE", "3: \"access\" is a single value, not the access rights"},
        Bad{"access: {people: {}}", "3: the access rights has no key \"people\""},
        Bad{"access:\n  users: [a]", "4: \"users\" is a list, not a map"},
        Bad{"access:\n  users: {a: b}", "4: \"a\" is a single value, not a list"},
        Bad{"access:\n  users: {a: [[b]]}", "4: \"a\" is a list, not a text"},
        Bad{"access:\n  users:\n    a:\n      - two words",
            "6: \"two words\" cannot be a name in an access file"},
        Bad{"access:\n  users: {a: [\"\"]}", "4: \"\" cannot be a name"},
        Bad{"access:\n  users: {a b: []}", "4: \"a b\" cannot be a name"},
        Bad{"access:\n  users: {\"a\\\"\": []}", "4: \"a\"\" cannot be a name"},
        Bad{"access:\n  users: {ä: []}", "4: \"ä\" cannot be a name"},
        Bad{"access:\n  users: {a: [1234]}", "4: \"1234\" cannot be a name"},
        Bad{"access:\n  users: {UAG: []}", "4: \"UAG\" cannot be a name"},
        Bad{"access:\n  hosts: {a: [HAG]}", "4: \"HAG\" cannot be a name"},
        Bad{"access:\n  hosts: {a: [INPL]}", "4: \"INPL\" cannot be a name"},
        Bad{"access:\n  groups: {RULE: {}}", "4: \"RULE\" cannot be a name in an access file"},
        Bad{"access:\n  groups: {DEFAULT: {}}", "4: group DEFAULT is that of all records"},
        Bad{"access:\n  groups: {\"a)\": {}}", "4: \"a)\" cannot be a name"},
        Bad{"access:\n  groups: {" + std::string(29, 'G') + ": {}}", "4: \"GGG"},
        Bad{"access:\n  groups: {A: 5}", "4: \"A\" is a single value, not an access group"},
        Bad{"access:\n  groups: {A: {fields: some}}", "4: \"fields\" is neither values nor all"},
        Bad{"access:\n  groups: {A: {people: []}}", "4: an access group has no key \"people\""},
        Bad{"access:\n  groups: {A: {users: [x]}}", "4: no list of users is called \"x\""},
        Bad{"access:\n  groups: {A: {hosts: [x]}}", "4: no list of hosts is called \"x\""}));

INSTANTIATE_TEST_SUITE_P(
    Entry, SiteFileError,
    testing::Values(
        entry("more: 1", "an entry for channels has no key \"more\""),
        entry("name: [a]", "\"name\" is a list, not a text"),
        entry("name:", "\"name\" is empty, not a text"), entry("name: \"\"", "\"name\" is empty"),
        entry("crate: [HV]", "\"crate\" is a list"),
        entry("name: \"a#b#\"", "name \"a#b#\" has more than one run of #"),
        entry("first: 1", "\"first\" counts the channels of a name"),
        entry("first: 1.5", "\"first\" is not an integer from 0 to 1000000"),
        entry("first: -1", "\"first\" is not an integer from 0 to 1000000"),
        entry("first: 4294967296", "\"first\" is not an integer"),
        entry("description: {a: b}", "\"description\" is a map, not a text"),
        entry("limits: 5", "\"limits\" is a single value, not a map"),
        entry("limits: {IMon: 5}", "\"IMon\" is a single value, not alarm limits"),
        entry("limits: {IMon: {hihi: many}}", "\"hihi\" is not a number: \"many\""),
        entry("limits: {IMon: {hihi: .nan}}", "\"hihi\" is not a finite number"),
        entry("limits: {IMon: {hihi: .inf}}", "\"hihi\" is not a finite number"),
        entry("limits: {IMon: {hihi: \"5\"}}", "\"hihi\" is a text, not a number"),
        entry("limits: {IMon: {hihi: [1]}}", "\"hihi\" is not a limit with its severity"),
        entry("limits: {IMon: {hihi: [1, BAD]}}", "\"BAD\" is not one of NO_ALARM, MINOR"),
        entry("limits: {IMon: {hihi: [MAJOR, 1]}}", "\"hihi\" is not a number: \"MAJOR\""),
        entry("limits: {IMon: {upper: 1}}", "alarm limits has no key \"upper\""),
        entry("limits: {IMon: {hihi: 1, high: 2}}", "the limits of \"IMon\" are not in the order"),
        entry("limits: {IMon: {hysteresis: -1}}", "\"hysteresis\" is negative"),
        entry("limits: {IMon: {hysteresis: .inf}}", "\"hysteresis\" is not a finite number"),
        entry("drive: {VSet: 5}", "\"VSet\" is not two drive limits"),
        entry("drive: {VSet: [5]}", "\"VSet\" is not two drive limits"),
        entry("drive: {VSet: [5, 5]}", "the drive limits of \"VSet\" are not in ascending order"),
        entry("drive: {VSet: [0, .nan]}", "\"VSet\" is not a finite number"),
        entry("drive: {VSet: [0, x]}", "\"VSet\" is not a number: \"x\""),
        entry("access: [A]", "\"access\" is a list, not a map"),
        entry("access: {Pw: [A]}", "\"Pw\" is a list, not a text"),
        entry("archive: often", "\"often\" is not an archive policy like"),
        entry("archive: scan nan", "\"scan nan\" is not an archive policy"),
        entry("archive: scan 0", "\"scan 0\" is not an archive policy"),
        entry("archive: scan 1e9", "\"scan 1e9\" is not an archive policy"),
        entry("archive: scan 1 s", "\"scan 1 s\" is not an archive policy"),
        entry("archive: [scan]", "\"archive\" is a list, not a map"),
        entry("states: off", "\"states\" is a single value, not the states' severities"),
        entry("states: {asleep: MINOR}", "the states' severities has no key \"asleep\""),
        entry("states: {off: 1}", "\"1\" is not one of NO_ALARM, MINOR, MAJOR, INVALID"),
        entry("delay: soon", "\"delay\" is not a number: \"soon\""),
        entry("delay: -1", "\"delay\" is not from 0 to 3600 s"),
        entry("delay: 3601", "\"delay\" is not from 0 to 3600 s"),
        entry("delay: .nan", "\"delay\" is not a finite number"),
        entry("latching: 1", "\"latching\" is neither true nor false"),
        entry("annunciating: \"true\"", "\"annunciating\" is neither true nor false"),
        entry("guidance: [a]", "\"guidance\" is a list, not a text")));

Bad range(const std::string &text) { return {"channels:\n  - channels: " + text + "\n", "4: "}; }

INSTANTIATE_TEST_SUITE_P(Range, SiteFileError,
                         testing::Values(range("[]"), range("{}"), range("\"\""), range("x"),
                                         range("\"3:\""), range("\":3\""), range("\"3:0-\""),
                                         range("\"3:5-1\""), range("\"3:-1\""), range("\"3:0:1\""),
                                         range("\"3:0..5\""), range("\"4294967296:0\""),
                                         range("\"0:0-65536\""), range("\"0:0,,1\""),
                                         range("[[0]]"), range(std::string(100000, '7'))));

TEST(SiteFileErrors, EverythingIsFoundAtOnce)
{
    EXPECT_THAT(errorsOf("crates: [{name: a b}, {names: HV}, {name: X}, {name: X}]\nstale: 1\n"),
                ElementsAre("1: \"site\" is missing in the site",
                            "1: \"a b\" cannot be the name of a crate",
                            "1: \"name\" is missing in a crate",
                            "1: a crate has no key \"names\" (known: name, description)",
                            "1: crate \"X\" is in line 1 already",
                            "2: \"stale\" is neither INVALID nor keep"));
    EXPECT_THAT(errorsOf("site: T\n"), ElementsAre("1: \"crates\" is missing in the site"));
    // It names a folder.
    for (const char *name : {"/etc", "a/b", "..", ""})
        EXPECT_THAT(errorsOf(std::string("site: T\ncrates: [{name: \"") + name + "\"}]\n"),
                    ElementsAre(std::string("2: \"") + name + "\" cannot be the name of a crate"));
}

TEST(SiteFileErrors, WhatIsNoSiteFileAtAll)
{
    EXPECT_THAT(errorsOf(""), ElementsAre("0: is empty"));
    EXPECT_THAT(errorsOf("# nothing\n"), ElementsAre(HasSubstr("empty")));
    EXPECT_THAT(errorsOf("just words\n"), ElementsAre(HasSubstr("not the site")));
    EXPECT_THAT(errorsOf("site: T\n\tcrates: []\n"), ElementsAre(HasSubstr("2: is not YAML")));
    EXPECT_THAT(errorsOf("site: T\n\xff\n"), ElementsAre("2: is not valid UTF-8"));
    EXPECT_THAT(errorsOf(std::string("site: T\n\0", 9)),
                ElementsAre("2: contains a control character"));
    EXPECT_THAT(errorsOf(std::string((8 << 20) + 1, ' ')), ElementsAre("0: is larger than 8 MiB"));
}

TEST(SiteFileErrors, DeepAndEndlessFilesAreRefusedSoon)
{
    const std::clock_t start = std::clock(); // of this process alone
    EXPECT_FALSE(errorsOf(siteOf("channels: " + std::string(100000, '['))).empty());
    std::string bomb = "a: &a [x, x, x, x, x, x, x, x, x, x]\n";
    for (char letter = 'b'; letter < 'j'; ++letter) {
        const std::string alias = std::string(" *") + static_cast<char>(letter - 1) + ",";
        bomb += std::string(1, letter) + ": &" + letter + " [";
        for (int index = 0; index < 10; ++index)
            bomb += alias;
        bomb.back() = ']';
        bomb += "\n";
    }
    EXPECT_FALSE(errorsOf(siteOf(bomb + "channels: *i\n")).empty());
    // Each number before the colon with each behind it.
    std::string numbers = "0";
    for (int index = 0; index < 100000; ++index)
        numbers += ",0";
    EXPECT_THAT(errorsOf(siteOf("channels: [{channels: \"" + numbers + ":" + numbers + "\"}]\n")),
                ElementsAre("0: too much to read"));
    EXPECT_LT(std::clock() - start, CLOCKS_PER_SEC);
}

} // namespace
