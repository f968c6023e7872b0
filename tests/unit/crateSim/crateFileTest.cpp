// What is right in a description reads back the same.
#include "description/cratefile.h"

#include <cfloat>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <random>

#include "crateEquality.h"
#include "description/channelnames.h"
#include "description/defaults.h"
#include "description/defaultcrate.h"
#include "model/problems.h"

using namespace sim;
using testing::IsEmpty;

namespace {

std::string findingsText(const std::vector<Finding> &findings)
{
    std::string text;
    for (const auto &finding : findings)
        text += findingText("FILE", finding) + "\n";
    return text;
}

void expectRoundTrip(const CrateFile &file)
{
    const std::string yaml = writeCrate(file, {"A comment", "", "with\ntwo lines"});
    const auto reading = readCrate(yaml);
    ASSERT_EQ(findingsText(reading.findings), "") << yaml;
    EXPECT_TRUE(reading.file.crate == file.crate) << yaml;
    EXPECT_TRUE(reading.file.faults == file.faults) << yaml;
    EXPECT_EQ(writeCrate(reading.file, {"A comment", "", "with\ntwo lines"}), yaml);
}

// Descriptions of everything that is allowed, from a seeded source.
class AnyCrate {
public:
    explicit AnyCrate(uint32_t seed) : m_random(seed) {}

    CrateFile run()
    {
        CrateFile file;
        auto &crate = file.crate;
        crate.name = text(30);
        for (size_t count = below(4), index = 0; index < count; ++index)
            crate.users.push_back({name(index, 20), text(10)});
        for (size_t count = below(12), index = 0; index < count; ++index)
            crate.properties.push_back(property(name(index, maxPropertyName)));
        for (size_t count = below(4), index = 0; index < count; ++index)
            crate.commands.push_back({name(index, 50), static_cast<Action>(below(4))});
        for (size_t count = 1 + below(4), index = 0; index < count; ++index)
            crate.models.push_back(model(index));
        crate.slots.resize(below(9));
        for (auto &slot : crate.slots)
            if (below(3) > 0)
                slot = board(crate);
        for (size_t count = below(4), index = 0; index < count; ++index)
            file.faults.push_back(fault());
        return file;
    }

private:
    size_t below(size_t bound) { return m_random() % bound; }

    std::string text(size_t longest)
    {
        static const std::vector<std::string> pieces = {
            "a",          "B",  "7",   "0",    " ",    "#",      ":",      "-",
            "\"",         "\\", "'",   "{",    "[",    ",",      "~",      "true",
            "no",         "\n", "\t",  "\x01", "\x7f", "\u00b5", "\u2126", "\u2028",
            "\U0001f50c", "%",  "&x",  "*x",   "!",    "|",      ">",      "@",
            "`",          "?",  "1e5", ".inf", "0x1",  "null",   "\u0085", "\ufeff"};
        std::string result;
        for (size_t count = below(6), index = 0; index < count; ++index) {
            const auto &piece = pieces[below(pieces.size())];
            if (result.size() + piece.size() <= longest)
                result += piece;
        }
        return result;
    }

    // Not the same twice, and without what separates names.
    std::string name(size_t index, size_t longest)
    {
        std::string result = text(longest - 2) + std::to_string(index);
        for (auto &letter : result)
            letter = letter == ':' ? ';' : letter;
        return result;
    }

    float real(float low, float high)
    {
        return std::uniform_real_distribution<float>(low, high)(m_random);
    }

    PropertyDescription property(std::string name)
    {
        const auto type = static_cast<PropertyType>(below(9));
        PropertyDescription property{std::move(name), type, static_cast<Mode>(below(6)),
                                     PropertyRole::None, defaultStart(type)};
        if (type == PropertyType::Text)
            property.start = text(60);
        else if (type == PropertyType::Real)
            property.start = real(-1e30f, 1e30f);
        else if (type != PropertyType::Boolean && below(2) == 0)
            property.start = fromNumber(shapeOf(type), static_cast<double>(below(30000)));
        else if (below(2) == 0)
            property.start = fromNumber(shapeOf(type), 1);
        return property;
    }

    void startAnywhere(ParameterDescription &p)
    {
        p.start = defaultStart(p);
        if (below(2) == 0)
            p.start = value(p);
    }

    Value value(const ParameterDescription &p)
    {
        switch (p.type) {
        case ParamType::Numeric: return real(p.minimum, p.maximum);
        case ParamType::OnOff: return static_cast<uint32_t>(below(2));
        case ParamType::Text: return text(100);
        case ParamType::Integer:
        case ParamType::Enumeration:
            return fromNumber(Shape::Signed, std::ceil(static_cast<double>(p.minimum)));
        default: return static_cast<int32_t>(m_random());
        }
    }

