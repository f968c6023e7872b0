// The records that make a word of a channel's status, and those that sum up channels.
#include "states.h"

#include <gtest/gtest.h>
#include <postfix.h>

#include "pvlist/names.h"
#include "recordFile.h"
#include "siteSupport.h"

namespace {

using namespace site;
using namespace siteTest;

// As a calc record evaluates it.
class Expression {
public:
    explicit Expression(const std::string &text) : m_code(INFIX_TO_POSTFIX_SIZE(text.size() + 1))
    {
        EXPECT_LE(text.size(), 79U) << text;
        short error = 0;
        EXPECT_EQ(0, postfix(text.c_str(), m_code.data(), &error)) << text << ": " << error;
    }

    double operator()(const std::map<char, double> &inputs) const
    {
        double values[12] = {};
        for (const auto &[letter, value] : inputs)
            values[letter - 'A'] = value;
        double result = 0;
        EXPECT_EQ(0, calcPerform(values, &result, m_code.data()));
        return result;
    }

private:
    std::vector<char> m_code;
};

// Which state a status word shows: the first of these whose bit is set.
State stateOf(unsigned status)
{
    if (status & 0x0800)
        return State::Unplugged;
    if (status & 0x0400)
        return State::NotCalibrated;
    if (status & 0x0002)
        return State::RampingUp;
    if (status & 0x0040)
        return State::ExternalTrip;
    if (status & 0x0200)
        return State::Tripped;
    if (status & 0x0100)
        return State::Disabled;
    if (status & 0x0004)
        return State::RampingDown;
    if (status & 0x0008)
        return State::OverCurrent;
    if (status & 0x0010)
        return State::OverVoltage;
    if (status & 0x0080)
        return State::VoltageLimit;
    if (status & 0x0020)
        return State::UnderVoltage;
    if (status & 0x1000)
        return State::UnderCurrent;
    if (status & 0x2000)
        return State::OverVoltage;
    if (status & 0x4000)
        return State::PowerFailure;
    if (status & 0x8000)
        return State::OverTemperature;
    return status & 0x0001 ? State::On : State::Off;
}

Records recordsOf(const std::vector<int> &boards, bool stale = false)
{
    const Planned planned(siteOf(""), {crateOf("HV", boards)});
    EXPECT_TRUE(planned.errors.empty());
    return readRecords(stateRecords(planned.plan.crates.at(0), stale));
}

class SiteStates : public testing::TestWithParam<bool> {};

TEST_P(SiteStates, EveryStatusWordIsTheStateThatComesFirst)
{
    const auto records = recordsOf({1}, GetParam());
    const Expression urgent(records.at("HV:00:000:State:Word").field("OCAL"));
    const Expression code(records.at("HV:00:000:State:Code").field("CALC"));
    for (unsigned status = 0; status < 0x10000; ++status) {
        const double shown = urgent({{'A', status}});
        const auto wanted = static_cast<int>(stateOf(status));
        ASSERT_EQ(wanted, code({{'A', status}, {'B', shown}})) << std::hex << status;
        if (GetParam()) {
            ASSERT_EQ(wanted + 16, code({{'A', status}, {'B', shown}, {'C', 1}})) << status;
        }
    }
}

TEST_P(SiteStates, EachChannelCountsForWhatItsStatusSays)
{
    const auto records = recordsOf({1}, GetParam());
    const Expression count(records.at("HV:00:000:State:Count").field("CALC"));
    for (unsigned status = 0; status < 0x10000; ++status) {
        const double wanted =
            (status & 0x1 ? 1 : 0) + (status & 0x6 ? 1e4 : 0) + (status & 0x240 ? 1e8 : 0);
        ASSERT_EQ(wanted, count({{'A', status}})) << std::hex << status;
    }
}

INSTANTIATE_TEST_SUITE_P(, SiteStates, testing::Bool());

TEST(SiteStateRecords, EachStateHasItsTextAndSeverity)
{
    const auto state = recordsOf({1}).at("HV:00:000:State");
    EXPECT_EQ("mbbi", state.type);
    const char *fields[] = {"ZR", "ON", "TW", "TH", "FR", "FV", "SX", "SV",
                            "EI", "NI", "TE", "EL", "TV", "TT", "FT", "FF"};
    for (size_t index = 0; index < stateCount; ++index) {
        const std::string prefix = fields[index];
        const auto &words = stateWords[index];
        EXPECT_EQ(std::to_string(index), state.field(prefix + "VL"));
        EXPECT_EQ(words.text, state.field(prefix + "ST"));
        EXPECT_LE(std::string(words.text).size(), 25U); // what the record keeps
        EXPECT_EQ(words.severity == Severity::None ? "" : severityText(words.severity),
                  state.field(prefix + "SV"));
    }
}

// A change of status, of its alarm or of the connection, each by itself.
TEST(SiteStateRecords, EveryChangeIsAnotherNumber)
{
    const Expression word(recordsOf({1}, true).at("HV:00:000:State:Word").field("CALC"));
    std::set<double> seen;
    for (const double status : {0, 1, 0xffff})
        for (const double severity : {0, 1, 2, 3})
            for (const double lost : {0, 1})
                seen.insert(word({{'A', status}, {'B', severity}, {'C', lost}}));
    EXPECT_EQ(3U * 4U * 2U, seen.size());
}

// How often each Count is summed up in the record.
void count(const Records &records, const std::string &name, std::map<std::string, int> &counts)
{
    const std::string end = ":State:Count";
    if (name.size() > end.size() && name.compare(name.size() - end.size(), end.size(), end) == 0) {
        ++counts[name];
        return;
    }
    const Record &record = records.at(name);
    const Expression sum(record.field("CALC"));
    std::map<char, double> all;
    for (char letter = 'A'; letter <= 'L'; ++letter) {
        const std::string link = record.field(std::string("INP") + letter);
        EXPECT_EQ(link.empty() ? 0 : 1, sum({{letter, 1}})) << name << " " << letter;
        if (!link.empty())
            count(records, targetOf(link), counts);
    }
}

// Where a record's processing leads, to the end.
std::string endOf(const Records &records, std::string name, std::set<std::string> &passed)
{
    for (;;) {
        passed.insert(name);
        const auto next = targetOf(records.at(name).field("FLNK"));
        if (next.empty() || passed.size() > 1000)
            return name;
        name = next;
    }
}

class SiteSums : public testing::TestWithParam<std::vector<int>> {};

TEST_P(SiteSums, EveryChannelReachesEveryTotalExactlyOnce)
{
    const auto records = recordsOf(GetParam());
    std::map<std::string, int> all;
    count(records, "HV:Channels", all);
    size_t channels = 0;
    for (size_t slot = 0; slot < GetParam().size(); ++slot) {
        const auto number = static_cast<size_t>(GetParam()[slot]);
        channels += number;
        const std::string board = Crate{"HV", "", {}, {}}.recordOf(static_cast<int>(slot));
        std::map<std::string, int> ofBoard;
        if (number > 0)
            count(records, board + ":Channels", ofBoard);
        EXPECT_EQ(number, ofBoard.size()) << slot;
        EXPECT_EQ(number > 0, records.count(board + ":ChannelsOn") == 1);
        for (const auto &[name, times] : ofBoard)
            EXPECT_TRUE(times == 1 && name.rfind(board, 0) == 0) << name;
    }
    EXPECT_EQ(channels, all.size());
    for (const auto &[name, times] : all) {
        EXPECT_EQ(1, times) << name;
        std::set<std::string> passed;
        EXPECT_EQ("HV:WorstSeverity", endOf(records, name, passed));
        EXPECT_TRUE(passed.count(name.substr(0, name.find(':', 3)) + ":WorstSeverity") == 1)
            << name;
        EXPECT_TRUE(passed.count("HV:Channels") == 1) << name;
    }
}

INSTANTIATE_TEST_SUITE_P(, SiteSums,
                         testing::Values(std::vector<int>{1}, std::vector<int>{12},
                                         std::vector<int>{13}, std::vector<int>{144},
                                         std::vector<int>{145}, std::vector<int>{3, 0, 24},
                                         std::vector<int>(12, 1), std::vector<int>(13, 2),
                                         std::vector<int>(16, 48), std::vector<int>(145, 1)));

TEST(SiteStateRecords, TotalsAreTakenApartAgain)
{
    const auto records = recordsOf({1});
    const Expression on(records.at("HV:ChannelsOn").field("CALC"));
    const Expression ramping(records.at("HV:ChannelsRamping").field("CALC"));
    const Expression tripped(records.at("HV:ChannelsTripped").field("CALC"));
    for (const double count : {0, 1, 7, 9999}) {
        const double total = count + 1e4 * (9999 - count) + 1e8 * count;
        EXPECT_EQ(count, on({{'A', total}}));
        EXPECT_EQ(9999 - count, ramping({{'A', total}}));
        EXPECT_EQ(count, tripped({{'A', total}}));
    }
}

TEST(SiteStateRecords, ALostConnectionProcessesEveryChannelOnce)
{
    const auto records = recordsOf({9, 0, 2}, true);
    std::map<std::string, int> processed;
    for (const auto &[name, record] : records)
        if (record.type == "dfanout")
            for (const auto &[field, value] : record.fields)
                if (field.rfind("OUT", 0) == 0)
                    ++processed[targetOf(value)];
    EXPECT_EQ(11U, processed.size());
    for (const auto &[name, times] : processed)
        EXPECT_EQ(1, times) << name;
    EXPECT_EQ(1, processed["HV:02:001:State:Word.PROC"]);
}

TEST(SiteStateRecords, NoNameIsTooLongForARecord)
{
    for (const auto &[name, record] : recordsOf(std::vector<int>(16, 48), true)) {
        EXPECT_TRUE(isRecordName(name)) << name;
        for (const auto &alias : record.aliases)
            EXPECT_TRUE(isRecordName(alias)) << alias;
    }
}

TEST(SiteStateRecords, ACrateWithoutAStatusHasNone)
{
    const Planned planned(siteOf("parameters: {status: Other}\n"), {crateOf("HV", {2})});
    EXPECT_EQ("", stateRecords(planned.plan.crates.at(0), true));
}

// A crate's name so long that EPICS takes its parameters, but not what is derived from them.
TEST(SiteStateRecords, WhereNamesWouldBeTooLongThereAreNone)
{
    for (size_t length = 30; length < 47; ++length) {
        const std::string name(length, 'X');
        const Planned planned("site: T\ncrates: [{name: " + name + "}]\nstale: INVALID\n",
                              {crateOf(name, {1, 13})});
        ASSERT_TRUE(planned.errors.empty());
        const auto records = readRecords(stateRecords(planned.plan.crates.at(0), true));
        EXPECT_EQ(length <= 41, !records.empty()) << length;
        EXPECT_EQ(length <= 41, planned.notes.empty());
        for (const auto &[record, rest] : records)
            EXPECT_TRUE(isRecordName(record)) << record;
    }
}

} // namespace
