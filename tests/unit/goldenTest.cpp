// What a start of the server makes of hand-made crates: the calls of the access library, the
// database and the list of process variables, compared with the files in golden/. A wanted
// change is accepted with tests/accept.
#include "fileSupport.h"

#include "ZANTO.h"

#include <gtest/gtest-spi.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct GoldenCrate {
    const char *name;
    FakeCrate (*make)();
};

void PrintTo(const GoldenCrate &crate, std::ostream *out) { *out << crate.name; }

FakeCrate crateOf(const std::vector<FakeParameter> &boardParameters,
                  const std::vector<FakeParameter> &channelParameters)
{
    FakeCrate crate;
    crate.slots = {fakeBoard("A1", 1, boardParameters, channelParameters)};
    return crate;
}

FakeCrate crateOfSlots(size_t count)
{
    FakeCrate crate;
    crate.slots.assign(count, FakeBoard());
    crate.slots.back() =
        fakeBoard("A1", 1, {}, {fakePlain("Status", VEXAHV_PARAM_CHANNEL_STATUS, 0)});
    return crate;
}

FakeCrate sixSlots() { return crateOfSlots(6); }
FakeCrate sevenSlots() { return crateOfSlots(7); }
FakeCrate noParameters() { return crateOf({}, {}); }

FakeCrate namesWithBlanks()
{
    FakeCrate crate = crateOf({fakeOnOff("Bd Alarm", VEXAHV_MODE_READ, 0)},
                              {fakeNumeric("Set Volt", VEXAHV_MODE_READWRITE, 0, 0, 8000, 2, 0, 2),
                               fakePlain("   ", VEXAHV_PARAM_CHANNEL_STATUS, VEXAHV_MODE_READ)});
    crate.commands = {"Clear Alarm", " Kill  all "};
    crate.properties = {
        fakeSysProp("Model Name", VEXAHV_SYSPROP_TEXT, VEXAHV_MODE_READ, FakeBytes::text("x"))};
    crate.slots[0].channels[0].name = "a channel";
    return crate;
}

FakeCrate limits()
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    FakeParameter unlimited = fakeNumeric("NoLimits", VEXAHV_MODE_READ, 0, 0, 0, 1, -6, 3);
    unlimited.properties.erase(VEXAHV_PROP_MINVAL);
    unlimited.properties.erase(VEXAHV_PROP_MAXVAL);
    FakeParameter unread = fakeNumeric("Unread", VEXAHV_MODE_READ, 0, 0, 0);
    unread.properties.clear();
    const std::vector<FakeParameter> parameters = {
        fakeNumeric("Equal", VEXAHV_MODE_READ, 0, 0, 0, 2, 3, 1),
        fakeNumeric("Fraction", VEXAHV_MODE_READ, 0, 2.5F, 2.5F, 2, -3, 0),
        fakeNumeric("Negative", VEXAHV_MODE_READ, 0, -1.5F, -1, 4, 0, -1),
        fakeNumeric("NoNumbers", VEXAHV_MODE_READ, 0, nan, nan, 1, -9, 4),
        fakeNumeric("Infinite", VEXAHV_MODE_READ, 0, -infinity, infinity, 11, 1, 5),
        fakeNumeric("Huge", VEXAHV_MODE_READ, 0, -1e30F, 1e30F, 0, 6, 9),
        unlimited,
        unread};
    return crateOf(parameters, parameters);
}

FakeCrate kindsAndModes()
{
    std::vector<FakeParameter> parameters;
    for (uint32_t kind = VEXAHV_PARAM_NUMERIC; kind <= VEXAHV_PARAM_ENUM + 1; ++kind) {
        for (uint32_t mode = VEXAHV_MODE_READ; mode <= VEXAHV_MODE_READWRITE + 1; ++mode) {
            FakeParameter parameter = fakeInteger("", kind, mode, 1);
            parameter.name = "K" + std::to_string(kind) + "M" + std::to_string(mode);
            parameter.properties.insert({{VEXAHV_PROP_ONSTATE, FakeBytes::text("On")},
                                         {VEXAHV_PROP_OFFSTATE, FakeBytes::text("Off")}});
            parameters.push_back(parameter);
        }
    }
    return crateOf(parameters, parameters);
}