    ParameterDescription parameter(std::string name)
    {
        const auto type = static_cast<ParamType>(below(10));
        ParameterDescription p = blankParameter(type);
        p.name = std::move(name);
        p.mode = static_cast<Mode>(below(6));
        if (hasLimits(type)) {
            p.minimum = real(-1000, 1000);
            p.maximum = p.minimum + real(1, 1e6f);
            p.unit = static_cast<Unit>(below(14));
            p.exponent = static_cast<int16_t>(static_cast<int>(below(13)) - 6);
        }
        if (hasDecimals(type))
            p.decimals = static_cast<int16_t>(below(5));
        if (hasLabels(type)) {
            p.onLabel = text(20);
            p.offLabel = text(20);
        }
        startAnywhere(p);
        return p;
    }

    ModelDescription model(size_t index)
    {
        ModelDescription model{name(index, 20), text(20), {}, {}};
        for (size_t count = below(7), at = 0; at < count; ++at)
            model.board.push_back(parameter(name(at, maxParameterName)));
        for (size_t count = below(9), at = 0; at < count; ++at)
            model.channel.push_back(parameter(name(at, maxParameterName)));
        return model;
    }

    StartValues starts(const std::vector<ParameterDescription> &parameters)
    {
        StartValues values;
        for (const auto &each : parameters)
            if (below(4) == 0)
                values[each.name] = value(each);
        return values;
    }

    BoardDescription board(const CrateDescription &crate)
    {
        const auto &model = crate.models[below(crate.models.size())];
        BoardDescription board{model.key,
                               text(40),
                               static_cast<uint16_t>(below(65536)),
                               static_cast<uint8_t>(below(256)),
                               static_cast<uint8_t>(below(256)),
                               starts(model.board),
                               {}};
        const NamePattern pattern{"C##", static_cast<uint32_t>(below(100))};
        const bool patterned = below(2) == 0;
        board.channels.resize(1 + below(20));
        for (size_t index = 0; index < board.channels.size(); ++index) {
            auto &channel = board.channels[index];
            channel.name = patterned ? *pattern.nameOf(index) : text(maxChannelName);
            if (below(3) == 0)
                channel.load = {1.0 + real(0, 1e9f), below(2) * 1e-9, below(3) * 0.25};
            if (below(8) == 0)
                channel.model = crate.models[below(crate.models.size())].key;
            channel.start = starts(crate.channelModel(board, channel)->channel);
        }
        return board;
    }

    FaultOrder fault()
    {
        FaultFields fields{{"kind", std::string("answer")},
                           {"operation", std::string("any")},
                           {"answer", std::string("bad-utf8")}};
        if (below(2) == 0)
            fields = {{"kind", std::string("fail")},
                      {"operation", std::string("GetChParam")},
                      {"code", static_cast<int64_t>(below(100)) + 1}};
        std::vector<FaultProblem> problems;
        return readFaultOrder(fields, problems).value();
    }

