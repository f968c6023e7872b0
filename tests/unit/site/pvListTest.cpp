// What is read from a server's PV list and database.
#include "pvlist/pvlist.h"

#include <fstream>
#include <map>

#include <gmock/gmock.h>

#include "description/cratefile.h"
#include "pvlist/names.h"
#include "siteSupport.h"

namespace {

using namespace pvlist;
using namespace site;
using namespace siteTest;
using testing::ElementsAre;
using testing::HasSubstr;

std::vector<std::string> errorsOf(const std::string &text)
{
    return textsOf(readPvList(text).findings);
}

constexpr const char *goodList = "-, -, HV:ModelName,  stringin, x,  \n"
                                 "3, -, HV:03:Temp,  ai, x,  \n"
                                 "3, 7, HV:03:007:VSet,  ao, x, x\n"
                                 "3, 7, HV:03:007:ClrTrip,  bo,  , x\n"
                                 "12, 0, HV:12:000:VSet,  ao, x, x\n"
                                 "3, 1, HV:03:001:VSet,  ao, x, x\n";

TEST(SitePvList, RecordsAreSortedByBoardAndChannel)
{
    const auto reading = readPvList(goodList);
    ASSERT_TRUE(reading.findings.empty());
    const Crate &crate = reading.crate;
    EXPECT_EQ("HV", crate.name);
    ASSERT_EQ(1U, crate.parameters.size());
    EXPECT_EQ("ModelName", crate.parameters[0].name);
    ASSERT_EQ(2U, crate.boards.size());
    EXPECT_EQ(3, crate.boards[0].slot);
    EXPECT_EQ(12, crate.boards[1].slot);
    EXPECT_EQ("HV:03:Temp", crate.boards[0].parameters.at(0).record);
    ASSERT_EQ(2U, crate.boards[0].channels.size());
    EXPECT_EQ(1, crate.boards[0].channels[0].number);
    const Channel &channel = crate.boards[0].channels[1];
    EXPECT_EQ(7, channel.number);
    ASSERT_EQ(2U, channel.parameters.size());
    const Parameter &set = channel.parameters[0];
    EXPECT_EQ("HV:03:007:VSet", set.record);
    EXPECT_EQ("VSet", set.name);
    EXPECT_EQ("ao", set.type);

    EXPECT_TRUE(set.isSetPoint());
    EXPECT_FALSE(channel.parameters[1].readable);
    EXPECT_TRUE(channel.parameters[1].writable);
    EXPECT_TRUE(crate.boards[1].parameters.empty());
}

TEST(SitePvList, ACrateMayHaveAColonInItsName)
{
    const auto reading = readPvList("-, -, LAB:HV:ModelName,  stringin, x,  \n"
                                    "3, -, LAB:HV:03:Temp,  ai, x,  \n"
                                    "3, 7, LAB:HV:03:007:VSet,  ao, x, x\n");
    ASSERT_THAT(textsOf(reading.findings), ElementsAre());
    EXPECT_EQ("LAB:HV", reading.crate.name);
    EXPECT_EQ("ModelName", reading.crate.parameters.at(0).name);
    EXPECT_EQ("VSet", reading.crate.boards.at(0).channels.at(0).parameters.at(0).name);
}

TEST(SitePvList, ACrateWithoutBoardsHasItsNameBeforeTheColon)
{
    const auto reading = readPvList("-, -, HV:ModelName,  stringin, x,  \n");
    ASSERT_TRUE(reading.findings.empty());
    EXPECT_EQ("HV", reading.crate.name);
}

// EPICS merges two records of one name and type.
TEST(SitePvList, OfEqualRecordsTheFirstCounts)
{
    const auto reading = readPvList("3, 7, HV:03:007:VSet,  ao, x, x\n"
                                    "3, 7, HV:03:007:VSet,  ao, x, x\n");
    ASSERT_TRUE(reading.findings.empty());
    EXPECT_EQ(1U, reading.crate.boards.at(0).channels.at(0).parameters.size());
}

TEST(SitePvList, RecordsThatNoFileCanNameArePassedOver)
{
    const auto reading = readPvList("-, -, HV:Two words,  stringin, x,  \n"
                                    "-, -, HV:a, b,  stringin, x,  \n"
                                    "-, -, HV:\"q\",  stringin, x,  \n"
                                    "-, -, HV:it's,  stringin, x,  \n"
                                    "-, -, HV:$(M),  stringin, x,  \n"
                                    "-, -, HV:a,b,  stringin, x,  \n");
    ASSERT_TRUE(reading.findings.empty());
    ASSERT_EQ(1U, reading.crate.parameters.size());
    EXPECT_EQ("a,b", reading.crate.parameters[0].name);
}

struct BadLine {
    const char *line;
    const char *reason;
};

void PrintTo(const BadLine &bad, std::ostream *out) { *out << bad.line; }

class SitePvListLine : public testing::TestWithParam<BadLine> {};

TEST_P(SitePvListLine, IsRefusedWithItsNumber)
{
    const auto errors = errorsOf(goodList + std::string(GetParam().line) + "\n");
    ASSERT_EQ(1U, errors.size());
    EXPECT_EQ(0U, errors[0].find("7: ")) << errors[0];
    EXPECT_THAT(errors[0], HasSubstr(GetParam().reason));
}

INSTANTIATE_TEST_SUITE_P(
    , SitePvListLine,
    testing::Values(BadLine{"", "is not a line"}, BadLine{"HV", "is not a line"},
                    BadLine{"1, 2, HV:01:002:X,  calc, x, x", "is not a line"},
                    BadLine{"1, 2, HV:01:002:X,  ai, x", "is not a line"},
                    BadLine{"1, 2, HV:01:002:X,  ai, y,  ", "is not a line"},
                    BadLine{"1, 2, ,  ai, x,  ", "is not a line"},
                    BadLine{"1, 2, HV:01:002:X,  ai, x,  \r", "x,  ?\""},
                    BadLine{"-, 2, HV:01:002:X,  ai, x,  ", "is not a line"},
                    BadLine{"-1, 2, HV:01:002:X,  ai, x,  ", "is not a line"},
                    BadLine{"65536, 2, HV:01:002:X,  ai, x,  ", "is not a line"},
                    BadLine{"1, two, HV:01:002:X,  ai, x,  ", "is not a line"},
                    BadLine{"1, 2, XX:01:002:X,  ai, x,  ", "not the list of one crate"},
                    BadLine{"1, 2, HV:01:003:X,  ai, x,  ", "does not begin with \"HV:01:002:\""},
                    BadLine{"1, 2, HV:1:2:X,  ai, x,  ", "does not begin with"},
                    BadLine{"1, 2, HV:01:002:,  ai, x,  ", "is not a line"}));

TEST(SitePvList, AnEmptyListIsNone)
{
    EXPECT_THAT(errorsOf(""), ElementsAre("0: is empty: no PV list"));
}

TEST(SitePvList, AListCutShortInALineIsRefused)
{
    std::string text = listOf("HV", {2});
    for (text.pop_back(); text.size() > 1; text.pop_back())
        if (text.back() != '\n') {
            ASSERT_EQ(1U, errorsOf(text).size());
        }
    EXPECT_THAT(errorsOf("-, -, HV:ModelName,  stringin, x,  \n3, -"),
                ElementsAre("2: ends in the middle of a line: the list was cut short"));
}

TEST(SitePvList, ABinaryFileIsRefusedInAFewWords)
{
    const std::string binary("\x7f"
                             "ELF\0\1\2\xff\n",
                             9);
    EXPECT_THAT(errorsOf(binary), ElementsAre(HasSubstr("1: is not a line")));
    const auto errors = errorsOf(std::string(8 << 20, '\xff') + "\n");
    ASSERT_EQ(1U, errors.size());
    EXPECT_LT(errors[0].size(), 300U);
}

// ---- with the database ----

std::string recordText(const std::string &name, const std::string &fields = "")
{
    return "record( ao, \"" + name + "\")\n{\n" + fields + "\tfield( SCAN, \"I/O Intr\")\n}\n";
}

std::string setPointText(const std::string &name, const std::string &fields = "")
{
    return recordText(name, fields) + recordText(name + ":RBV", "\tfield( HOPR , \"7.000000\")\n") +
           recordText(name + ":Sync");
}

// What a server writes with goodList.
const std::string database =
    "# no channel\n" + recordText("HV:ModelName") + recordText("HV:03:Temp") +
    setPointText("HV:03:007:VSet", "\tfield( EGU , \"Volt\")\n\tfield( HOPR , \"1800.500000\")\n"
                                   "\tfield( LOPR , \"-10.000000\")\n") +
    recordText("HV:03:007:ClrTrip") + setPointText("HV:12:000:VSet") +
    setPointText("HV:03:001:VSet");

CrateReading withDatabase(const std::string &list, const std::string &text, bool isOfCrate = true)
{
    CrateReading reading = readPvList(list);
    EXPECT_EQ(isOfCrate, addDatabase(reading, text));
    return reading;
}

TEST(SiteDatabaseReading, LimitsAndUnitsComeFromTheMainRecord)
{
    const auto reading = withDatabase(goodList, database);
    ASSERT_THAT(textsOf(reading.findings), ElementsAre());
    const auto &set = reading.crate.boards[0].channels[1].parameters[0];
    EXPECT_EQ("Volt", set.unit);
    EXPECT_EQ(-10, set.low);
    EXPECT_EQ(1800.5, set.high);
    EXPECT_FALSE(reading.crate.boards[1].channels[0].parameters[0].high);
}

TEST(SiteDatabaseReading, ALimitThatIsNoNumberIsUnknown)
{
    std::string text = database;
    text.replace(text.find("1800.500000"), 11, "many");
    const auto reading = withDatabase(goodList, text);
    EXPECT_FALSE(reading.crate.boards[0].channels[1].parameters[0].high);
}

// At the end of a line nothing else shows that something is missing.
TEST(SiteDatabaseReading, AListCutShortAtALineEndIsFound)
{
    const std::string list = goodList;
    for (size_t end = list.find('\n') + 1; end < list.size(); end = list.find('\n', end) + 1) {
        const auto errors = textsOf(withDatabase(list.substr(0, end), database).findings);
        ASSERT_EQ(1U, errors.size());
        EXPECT_THAT(errors[0], HasSubstr("0: lacks record \"HV:"));
        EXPECT_THAT(errors[0], HasSubstr("was cut short"));
    }
}

TEST(SiteDatabaseReading, ADatabaseCutShortIsFound)
{
    const auto end = database.find("record( ao, \"HV:12");
    EXPECT_THAT(textsOf(withDatabase(goodList, database.substr(0, end)).findings),
                ElementsAre(HasSubstr("0: record \"HV:03:001:VSet\" is not in the ZANTO.db")));
}

TEST(SiteDatabaseReading, RecordsThatNoFileCanNameMayBeMissing)
{
    EXPECT_THAT(textsOf(withDatabase(goodList,
                                     database + recordText("HV:it's") + recordText("HV:\\\"q\\\""))
                            .findings),
                ElementsAre());
}

TEST(SiteDatabaseReading, TheDatabaseOfAnotherCrateSaysNothing)
{
    for (const std::string text : {"", "record(", "\n\n\"\n", "record( ai, \"HW:03:Temp\")\n"})
        EXPECT_THAT(textsOf(withDatabase(goodList, text, false).findings), ElementsAre());
}

// ---- descriptions ----

sim::CrateDescription description(const std::string &yaml)
{
    const auto reading = sim::readCrate(yaml);
    EXPECT_THAT(textsOf(reading.findings), ElementsAre());
    return reading.file.crate;
}

TEST(SiteDescribedCrate, IsWhatTheServerOfTheCrateLists)
{
    for (const char *name : {"default", "detector", "full", "odd", "small"}) {
        const auto reading = sim::readCrateFile(std::string(CRATES_DIR "/") + name + ".yaml");
        ASSERT_THAT(textsOf(reading.findings), ElementsAre());
        const Crate crate = describedCrate(reading.file.crate, "HV");
        EXPECT_FALSE(crate.boards.empty());
        forEachList(crate, [](const Parameters &list, auto...) {
            for (const Parameter &each : list)
                EXPECT_TRUE(isRecordName(each.readBack() + each.record.substr(0, 1)))
                    << each.record;
        });
    }
}

// What a server wrote for the built-in crate, as it is kept: channels that are alike stand there
// once, without their number.
std::string withFirstChannels(const std::string &name)
{
    std::ifstream file(SERVER_GOLDEN_DIR "/" + name);
    std::string text;
    for (std::string line; std::getline(file, line);)
        if (line.rfind('#', 0) != 0)
            text += line + "\n";
    for (const auto &[folded, number] : {std::pair("<ccc>", "000"), {"<c>", "0"}})
        for (size_t at; (at = text.find(folded)) != std::string::npos;)
            text.replace(at, std::string(folded).size(), number);
    return text;
}

std::map<std::string, std::vector<std::string>> displays(const Crate &crate)
{
    std::map<std::string, std::vector<std::string>> found;
    forEachList(crate, [&](const Parameters &list, auto...) {
        for (const Parameter &each : list) {
            found[each.record] = each.display;
            found[each.record].push_back("unit " + each.unit);
            if (each.low && each.high)
                found[each.record].push_back(numberText(*each.low) + ".." + numberText(*each.high));
        }
    });
    return found;
}

TEST(SiteDescribedCrate, IsShownAsByTheServersDatabase)
{
    const auto reading = sim::readCrateFile(CRATES_DIR "/default.yaml");
    auto served = readPvList(withFirstChannels("pvlist.txt"));
    ASSERT_TRUE(addDatabase(served, withFirstChannels("ZANTO.db")));
    ASSERT_THAT(textsOf(served.findings), ElementsAre());
    const auto made = displays(describedCrate(reading.file.crate, served.crate.name));
    const auto expected = displays(served.crate);
    EXPECT_LT(100U, expected.size());
    for (const auto &[record, display] : expected)
        EXPECT_EQ(display, made.at(record)) << record;
    EXPECT_THAT(made.at("ZC16:00:000:ISet"),
                ElementsAre(R"(field(EGU, "microAmpere"))", R"(field(PREC, "2"))",
                            R"(field(HOPR, "3000.000000"))", R"(field(LOPR, "0.000000"))",
                            "unit microAmpere", "0..3000"));
}

TEST(SiteDescribedCrate, NumbersAndLabelsAreThoseThatAServerWrites)
{
    const auto crate = description(
        "name: X\nusers: []\nslots: 1\nmodels:\n  M:\n    name: M\n    channel:\n"
        "      - {name: A, type: numeric, mode: read-write, minimum: -0.5, maximum: 2.75,\n"
        "         unit: volt, exponent: 3}\n"
        "      - {name: B, type: numeric, mode: read-write, minimum: 2, maximum: 2.75, unit: none,\n"
        "         exponent: 2}\n"
        "      - {name: C, type: on-off, mode: read-write, on-label: 'a \"b\"', off-label: 'c'}\n"
        "boards:\n  - {slot: 0, model: M, channels: 1}\n");
    const auto made = displays(describedCrate(crate, "HV"));
    EXPECT_THAT(made.at("HV:00:000:A"),
                ElementsAre("field(EGU, \"KiloVolt\")", "field(HOPR, \"2.000000\")",
                            "field(LOPR, \"-0.500000\")", "unit KiloVolt", "-0.5..2"));
    EXPECT_THAT(made.at("HV:00:000:B"), ElementsAre("field(EGU, \"None\")", "unit None"));
    EXPECT_THAT(made.at("HV:00:000:C"),
                ElementsAre("field(ZNAM, \"c\")", R"(field(ONAM, "a \"b\""))", "unit "));
}

TEST(SiteDescribedCrate, WhatHasNoRecordOfTheServerHasNone)
{
    const auto crate = description("name: X\nusers: []\nslots: 1\nproperties:\n"
                                   "  - {name: A, type: text, mode: none}\n"
                                   "  - {name: B, type: text, mode: 9}\n"
                                   "  - {name: ResFlag, type: text, mode: read}\n"
                                   "  - {name: C, type: text, mode: read}\n");
    const auto made = describedCrate(crate, "HV");
    ASSERT_EQ(1U, made.parameters.size());
    EXPECT_EQ("C", made.parameters[0].name);
}

// The server writes three records for a set-point or none.
TEST(SiteDescribedCrate, ASetPointNeedsRoomForItsOtherRecords)
{
    const auto crate = description("name: X\nusers: []\nslots: 1\nproperties:\n"
                                   "  - {name: Abc, type: text, mode: read-write}\n"
                                   "  - {name: Abcd, type: text, mode: read}\n"
                                   "  - {name: Abcd5, type: text, mode: read-write}\n");
    const auto made = describedCrate(crate, std::string(60 - 9, 'X'));
    ASSERT_EQ(2U, made.parameters.size());
    EXPECT_EQ("Abc", made.parameters[0].name);
    EXPECT_EQ("Abcd", made.parameters[1].name);
}

} // namespace
