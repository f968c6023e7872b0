// The access library against a running crate.
#include <atomic>
#include <cstring>
#include <gmock/gmock.h>

#include "accesslib/session.h"
#include "runningCrate.h"

using namespace crateTest;
using sim::Result;
using sim::wire::Operation;
using testing::ElementsAre;

namespace {

constexpr int32_t code(Result result) { return static_cast<int32_t>(result); }

struct LibraryTest : testing::Test {
    RunningCrate crate;
    Login login{crate};

    void SetUp() override { ASSERT_EQ(login.result, 0); }

    std::vector<std::string> packed(VEXAHVRESULT (*list)(int32_t, uint16_t *, char **))
    {
        uint16_t count = 0;
        char *names = nullptr;
        EXPECT_EQ(list(login.handle, &count, &names), 0);
        std::vector<std::string> result;
        const char *position = names;
        for (; result.size() < count; position += result.back().size() + 1)
            result.emplace_back(position);
        VEXAHV_Free(names);
        return result;
    }

    static std::vector<std::string> tableNames(char *table)
    {
        std::vector<std::string> names;
        for (const char *slot = table; *slot != '\0'; slot += VEXAHV_PARAM_NAME_SLOT)
            names.emplace_back(slot);
        VEXAHV_Free(table);
        return names;
    }

    VEXAHVRESULT setChannel(const char *name, const void *value, uint16_t channel = 0)
    {
        return VEXAHV_SetChParam(login.handle, 0, name, 1, &channel, value);
    }
    template <class Number> Number getChannel(const char *name, uint16_t channel = 0)
    {
        Number value{};
        EXPECT_EQ(VEXAHV_GetChParam(login.handle, 0, name, 1, &channel, &value), 0) << name;
        return value;
    }
    std::string lastCall()
    {
        return crate.on([](auto &state) { return state.statistics.calls.log().back(); });
    }
};

} // namespace

TEST(LibraryLogin, WrongPasswordIsRefused)
{
    const RunningCrate crate;
    const Login login(crate, "admin", "nimda");
    EXPECT_EQ(login.result, code(Result::LoginRefused));
    EXPECT_EQ(login.handle, -99);
}

TEST(LibraryLogin, RefusalsCanBeOrdered)
{
    RunningCrate crate;
    crate.order({{"kind", "refuse-logins"}, {"count", 2}});
    EXPECT_NE(Login(crate).result, 0);
    EXPECT_NE(Login(crate).result, 0);
    EXPECT_EQ(Login(crate).result, 0);
}

TEST(LibraryLogin, OtherFamiliesAndLinksAreRefused)
{
    const RunningCrate crate;
    int32_t handle = -99;
    EXPECT_NE(VEXAHV_InitSystem(3, 0, crate.address().c_str(), "admin", "admin", &handle), 0);
    EXPECT_NE(VEXAHV_InitSystem(2, 1, crate.address().c_str(), "admin", "admin", &handle), 0);
    EXPECT_EQ(handle, -99);
}

TEST(LibraryLogin, NobodyListens)
{
    uint16_t port = 0;
    {
        const RunningCrate crate;
        port = crate.port();
    }
    sim::accesslib::tuning().port = port;
    int32_t handle = -99;
    EXPECT_EQ(VEXAHV_InitSystem(2, 0, "127.61.80.1", "admin", "admin", &handle),
              sim::accesslib::failure::cannotConnect);
    EXPECT_EQ(handle, -99);
}

TEST(LibraryLogin, NullArgumentsAreRefused)
{
    int32_t handle = -99;
    EXPECT_NE(VEXAHV_InitSystem(2, 0, nullptr, "a", "b", &handle), 0);
    EXPECT_NE(VEXAHV_InitSystem(2, 0, "127.0.0.1", "a", "b", nullptr), 0);
    EXPECT_EQ(VEXAHV_Free(nullptr), 0);
    EXPECT_NE(VEXAHV_FreeEventData(nullptr), 0);
}

TEST(LibraryLogin, HandleEndsWithTheLogout)
{
    const RunningCrate crate;
    Login login(crate);
    EXPECT_EQ(VEXAHV_DeinitSystem(login.handle), 0);
    EXPECT_NE(VEXAHV_ExecComm(login.handle, "Kill"), 0);
    EXPECT_NE(VEXAHV_DeinitSystem(login.handle), 0);
}