    std::mt19937 m_random;
};

TEST(CrateFile, TheDefaultCrateReadsBack) { expectRoundTrip({defaultCrate(), {}}); }

// The built-in crate as the writer lays it out, with every alias written out.
TEST(CrateFile, TheDefaultCrateIsTheGoldenOne)
{
    std::ifstream file(GOLDEN_DIR "/defaultcrate.yaml");
    const std::string golden((std::istreambuf_iterator<char>(file)), {});
    EXPECT_TRUE(readCrate(golden).file.crate == defaultCrate());
    EXPECT_EQ(writeCrate({defaultCrate(), {}}, {"The built-in crate"}), golden);
}

TEST(CrateFile, AnyCrateReadsBack)
{
    for (uint32_t seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE(seed);
        const CrateFile file = AnyCrate(seed).run();
        ASSERT_THAT(findProblems(file.crate), IsEmpty()) << findProblems(file.crate)[0].text;
        expectRoundTrip(file);
        if (HasFailure())
            break;
    }
}

TEST(CrateFile, BytesThatAreNoTextBecomeHarmless)
{
    CrateFile file{defaultCrate(), {}};
    file.crate.name = "bad \xff\xc3 end";
    const auto reading = readCrate(writeCrate(file, {"also \xfe here"}));
    ASSERT_THAT(reading.findings, IsEmpty());
    EXPECT_EQ(reading.file.crate.name, "bad \ufffd\ufffd end");
}

class ExampleCrate : public testing::TestWithParam<std::string> {};

TEST_P(ExampleCrate, IsInOrderAndReadsBack)
{
    const auto reading = readCrateFile(std::string(CRATES_DIR "/") + GetParam() + ".yaml");
    ASSERT_EQ(findingsText(reading.findings), "");
    expectRoundTrip(reading.file);
}

INSTANTIATE_TEST_SUITE_P(All, ExampleCrate,
                         testing::Values("default", "small", "full", "detector", "odd"),
                         [](const auto &each) { return each.param; });

TEST(ExampleCrates, NoneIsForgotten)
{
    size_t files = 0;
    for (const auto &entry : std::filesystem::directory_iterator(CRATES_DIR))
        files += entry.path().extension() == ".yaml" ? 1 : 0;
    EXPECT_EQ(files, 5u);
}

TEST(ExampleCrates, AreWhatTheyAreCalled)
{
    const auto crate = [](const char *name) {
        return readCrateFile(std::string(CRATES_DIR "/") + name + ".yaml").file.crate;
    };
    EXPECT_EQ(crateSummary(crate("full")), "16 boards, 768 channels");
    const auto small = crate("small");
    size_t boards = 0;
    for (const auto &slot : small.slots)
        boards += slot ? 1 : 0;
    EXPECT_EQ(boards, 1u);
    std::set<std::string> models;
    for (const auto &slot : crate("detector").slots)
        if (slot)
            models.insert(slot->model);
    EXPECT_GE(models.size(), 3u);
}

TEST(ExampleCrates, TheOddOneHasEverything)
{
    const auto crate = readCrateFile(CRATES_DIR "/odd.yaml").file.crate;
    std::set<ParamType> types;
    std::set<Mode> modes;
    std::set<Unit> units;
    std::set<Role> roles;
    size_t longest = 0;
    for (const auto &model : crate.models) {
        for (const auto *level : {&model.board, &model.channel}) {
            for (const auto &each : *level) {
                types.insert(each.type);
                modes.insert(each.mode);
                units.insert(each.unit);
                roles.insert(each.role);
                longest = std::max(longest, each.name.size());
            }
        }
    }
    EXPECT_EQ(longest, maxParameterName);
    EXPECT_GT(types.size(), 7u);
    EXPECT_GT(modes.size(), 4u);
    EXPECT_GT(units.size(), 11u);
    EXPECT_EQ(roles.size(), static_cast<size_t>(Role::Count_));
}

// ---- Forms that the writer does not use

TEST(CrateFile, FormsThatPeopleWrite)
{
    const auto reading = readCrate(R"(
name: hand made
users: [{name: 007, password: on}]
slots: 0x10
properties:
  - {name: Free, type: boolean, mode: 7, start: 1}
models:
  A: &a
    channel:
      - {name: V, type: numeric, mode: read-write, minimum: 1, maximum: 1e3, unit: 77}
      - {name: S, type: on-off, mode: read, on-label: On, off-label: Off, start: On}
      - {name: T, type: on-off, mode: read, on-label: "0", off-label: "1", start: "0"}
      - {name: U, type: 9, mode: read, start: -4}
  B:
    <<: *a
    name: also called B
    board:
      - {name: "12", type: text, mode: none, start: null and void}
boards:
  - &board
    slot: 0
    model: A
    firmware: 1.10
    channels: 6
    names: {pattern: "## left", first: 9}
    loads:
      - {channels: "0, 2-3", ohm: .inf, farad: 1e-9}
      - {channels: [1, 4-5], ohm: 1e6}
    settings:
      - {channels: all, start: {V: 5, S: false}}
  - <<: *board
    slot: 1
    firmware: "1.4"
    model: B
    names: ~name#
)");
    ASSERT_EQ(findingsText(reading.findings), "");
    const auto &crate = reading.file.crate;
    EXPECT_EQ(crate.users[0].name, "007");
    EXPECT_EQ(crate.users[0].password, "on");
    ASSERT_EQ(crate.slots.size(), 16u);
    const auto &channel = crate.models[0].channel;
    EXPECT_EQ(channel[0].start, Value(1.0f)) << "the nearest to 0";
    EXPECT_EQ(channel[0].unit, static_cast<Unit>(77));
    EXPECT_EQ(channel[1].start, Value(1u));
    EXPECT_EQ(channel[2].start, Value(1u)) << "a label in quotes is no number";
    EXPECT_EQ(channel[3].start, Value(-4));
    EXPECT_EQ(crate.models[1].channel.size(), channel.size());
    EXPECT_EQ(crate.models[1].name, "also called B");
    const auto &first = *crate.slots[0];
    EXPECT_EQ(first.firmwareMinor, 10);
    EXPECT_EQ(first.channels[0].name, "09 left");
    EXPECT_EQ(first.channels[5].name, "14 left");
    EXPECT_EQ(first.channels[3].load.farad, 1e-9);
    EXPECT_EQ(first.channels[4].load.ohm, 1e6);
    EXPECT_EQ(first.channels[5].start, (StartValues{{"S", 0u}, {"V", 5.0f}}));
    EXPECT_EQ(crate.slots[1]->firmwareMinor, 4);
    EXPECT_EQ(crate.slots[1]->channels[2].name, "~name2");
}

} // namespace