FakeCrate systemProperties()
{
    FakeCrate crate;
    for (uint32_t type = VEXAHV_SYSPROP_TEXT; type <= VEXAHV_SYSPROP_BOOLEAN + 1; ++type) {
        for (uint32_t mode = VEXAHV_MODE_READ; mode <= VEXAHV_MODE_READWRITE + 1; ++mode)
            crate.properties.push_back(
                fakeSysProp("T" + std::to_string(type) + "M" + std::to_string(mode), type, mode,
                            FakeBytes::text("abc")));
    }
    crate.properties.push_back(
        fakeSysProp("ResFlag", VEXAHV_SYSPROP_UINT16, VEXAHV_MODE_READ, FakeBytes::text("a")));
    crate.properties.push_back(
        fakeSysProp("IPAddr", VEXAHV_SYSPROP_TEXT, VEXAHV_MODE_READ, FakeBytes::text("unused")));
    return crate;
}

// Names and texts that would end the load of the database, or change what it says.
FakeCrate nastyTexts()
{
    FakeParameter endless = fakeOnOff("Endless", VEXAHV_MODE_READ, 0);
    endless.properties[VEXAHV_PROP_ONSTATE] = {std::string(VEXAHV_TEXT_SIZE, 'x')};
    FakeCrate crate =
        crateOf({fakeOnOff("Quote", VEXAHV_MODE_READ, 0, "say \"on\"", "\""),
                 fakeOnOff("Backslash", VEXAHV_MODE_READ, 0, "on\\", "\\\""),
                 fakeOnOff("Control", VEXAHV_MODE_READ, 0, "o\nn\x01", "\t\x7F"),
                 fakeOnOff("Macro", VEXAHV_MODE_READ, 0, "$(X)", "$${Y}"),
                 fakeOnOff("Long", VEXAHV_MODE_READWRITE, 0, std::string(26, 'x'),
                           std::string(24, 'x') + "\xC2\xB0"),
                 endless, fakePlain("tenLetters", VEXAHV_PARAM_BOARD_STATUS, VEXAHV_MODE_READ)},
                {fakePlain("a\"b", VEXAHV_PARAM_CHANNEL_STATUS, VEXAHV_MODE_READ),
                 fakePlain("a\\", VEXAHV_PARAM_CHANNEL_STATUS, VEXAHV_MODE_READ),
                 fakePlain("$(X)", VEXAHV_PARAM_CHANNEL_STATUS, VEXAHV_MODE_READ),
                 fakePlain("Good", VEXAHV_PARAM_CHANNEL_STATUS, VEXAHV_MODE_READ)});
    crate.commands = {"Quoted \"command\"", std::string(54, 'L'), std::string(55, 'T'), "Good"};
    crate.properties = {
        fakeSysProp("Line\nbreak", VEXAHV_SYSPROP_TEXT, VEXAHV_MODE_READ, FakeBytes::text("x")),
        fakeSysProp(std::string(49, 'W'), VEXAHV_SYSPROP_TEXT, VEXAHV_MODE_READWRITE,
                    FakeBytes::text("x")),
        fakeSysProp(std::string(50, 'V'), VEXAHV_SYSPROP_TEXT, VEXAHV_MODE_READWRITE,
                    FakeBytes::text("x"))};
    return crate;
}

// Names that are the same without their blanks, or that are a companion's: of one record type all
// stay, of several types those without a blank and among equals the first.
FakeCrate sameNames()
{
    FakeCrate crate =
        crateOf({fakeNumeric("Set Volt", VEXAHV_MODE_WRITE, 0, 0, 100),
                 fakeNumeric("SetVolt", VEXAHV_MODE_READWRITE, 0, 0, 200)},
                {fakeNumeric("V Set", VEXAHV_MODE_READWRITE, 0, 0, 100),
                 fakeOnOff("VSet", VEXAHV_MODE_READ, 0),
                 fakePlain("VSet:RBV", VEXAHV_PARAM_CHANNEL_STATUS, VEXAHV_MODE_READ),
                 fakePlain("VSet:Sync", VEXAHV_PARAM_CHANNEL_STATUS, VEXAHV_MODE_READ),
                 fakePlain("Status", VEXAHV_PARAM_CHANNEL_STATUS, VEXAHV_MODE_READ)});
    crate.commands = {"Clear", "Clear"};
    crate.properties = {
        fakeSysProp("Clear", VEXAHV_SYSPROP_TEXT, VEXAHV_MODE_READ, FakeBytes::text("x"))};
    return crate;
}

const GoldenCrate crates[] = {
    {"allItems", smallFakeCrate},         {"sixSlots", sixSlots},
    {"sevenSlots", sevenSlots},           {"noParameters", noParameters},
    {"namesWithBlanks", namesWithBlanks}, {"limits", limits},
    {"kindsAndModes", kindsAndModes},     {"systemProperties", systemProperties},
    {"nastyTexts", nastyTexts},           {"sameNames", sameNames},
};