TEST_F(LibraryTest, TwoSessionsAreApart)
{
    const Login other(crate);
    ASSERT_EQ(other.result, 0);
    EXPECT_NE(other.handle, login.handle);
    EXPECT_EQ(VEXAHV_DeinitSystem(other.handle), 0);
    EXPECT_EQ(VEXAHV_ExecComm(login.handle, "Kill"), 0);
}

TEST_F(LibraryTest, ListsArePacked)
{
    EXPECT_THAT(packed(VEXAHV_GetExecCommList), ElementsAre("Kill", "ClearAlarm", "AllOff"));
    const auto properties = packed(VEXAHV_GetSysPropList);
    EXPECT_EQ(properties.size(), 16u);
    EXPECT_EQ(properties.front(), "ModelName");
}

TEST_F(LibraryTest, PropertyInfoGivesModeThenType)
{
    uint32_t mode = 9;
    uint32_t type = 9;
    ASSERT_EQ(VEXAHV_GetSysPropInfo(login.handle, "FanTrim", &mode, &type), 0);
    EXPECT_EQ(mode, 2u);
    EXPECT_EQ(type, 4u);
    EXPECT_EQ(VEXAHV_GetSysPropInfo(login.handle, "Nothing", &mode, &type), code(Result::NoItem));
    EXPECT_EQ(mode, 2u);
}

TEST_F(LibraryTest, PropertiesComeInTheirOwnWidth)
{
    unsigned char buffer[8];
    std::memset(buffer, 0xee, sizeof buffer);
    ASSERT_EQ(VEXAHV_GetSysProp(login.handle, "FanTrim", buffer), 0);
    EXPECT_EQ(buffer[0], 0xfb); // -5
    EXPECT_EQ(buffer[1], 0xff);
    EXPECT_EQ(buffer[2], 0xee);
    ASSERT_EQ(VEXAHV_GetSysProp(login.handle, "AlarmMask", buffer), 0);
    EXPECT_EQ(buffer[3], 0);
    EXPECT_EQ(buffer[4], 0xee);
}

TEST_F(LibraryTest, PropertiesAreWritten)
{
    char text[VEXAHV_TEXT_SIZE] = "";
    ASSERT_EQ(VEXAHV_SetSysProp(login.handle, "Location", "Hall 3"), 0);
    EXPECT_EQ(lastCall(), "VEXAHV_SetSysProp(\"Location\", \"Hall 3\")");
    ASSERT_EQ(VEXAHV_GetSysProp(login.handle, "Location", text), 0);
    EXPECT_STREQ(text, "Hall 3");
    const int32_t shift = -70000;
    int32_t back = 0;
    ASSERT_EQ(VEXAHV_SetSysProp(login.handle, "ClockShift", &shift), 0);
    ASSERT_EQ(VEXAHV_GetSysProp(login.handle, "ClockShift", &back), 0);
    EXPECT_EQ(back, shift);
    const float limit = 12.5f;
    EXPECT_EQ(VEXAHV_SetSysProp(login.handle, "PowerLimit", &limit), 0);
    EXPECT_EQ(VEXAHV_SetSysProp(login.handle, "OutPower", &limit), code(Result::NotWritable));
    EXPECT_EQ(VEXAHV_SetSysProp(login.handle, "Nothing", &limit), code(Result::NoItem));
}

TEST_F(LibraryTest, CrateMapHasAnEntryPerSlot)
{
    uint16_t slots = 0;
    uint16_t *channels = nullptr;
    uint16_t *serials = nullptr;
    char *models = nullptr;
    char *descriptions = nullptr;
    uint8_t *minor = nullptr;
    uint8_t *major = nullptr;
    ASSERT_EQ(VEXAHV_GetCrateMap(login.handle, &slots, &channels, &models, &descriptions, &serials,
                                 &minor, &major),
              0);
    ASSERT_EQ(slots, 16);
    EXPECT_EQ(channels[0], 12);
    EXPECT_EQ(channels[1], 0);
    EXPECT_EQ(channels[3], 48);
    EXPECT_EQ(serials[3], 65001);
    EXPECT_EQ(major[3], 2);
    EXPECT_EQ(minor[3], 10);
    EXPECT_STREQ(models, "ZA12P");
    EXPECT_STREQ(models + 6, "");
    EXPECT_STREQ(models + 7, "ZA24N");
    EXPECT_STREQ(descriptions, "12 channels 3 kV 3 mA");
    for (void *list : {static_cast<void *>(channels), static_cast<void *>(serials),
                       static_cast<void *>(models), static_cast<void *>(descriptions),
                       static_cast<void *>(minor), static_cast<void *>(major)})
        EXPECT_EQ(VEXAHV_Free(list), 0);
}

