// What is wrong in a description is found, with its line.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <set>
#include <unistd.h>

#include "description/cratefile.h"
#include "description/document.h"

using namespace sim;
using testing::HasSubstr;

namespace {

// One line each for what the cases replace.
const std::vector<std::string> good = {
    "name: Test",                                                                          // 1
    "users:",                                                                              // 2
    "  - {name: admin, password: admin}",                                                  // 3
    "properties:",                                                                         // 4
    "  - {name: Prop, type: text, mode: read}",                                            // 5
    "commands:",                                                                           // 6
    "  - {name: Kill, action: kill-all}",                                                  // 7
    "models:",                                                                             // 8
    "  M:",                                                                                // 9
    "    board:",                                                                          // 10
    "      - {name: Temp, type: numeric, mode: read, minimum: 0, maximum: 9, unit: none}", // 11
    "    channel:",                                                                        // 12
    "      - {name: VSet, type: numeric, mode: read, minimum: 0, maximum: 9, unit: volt}", // 13
    "      - {name: Pw, type: on-off, mode: read, on-label: Up, off-label: Down}",         // 14
    "slots: 4",                                                                            // 15
    "boards:",                                                                             // 16
    "  - slot: 0",                                                                         // 17
    "    model: M",                                                                        // 18
    "    description: one",                                                                // 19
    "    serial: 1",                                                                       // 20
    "    firmware: 1.04",                                                                  // 21
    "    channels: 4",                                                                     // 22
    "    names: A#",                                                                       // 23
    "    start: {Temp: 5}",                                                                // 24
    "    loads:",                                                                          // 25
    "      - {channels: 0-1, ohm: 5}",                                                     // 26
    "      - {channels: 2, ohm: 5}",                                                       // 27
    "    settings:",                                                                       // 28
    "      - {channels: 1, start: {VSet: 2}}",                                             // 29
    "  - {slot: 1, model: M, channels: 1}",                                                // 30
    "faults:",                                                                             // 31
    "  - {kind: refuse-logins, count: 1}",                                                 // 32
};

std::string joined(const std::vector<std::string> &lines)
{
    std::string text;
    for (const auto &line : lines)
        text += line + "\n";
    return text;
}

std::vector<std::string> check(const std::string &yaml)
{
    std::vector<std::string> texts;
    for (const auto &finding : readCrate(yaml).findings)
        texts.push_back(findingText("F", finding));
    return texts;
}

TEST(CrateCheck, TheGoodOneIsInOrder) { EXPECT_THAT(check(joined(good)), testing::IsEmpty()); }

struct Case {
    const char *name;
    int line; // that is replaced
    const char *text;
    const char *expected; // the only finding, or its beginning
};

const Case cases[] = {
    {"unknown key", 19, "    colour: red", "F:19: a board has no key \"colour\" (known: slot, "},
    {"unknown key on top", 1, "name: A\nNAME: B", "F:2: a crate description has no key \"NAME\""},
    {"unknown key of a user", 3, "  - {name: a, password: b, x: 1}",
     "F:3: a user has no key \"x\""},
    {"unknown key of a load", 27, "      - {channels: 2, omh: 5}",
     "F:27: a load has no key \"omh\""},
    {"unknown key of a setting", 29, "      - {channels: 1, ohm: 5}",
     "F:29: a setting has no key \"ohm\""},
    {"unknown key of a model", 9, "  M:\n    colour: red", "F:10: a model has no key \"colour\""},
    {"duplicate key", 20, "    model: M", "F:20: key \"model\" appears twice"},
    {"duplicate key in a flow map", 26, "      - {channels: 0, ohm: 1, ohm: 2}",
     "F:26: key \"ohm\" appears twice"},
    {"key that is no text", 19, "    [a]: b", "F:19: key is a list, not a text"},
    {"list for a text", 1, "name: [a]", "F:1: \"name\" is a list, not a text"},
    {"nothing for a text", 1, "name:", "F:1: \"name\" is empty, not a text"},
    {"map for a list", 4, "properties: {a: b}\nx:", "F:4: \"properties\" is a map, not a list"},
    {"text for a number", 20, "    serial: \"1\"",
     "F:20: \"serial\" is not an integer from 0 to 65535"},
    {"fraction for an integer", 20, "    serial: 1.5", "F:20: \"serial\" is not an integer from 0"},
    {"number too wide", 20, "    serial: 65536",
     "F:20: \"serial\" is not an integer from 0 to 65535"},
    {"text for a limit", 13,
     "      - {name: VSet, type: numeric, mode: read, minimum: low, maximum: 9, unit: volt}",
     "F:13: \"minimum\" is not a number: \"low\""},
    {"limit that is none", 13,
     "      - {name: VSet, type: numeric, mode: read, minimum: -.inf, maximum: 9, unit: volt}",
     "F:13: model \"M\", channel parameter \"VSet\": limit is not a finite number"},
    {"limits reversed", 13,
     "      - {name: VSet, type: numeric, mode: read, minimum: 9, maximum: 0, unit: volt}",
     "F:13: model \"M\", channel parameter \"VSet\": limits are reversed"},
    {"duplicate parameter", 11,
     "      - {name: A, type: text, mode: read}\n      - {name: A, type: text, mode: read}\n"
     "      - {name: Temp, type: numeric, mode: read, minimum: 0, maximum: 9, unit: none}",
     "F:12: model \"M\", board parameter \"A\": name is used twice"},
    {"name too long", 5, "  - {name: P2345678901234567890, type: text, mode: read}",
     "F:5: property \"P2345678901234567890\": name is longer than 19 characters"},
    {"parameter name too long", 14, "      - {name: P234567890, type: text, mode: read}",
     "F:14: model \"M\", channel parameter \"P234567890\": name is longer than 9 characters"},
    {"channel names too long", 23, "    names: CHANNELNAME#",
     "F:23: slot 0, channel 0: name is longer than 11 characters (and 3 more like it)"},
    {"one channel name too long", 23, "    names: [a, b,\n      CHANNELNAME2, c]",
     "F:24: slot 0, channel 2: name is longer than 11 characters"},
    {"too few names", 23, "    names: [a, b]", "F:23: 2 names for 4 channels"},
    {"names far too long", 23,
     "    names: NNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNNN"
     "NNNNNNNNNNNNNNNNNNNN#",
     "F:23: \"names\" is longer than 100 bytes"},
    {"names without a number", 23, "    names: abc",
     "F:23: \"names\" is neither a list nor a text"},
    {"names with two numbers", 23, "    names: a#b#", "F:23: \"names\" is neither a list nor a te"},
    {"type missing", 14, "      - {name: Pw, mode: read}", "F:14: \"type\" is missing in a para"},
    {"type unknown", 14, "      - {name: Pw, mode: read, type: float}",
     "F:14: \"float\" is not one of numeric, on-off, channel-status, board-status, integer, text, "
     "enumeration, nor the number of another code"},
    {"type by the code of a word", 14, "      - {name: Pw, mode: read, type: 5}",
     "F:14: \"5\" is not one of numeric,"},
    {"numeric without limits", 13, "      - {name: VSet, type: numeric, mode: read, unit: volt}",
     "F:13: \"minimum\" is missing in a parameter"},
    {"numeric without unit", 13,
     "      - {name: VSet, type: numeric, mode: read, minimum: 0, maximum: 9}",
     "F:13: \"unit\" is missing in a parameter"},
    {"numeric with labels", 13,
     "      - {name: VSet, type: numeric, mode: read, minimum: 0, maximum: 9, unit: volt, "
     "on-label: x}",
     "F:13: \"on-label\" does not belong to the type numeric"},
    {"on-off without a label", 14, "      - {name: Pw, type: on-off, mode: read, on-label: Up}",
     "F:14: \"off-label\" is missing in a parameter"},
    {"on-off with a limit", 14,
     "      - {name: Pw, type: on-off, mode: read, on-label: Up, off-label: Down, maximum: 1}",
     "F:14: \"maximum\" does not belong to the type on-off"},
    {"text with a unit", 14, "      - {name: Pw, type: text, mode: read, unit: volt}",
     "F:14: \"unit\" does not belong to the type text"},
    {"enumeration with decimals", 14,
     "      - {name: Pw, type: enumeration, mode: read, minimum: 0, maximum: 1, decimals: 1}",
     "F:14: \"decimals\" does not belong to the type enumeration"},
    {"unknown type with limits", 14, "      - {name: Pw, type: 9, mode: read, minimum: 0}",
     "F:14: \"minimum\" does not belong to the type 9"},
    {"mode unknown", 14, "      - {name: Pw, type: text, mode: rw}",
     "F:14: \"rw\" is not one of read,"},
    {"mode missing", 14, "      - {name: Pw, type: text}", "F:14: \"mode\" is missing in a param"},
    {"unit beyond 16 bits", 13,
     "      - {name: VSet, type: numeric, mode: read, minimum: 0, maximum: 9, unit: 65536}",
     "F:13: \"65536\" is not one of none, ampere, volt"},
    {"role unknown", 14, "      - {name: Pw, type: text, mode: read, role: boss}",
     "F:14: \"boss\" is not one of none, voltage-set"},
    {"role of the other level", 11,
     "      - {name: Temp, type: numeric, mode: read, role: current, minimum: 0, maximum: 9, "
     "unit: none}",
     "F:11: model \"M\", board parameter \"Temp\": role belongs to the other level"},
    {"role of another type", 14, "      - {name: Pw, type: text, mode: read, role: power}",
     "F:14: model \"M\", channel parameter \"Pw\": role does not fit the type"},
    {"property role of another type", 5,
     "  - {name: Prop, type: real, mode: read, role: host-address}",
     "F:5: property \"Prop\": role does not fit the type"},
    {"action unknown", 7, "  - {name: Kill, action: kill}",
     "F:7: \"kill\" is not one of none, kill-"},
    {"start of another type", 5, "  - {name: Prop, type: uint16, mode: read, start: x}",
     "F:5: \"start\" is not an integer from 0 to 4294967295"},
    {"start out of range", 5, "  - {name: Prop, type: uint16, mode: read, start: 65536}",
     "F:5: property \"Prop\": start value is out of range"},
    {"start that is no label", 14,
     "      - {name: Pw, type: on-off, mode: read, on-label: Up, off-label: Down, start: Left}",
     "F:14: \"start\" is neither 0, 1, false, true nor one of its labels"},
    {"board start out of range", 24, "    start:\n      Temp: 10",
     "F:25: slot 0, start value of \"Temp\": start value is out of range"},
    {"board start unknown", 24, "    start: {Tmp: 5}",
     "F:24: model \"M\" has no parameter \"Tmp\" here"},
    {"channel start out of range", 29, "      - {channels: 0-2, start: {VSet: 10}}",
     "F:29: slot 0, channel 0, start value of \"VSet\": start value is out of range (and 2 more "
     "like it)"},
    {"slots missing", 15, "", "F:1: \"slots\" is missing in a crate description"},
    {"slots beyond 16 bits", 15, "slots: 65536",
     "F:15: \"slots\" is not an integer from 0 to 65535"},
    {"slot twice", 17, "  - slot: 1", "F:30: slot 1 already has a board"},
    {"slot beyond the crate", 17, "  - slot: 4", "F:17: slot 4 does not exist, the crate has 4"},
    {"negative slot", 17, "  - slot: -1", "F:17: \"slot\" is not an integer from 0 to 65535"},
    {"slot missing", 30, "  - {model: M, channels: 1}", "F:30: \"slot\" is missing in a board"},
    {"no channels", 30, "  - {slot: 1, model: M, channels: 0}",
     "F:30: \"channels\" is not an integer from 1 to 65535"},
    {"channels beyond 16 bits", 30, "  - {slot: 1, model: M, channels: 65536}",
     "F:30: \"channels\" is not an integer from 1 to 65535"},
    {"model unknown", 18, "    model: N", "F:18: slot 0: model \"N\" is not described"},
    {"model missing", 30, "  - {slot: 1, channels: 1}", "F:30: \"model\" is missing in a board"},
    {"firmware without a point", 21, "    firmware: 104", "F:21: \"firmware\" is not two numbers"},
    {"firmware beyond a byte", 21, "    firmware: 1.256", "F:21: \"firmware\" is not two numbers"},
    {"firmware with a sign", 21, "    firmware: -1.4", "F:21: \"firmware\" is not two numbers"},
    {"load beyond the board", 27, "      - {channels: 2-4, ohm: 5}",
     "F:27: channel 4 does not exist, the board has 4"},
    {"loads overlap", 27, "      - {channels: 1-2, ohm: 5}", "F:27: channel 1 is named twice"},
    {"range overlaps itself", 27, "      - {channels: [2, 2-3], ohm: 5}",
     "F:27: channel 2 is named twice"},
    {"range reversed", 27, "      - {channels: 3-2, ohm: 5}",
     "F:27: \"3-2\" is neither \"all\" nor channels like 3 or 0-11"},
    {"range of words", 27, "      - {channels: most, ohm: 5}", "F:27: \"most\" is neither \"all\""},
    {"load without channels", 27, "      - {ohm: 5}", "F:27: \"channels\" is missing in a load"},
    {"load of nothing", 27, "      - {channels: 2, ohm: 0}",
     "F:27: slot 0, channel 2: load is not above 0 ohm"},
    {"load below nothing", 26, "      - {channels: 0-1, ohm: -5}",
     "F:26: slot 0, channel 0: load is not above 0 ohm (and 1 more like it)"},
    {"user twice", 3, "  - {name: a, password: b}\n  - {name: a, password: b}",
     "F:4: user \"a\": name is used twice"},
    {"user without password", 3, "  - {name: a}", "F:3: \"password\" is missing in a user"},
    {"fault unknown", 32, "  - {kind: refuse}", "F:32: \"kind\" is not one of refuse-logins,"},
    {"fault with a field of another", 32, "  - {kind: refuse-logins, bytes: 3}",
     "F:32: the fault \"refuse-logins\" has no field \"bytes\""},
    {"fault that no answer can have", 32,
     "  - {kind: answer, operation: GetChParam, answer: no-end}",
     "F:32: no answer of \"GetChParam\" can be corrupt that way"},
    {"fault with a list", 32, "  - {kind: [fail]}", "F:32: \"kind\" is a list, not a single value"},
    {"fault that is no map", 32, "  - fail", "F:32: \"faults\" is a single value, not a fault"},
    {"second document", 32, "  - {kind: refuse-logins}\n---\nname: B",
     "F:33: a second document begins"},
    {"alias of nothing", 1, "name: *nobody", "F:1: is not YAML: "},
    {"alias inside of itself", 7, "  - &c {name: Kill, action: *c}",
     "F:7: \"action\" is a map, not a text"},
    {"merge of a text", 19, "    <<: abc", "F:19: \"<<\" takes a map or a list of maps"},
    {"tag", 1, "name: !secret abc", "F:1: tag \"!secret\" is not supported"},
    {"tab", 19, "\tdescription: one", "F:19: is not YAML: "},
    {"bracket left open", 26, "      - {channels: 0, ohm: 5", "F:"},
    {"not UTF-8", 19, "    description: \xff", "F:19: is not valid UTF-8"},
    {"end of transmission", 19, "    description: \x04", "F:19: contains a control character"},
};

std::string testName(const testing::TestParamInfo<Case> &info)
{
    std::string name;
    for (const char *at = info.param.name; *at != '\0'; ++at)
        name += std::isalnum(static_cast<unsigned char>(*at)) != 0 ? *at : '_';
    return name;
}

class CrateCheckCase : public testing::TestWithParam<Case> {};

TEST_P(CrateCheckCase, IsFound)
{
    auto lines = good;
    lines[static_cast<size_t>(GetParam().line) - 1] = GetParam().text;
    const auto findings = check(joined(lines));
    ASSERT_FALSE(findings.empty());
    EXPECT_THAT(findings[0], testing::StartsWith(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(All, CrateCheckCase, testing::ValuesIn(cases), testName);

// Whether anything follows from the one mistake that a case makes.
TEST(CrateCheck, OneMistakeIsOneFinding)
{
    for (const auto &each : cases) {
        auto lines = good;
        lines[static_cast<size_t>(each.line) - 1] = each.text;
        const auto findings = check(joined(lines));
        const std::set<std::string> more = {"map for a list", "numeric without limits"};
        EXPECT_EQ(findings.size() == 1, more.count(each.name) == 0) << each.name << "\n"
                                                                    << joined(findings);
    }
}

TEST(CrateCheck, EverythingIsFoundAtOnceByLine)
{
    auto lines = good;
    lines[26] = "      - {channels: 1, ohm: 0}";
    lines[20] = "    firmware: x";
    lines[19] = "    colour: red";
    lines[2] = "  - {name: a}";
    EXPECT_THAT(check(joined(lines)),
                testing::ElementsAre(HasSubstr("F:3: \"password\""),
                                     HasSubstr("F:20: a board has no key \"colour\""),
                                     HasSubstr("F:21: \"firmware\""),
                                     HasSubstr("F:27: channel 1 is named twice")));
}

TEST(CrateCheck, TextsThatAreNoDescription)
{
    EXPECT_THAT(check(""), testing::ElementsAre("F: is empty"));
    EXPECT_THAT(check("# nothing\n"), testing::ElementsAre("F: is empty"));
    EXPECT_THAT(check("hello"),
                testing::ElementsAre("F:1: \"the document\" is a single value, not a crate "
                                     "description"));
    EXPECT_THAT(check("- a\n"), testing::ElementsAre(HasSubstr("is a list, not a crate")));
    EXPECT_THAT(check(std::string("\x7f"
                                  "ELF\0\0",
                                  6)),
                testing::ElementsAre("F:1: contains a control character"));
    EXPECT_THAT(check("{\"name\": \"a\", "), testing::ElementsAre(HasSubstr("is not YAML")));
    EXPECT_THAT(check("<xml>\n  <a>: </b>\n</xml>\n"), testing::Not(testing::IsEmpty()));
    EXPECT_THAT(check(std::string(maxYamlSize + 1, ' ')),
                testing::ElementsAre("F: is larger than 8 MiB"));
}

TEST(CrateCheck, BombsAreBounded)
{
    EXPECT_THAT(check(std::string(100000, '[')), testing::ElementsAre(HasSubstr("is not YAML")));
    EXPECT_THAT(check("name: " + std::string(5000, '{')),
                testing::ElementsAre(HasSubstr("is not YAML")));
    std::string many = "users:\n";
    for (int count = 0; count < 300000; ++count)
        many += "- a\n";
    EXPECT_THAT(check(many), testing::ElementsAre(HasSubstr("more than 250000 values")));
    std::string deep = "- &a0 [a]\n";
    for (int count = 1; count < 60000; ++count)
        deep += "- &a" + std::to_string(count) + " [*a" + std::to_string(count - 1) + "]\n";
    EXPECT_THAT(check(deep), testing::ElementsAre(HasSubstr("is a list, not a crate")));
}

TEST(CrateCheck, AliasesCannotMakeItEndless)
{
    std::string text = "name: x\nslots: 1\nusers: []\nmodels: {}\nx0: &x0 {channels: 0, ohm: 1}\n";
    text += "x1: &x1\n";
    for (int count = 0; count < 3000; ++count)
        text += "  - *x0\n";
    text += "boards:\n  - &b {slot: 0, model: m, channels: 1, loads: *x1}\n";
    for (int count = 0; count < 3000; ++count)
        text += "  - *b\n";
    const auto findings = check(text);
    ASSERT_FALSE(findings.empty());
    EXPECT_LE(findings.size(), 1001u);
    EXPECT_THAT(findings, testing::Contains("F: aliases make it too large"));
}

TEST(CrateCheck, MergesCannotMakeItEndless)
{
    const auto tooLarge = testing::Contains("F: aliases make it too large");
    EXPECT_THAT(check("&a\nname: x\n<<: *a\n"), tooLarge) << "merges itself";
    std::string text = "x0: &x0 {a: 1}\n";
    for (int level = 1; level < 60; ++level) {
        const std::string below = std::to_string(level - 1);
        text += "x" + std::to_string(level) + ": &x" + std::to_string(level) + " {<<: [*x" + below +
                ", *x" + below + "]}\n";
    }
    EXPECT_THAT(check(text + "<<: *x59\n"), tooLarge) << "each level twice the one below";
}

TEST(CrateCheck, ManyFindingsAreCounted)
{
    std::string text = "name: x\nslots: 1\nusers:\n";
    for (int count = 0; count < 1500; ++count)
        text += "  - {name: u" + std::to_string(count) + "}\n";
    const auto findings = check(text);
    ASSERT_EQ(findings.size(), 1001u);
    EXPECT_THAT(findings.back(), HasSubstr("and 500 more findings"));
}

TEST(CrateCheck, TooManyChannelsAltogether)
{
    std::string text = "name: x\nslots: 100\nusers: []\nmodels: {M: {}}\nboards:\n";
    for (int slot = 0; slot < 20; ++slot)
        text += "  - {slot: " + std::to_string(slot) + ", model: M, channels: 65535}\n";
    EXPECT_THAT(check(text), testing::ElementsAre("F:22: more than 1048576 channels in all"));
}

TEST(CrateCheck, FilesThatCannotBeRead)
{
    const auto findings = [](const std::string &path) {
        const auto reading = readCrateFile(path);
        return reading.findings.empty() ? "" : findingText("F", reading.findings[0]);
    };
    EXPECT_EQ(findings("/nonexistent/crate.yaml"),
              "F: cannot be opened: No such file or directory");
    EXPECT_EQ(findings("/"), "F: cannot be read: Is a directory");
    EXPECT_EQ(findings("/dev/zero"), "F: is larger than 8 MiB");
    EXPECT_EQ(findings("/dev/null"), "F: is empty");
}

} // namespace