// Only what is said to this very program counts: a variable of the environment may have been
// exported for something else long ago. `arguments` are the program's, each with its NUL.
bool asksForAcceptance(const std::string &arguments)
{
    using namespace std::string_literals;
    return arguments.find("\0--accept-golden\0"s) != std::string::npos;
}

// A few lines of `text` from `begin` on: what a failure shows of a large file.
std::string excerpt(const std::string &text, size_t begin)
{
    constexpr int lines = 25;
    size_t end = begin;
    for (int i = 0; i < lines && end != std::string::npos; ++i)
        end = text.find('\n', end + 1);
    return text.substr(begin, end - begin);
}

// Fails, if they differ, with what there is from the first line on that differs.
void expectSame(const std::string &file, const std::string &golden, const std::string &now)
{
    if (golden == now)
        return;
    const auto first = std::mismatch(golden.begin(), golden.end(), now.begin(), now.end()).first;
    const std::string common(golden.begin(), first);
    const size_t begin = common.rfind('\n') + 1; // 0 if there is none
    EXPECT_EQ(excerpt(golden, begin), excerpt(now, begin))
        << file << ", line " << 1 + std::count(common.begin(), common.end(), '\n')
        << ": golden first, then what it is now; tests/accept takes the new one";
}

// Compares with the file, or makes the file what `actual` is when the user has said so.
void compare(const std::string &folder, const std::string &file, const std::string &actual)
{
    const std::string path = folder + "/" + file;
    if (asksForAcceptance(contents("/proc/self/cmdline"))) {
        mkdir(folder.c_str(), 0755);
        put(path, actual);
    }
    expectSame(file, contents(path), actual);
}

class Golden : public StartupFilesTest, public ::testing::WithParamInterface<GoldenCrate> {
protected:
    static void check(const std::string &file, const std::string &actual)
    {
        compare(std::string(ZANTO_GOLDEN_DIR) + "/" + GetParam().name, file, actual);
    }

    static std::string joined(const Lines &lines)
    {
        std::string text;
        for (const std::string &line : lines)
            text += line + "\n";
        return text;
    }
};

} // namespace

TEST_P(Golden, CallsDatabaseAndListAreAsBefore)
{
    fake.setCrate(GetParam().make());
    {
        StdoutCapture quiet;
        ASSERT_EQ(createSystemTree("CRATE", "10.0.0.9", "admin", "secret"), 0);
    }
    check("calls.txt", joined(fake.calls()));
    check("ZANTO.db", contents(databasePath));
    check("pvlist.txt", contents(pvListPath));
}

INSTANTIATE_TEST_SUITE_P(Crates, Golden, ::testing::ValuesIn(crates),
                         [](const auto &info) { return std::string(info.param.name); });

TEST(GoldenAcceptance, IsAskedForByTheOptionAloneWhereverItStands)
{
    using namespace std::string_literals;
    EXPECT_TRUE(asksForAcceptance("test\0--accept-golden\0--gtest_brief=1\0"s));
    EXPECT_TRUE(asksForAcceptance("test\0--gtest_brief=1\0--accept-golden\0"s));
    EXPECT_FALSE(asksForAcceptance("test\0--gtest_brief=1\0"s));
    EXPECT_FALSE(asksForAcceptance("--accept-golden\0--gtest_brief=1\0"s)) << "the program's name";
    EXPECT_FALSE(asksForAcceptance("test\0--accept-golden=0\0"s));
}

// A program that is told to accept fails this test and writes nothing of the repository.
TEST(GoldenAcceptance, NoVariableOfTheEnvironmentTurnsAComparisonIntoOne)
{
    char name[] = "/tmp/zantoGoldenTest.XXXXXX";
    ASSERT_NE(mkdtemp(name), nullptr);
    static std::string folder;
    folder = name;
    const std::string path = folder + "/file";
    put(path, "golden\n");
    const char *const variables[] = {"ZANTO_ACCEPT", "ACCEPT", "ACCEPT_GOLDEN", "accept_golden"};
    for (const char *variable : variables)
        setenv(variable, "1", 1);
    EXPECT_NONFATAL_FAILURE(compare(folder, "file", "now\n"), "tests/accept");
    for (const char *variable : variables)
        unsetenv(variable);
    EXPECT_EQ(contents(path), "golden\n");
    unlink(path.c_str());
    rmdir(name);
}