TEST_F(LibraryTest, NameTablesEndWithAnEmptySlot)
{
    char *table = nullptr;
    int32_t count = 0;
    ASSERT_EQ(VEXAHV_GetChParamInfo(login.handle, 0, 0, &table, &count), 0);
    const auto names = tableNames(table);
    EXPECT_EQ(names.size(), static_cast<size_t>(count));
    EXPECT_EQ(names.front(), "VSet");
    EXPECT_THAT(names, testing::Contains("Trip Int"));
    ASSERT_EQ(VEXAHV_GetBdParamInfo(login.handle, 0, &table), 0);
    EXPECT_THAT(tableNames(table), testing::Contains("Fan Speed")); // fills its slot
}

TEST_F(LibraryTest, MissingPlacesLeaveOutputsAlone)
{
    char mark = 0;
    char *table = &mark;
    int32_t count = 77;
    EXPECT_EQ(VEXAHV_GetBdParamInfo(login.handle, 1, &table), code(Result::NoSlot));
    EXPECT_EQ(VEXAHV_GetChParamInfo(login.handle, 0, 12, &table, &count), code(Result::NoChannel));
    EXPECT_EQ(table, &mark);
    EXPECT_EQ(count, 77);
}

TEST_F(LibraryTest, ParameterPropertiesComeInTheirOwnWidth)
{
    const auto get = [&](const char *parameter, const char *property, void *value) {
        return VEXAHV_GetChParamProp(login.handle, 0, 0, parameter, property, value);
    };
    uint32_t type = 9;
    uint32_t mode = 9;
    float maximum = 0;
    uint16_t unit = 0;
    int16_t exponent = 0;
    int16_t decimals = 0;
    char label[VEXAHV_TEXT_SIZE] = "";
    EXPECT_EQ(get("ISet", "Type", &type), 0);
    EXPECT_EQ(get("ISet", "Mode", &mode), 0);
    EXPECT_EQ(get("ISet", "Maxval", &maximum), 0);
    EXPECT_EQ(get("ISet", "Unit", &unit), 0);
    EXPECT_EQ(get("ISet", "Exp", &exponent), 0);
    EXPECT_EQ(get("ISet", "Decimal", &decimals), 0);
    EXPECT_EQ(get("PDwn", "Offstate", label), 0);
    EXPECT_EQ(type, 0u);
    EXPECT_EQ(mode, 2u);
    EXPECT_EQ(maximum, 3000);
    EXPECT_EQ(unit, 1);
    EXPECT_EQ(exponent, -6);
    EXPECT_EQ(decimals, 2);
    EXPECT_STREQ(label, "Kill");
    EXPECT_EQ(get("Range", "Enum", label), code(Result::NoProperty));
    EXPECT_EQ(get("Pw", "Minval", label), code(Result::NoProperty));
    EXPECT_EQ(get("Nothing", "Type", &type), code(Result::NoItem));
    EXPECT_EQ(VEXAHV_GetBdParamProp(login.handle, 0, "BdStatus", "Type", &type), 0);
    EXPECT_EQ(type, 3u);
}

TEST_F(LibraryTest, ChannelParametersAreWrittenAndRead)
{
    const float volts = 123.5f;
    ASSERT_EQ(setChannel("VSet", &volts), 0);
    EXPECT_EQ(lastCall(), "VEXAHV_SetChParam(0, \"VSet\", [0], 123.5)");
    EXPECT_EQ(getChannel<float>("VSet"), volts);
    const float tooMuch = 3001;
    EXPECT_EQ(setChannel("VSet", &tooMuch), code(Result::OutOfRange));
    const int32_t pattern = 0x8001;
    ASSERT_EQ(setChannel("TripExt", &pattern), 0);
    EXPECT_EQ(getChannel<int32_t>("TripExt"), pattern);
    EXPECT_EQ(setChannel("Comment", &pattern), code(Result::NotWritable));
    float untouched = 5;
    const uint16_t channel = 0;
    EXPECT_NE(VEXAHV_GetChParam(login.handle, 0, "Comment", 1, &channel, &untouched), 0);
    EXPECT_EQ(untouched, 5);
}

TEST_F(LibraryTest, SeveralPlacesAtOnce)
{
    const uint16_t channels[] = {0, 3, 7};
    const float volts = 50;
    float back[3] = {};
    ASSERT_EQ(VEXAHV_SetChParam(login.handle, 0, "VSet", 3, channels, &volts), 0);
    ASSERT_EQ(VEXAHV_GetChParam(login.handle, 0, "VSet", 3, channels, back), 0);
    EXPECT_THAT(back, ElementsAre(50, 50, 50));
    const uint16_t slots[] = {0, 2};
    float speeds[2] = {};
    ASSERT_EQ(VEXAHV_GetBdParam(login.handle, 2, slots, "Fan Speed", speeds), 0);
    EXPECT_THAT(speeds, ElementsAre(2400, 2400));
    const uint16_t withEmpty[] = {0, 1};
    EXPECT_EQ(VEXAHV_GetBdParam(login.handle, 2, withEmpty, "Fan Speed", speeds),
              code(Result::NoSlot));
}

TEST_F(LibraryTest, ChannelNamesFillTheirSlots)
{
    const uint16_t channels[] = {1, 2};
    ASSERT_EQ(VEXAHV_SetChName(login.handle, 0, 1, &channels[0], "elevenchars"), 0);
    char names[2][VEXAHV_CHANNEL_NAME_SLOT];
    std::memset(names, 0xee, sizeof names);
    ASSERT_EQ(VEXAHV_GetChName(login.handle, 0, 2, channels, names), 0);
    EXPECT_STREQ(names[0], "elevenchars");
    EXPECT_STREQ(names[1], "CHANNEL02");
    EXPECT_EQ(VEXAHV_SetChName(login.handle, 0, 1, &channels[0], "twelve chars"),
              code(Result::OutOfRange));
}

TEST_F(LibraryTest, CommandsAreExecuted)
{
    EXPECT_EQ(VEXAHV_ExecComm(login.handle, "ClearAlarm"), 0);
    EXPECT_EQ(lastCall(), "VEXAHV_ExecComm(\"ClearAlarm\")");
    EXPECT_EQ(VEXAHV_ExecComm(login.handle, "Nothing"), code(Result::NoCommand));
}

TEST_F(LibraryTest, HungCrateFailsInTimeAndForGood)
{
    crate.order({{"kind", "hang"}, {"operation", "any"}});
    sim::accesslib::tuning().timeout = std::chrono::milliseconds(50);
    EXPECT_EQ(VEXAHV_ExecComm(login.handle, "Kill"), sim::accesslib::failure::timedOut);
    sim::accesslib::tuning().timeout = std::chrono::hours(1);
    EXPECT_EQ(VEXAHV_ExecComm(login.handle, "Kill"), sim::accesslib::failure::connectionLost);
}

TEST_F(LibraryTest, ThreadsShareASession)
{
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (uint16_t channel = 0; channel < 4; ++channel)
        threads.emplace_back([&, channel] {
            for (int round = 0; round < 100; ++round) {
                const auto volts = static_cast<float>(round + channel);
                float back = -1;
                if (VEXAHV_SetChParam(login.handle, 0, "VSet", 1, &channel, &volts) != 0 ||
                    VEXAHV_GetChParam(login.handle, 0, "VSet", 1, &channel, &back) != 0 ||
                    back != volts)
                    ++failures;
            }
        });
    for (auto &thread : threads)
        thread.join();
    EXPECT_EQ(failures, 0);
}

TEST(LibraryDeadCrate, CallsFailAtOnce)
{
    auto crate = std::make_unique<RunningCrate>();
    Login login(*crate);
    ASSERT_EQ(login.result, 0);
    crate.reset();
    EXPECT_NE(VEXAHV_ExecComm(login.handle, "Kill"), 0);
    EXPECT_NE(VEXAHV_DeinitSystem(login.handle), 0);
}
