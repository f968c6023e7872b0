// Misbehaving calls and broken answers, as a caller of the access library meets
// them.
#include <cmath>
#include <cstring>
#include <gmock/gmock.h>

#include "accesslib/session.h"
#include "runningCrate.h"

using namespace crateTest;
using namespace std::chrono_literals;
using sim::FaultKind;
using sim::wire::Operation;
using testing::ElementsAre;
using testing::StartsWith;

namespace {

struct CallFaultsTest : testing::Test {
    RunningCrate crate;
    Login login{crate};

    void SetUp() override { ASSERT_EQ(login.result, 0); }

    VEXAHVRESULT kill() { return VEXAHV_ExecComm(login.handle, "Kill"); }
    uint64_t calls(Operation operation)
    {
        return crate.on(
            [operation](auto &state) { return state.statistics.calls.count(operation); });
    }
    void release()
    {
        crate.on([](auto &state) {
            state.clearFaults(FaultKind::Hang);
            return 0;
        });
    }
    void waitForFault(FaultKind kind)
    {
        EXPECT_TRUE(
            crate.until([kind](auto &state) { return state.statistics.faults.of(kind) > 0; }));
    }

    void breakAnswer(const char *operation, const char *answer)
    {
        crate.order({{"kind", "answer"}, {"operation", operation}, {"answer", answer}});
    }
    // Every byte behind the buffer's end has to keep its value.
    std::string textProperty(const char *property)
    {
        char text[VEXAHV_TEXT_SIZE + 64];
        std::memset(text, '#', sizeof text);
        EXPECT_EQ(VEXAHV_GetChParamProp(login.handle, 0, 0, "Pw", property, text), 0);
        EXPECT_EQ(std::string(text + VEXAHV_TEXT_SIZE, 64), std::string(64, '#'));
        return std::string(text, strnlen(text, VEXAHV_TEXT_SIZE));
    }
    float limit(const char *property)
    {
        float value = 0;
        EXPECT_EQ(VEXAHV_GetChParamProp(login.handle, 0, 0, "VSet", property, &value), 0);
        return value;
    }
    std::vector<std::string> commands()
    {
        uint16_t count = 0;
        char *list = nullptr;
        EXPECT_EQ(VEXAHV_GetExecCommList(login.handle, &count, &list), 0);
        std::vector<std::string> names;
        const char *position = list;
        for (; names.size() < count; position += names.back().size() + 1)
            names.emplace_back(position);
        VEXAHV_Free(list);
        return names;
    }
    // Slots up to the first empty one.
    std::vector<std::string> parameters()
    {
        char *table = nullptr;
        int32_t count = 0;
        EXPECT_EQ(VEXAHV_GetChParamInfo(login.handle, 0, 0, &table, &count), 0);
        std::vector<std::string> names;
        for (const char *slot = table; *slot != '\0'; slot += VEXAHV_PARAM_NAME_SLOT)
            names.emplace_back(slot, strnlen(slot, VEXAHV_PARAM_NAME_SLOT));
        VEXAHV_Free(table);
        return names;
    }
    std::string channelName()
    {
        const uint16_t channel = 0;
        char name[2][VEXAHV_CHANNEL_NAME_SLOT];
        std::memset(name, '#', sizeof name);
        EXPECT_EQ(VEXAHV_GetChName(login.handle, 0, 1, &channel, name), 0);
        EXPECT_EQ(std::string(name[1], sizeof name[1]), std::string(sizeof name[1], '#'));
        return std::string(name[0], strnlen(name[0], sizeof name[0]));
    }
};

} // namespace

TEST_F(CallFaultsTest, FailedCallIsNotCarriedOut)
{
    const float volts = 12;
    const uint16_t channel = 0;
    crate.order({{"kind", "fail"}, {"operation", "SetChParam"}, {"code", -42}});
    EXPECT_EQ(VEXAHV_SetChParam(login.handle, 0, "VSet", 1, &channel, &volts), -42);
    float now = -1;
    EXPECT_EQ(VEXAHV_GetChParam(login.handle, 0, "VSet", 1, &channel, &now), 0);
    EXPECT_EQ(now, 0);
    EXPECT_EQ(crate.on([](auto &state) {
        return state.statistics.calls.failures(Operation::SetChParam);
    }),
              1u);
}

TEST_F(CallFaultsTest, HangingCallIsAnsweredOnRelease)
{
    crate.order({{"kind", "hang"}, {"operation", "ExecComm"}});
    auto call = std::async(std::launch::async, [&] { return kill(); });
    waitForFault(FaultKind::Hang);
    EXPECT_EQ(calls(Operation::ExecComm), 0u);
    release();
    EXPECT_EQ(call.get(), 0);
    EXPECT_EQ(calls(Operation::ExecComm), 1u);
}

TEST_F(CallFaultsTest, OtherSessionsGoOnMeanwhile)
{
    const Login other(crate);
    crate.order({{"kind", "hang"}, {"operation", "ExecComm"}});
    auto call = std::async(std::launch::async, [&] { return kill(); });
    waitForFault(FaultKind::Hang);
    EXPECT_EQ(VEXAHV_ExecComm(other.handle, "Kill"), 0);
    release();
    EXPECT_EQ(call.get(), 0);
}

// The session is dead then, and what its caller wanted must not happen later.
TEST_F(CallFaultsTest, CallOfACallerThatGaveUpIsDropped)
{
    for (const char *kind : {"hang", "delay"}) {
        const Login impatient(crate);
        sim::FaultFields order{{"kind", kind}, {"operation", "ExecComm"}};
        if (std::string(kind) == "delay")
            order["milliseconds"] = 3600 * 1000;
        crate.order(order);
        sim::accesslib::tuning().timeout = 20ms;
        EXPECT_EQ(VEXAHV_ExecComm(impatient.handle, "Kill"), sim::accesslib::failure::timedOut);
        sim::accesslib::tuning().timeout = 20s;
        EXPECT_TRUE(crate.until([](auto &state) { return state.sessions <= 1; }));
        release();
        EXPECT_EQ(calls(Operation::ExecComm), 0u) << kind;
    }
}

TEST_F(CallFaultsTest, SeveralDelaysFollowEachOther)
{
    crate.order({{"kind", "delay"}, {"operation", "any"}, {"milliseconds", 1}, {"count", 5}});
    for (int call = 0; call < 6; ++call)
        EXPECT_EQ(kill(), 0);
    EXPECT_EQ(crate.applied(FaultKind::Delay), 5u);
}

TEST_F(CallFaultsTest, LoginIsRefusedAndThenNot)
{
    crate.order({{"kind", "refuse-logins"}, {"count", 2}});
    EXPECT_NE(Login(crate).result, 0);
    EXPECT_NE(Login(crate).result, 0);
    EXPECT_EQ(Login(crate).result, 0);
    EXPECT_EQ(crate.applied(FaultKind::RefuseLogins), 2u);
}

TEST(CallFaultsFromTheStart, AreActive)
{
    auto settings = RunningCrate::quick();
    sim::FaultOrder refusal;
    refusal.kind = FaultKind::RefuseLogins;
    refusal.count = 1;
    settings.faults = {refusal};
    const RunningCrate crate(settings);
    EXPECT_NE(Login(crate).result, 0);
    EXPECT_EQ(Login(crate).result, 0);
}

// ---- Answers

TEST_F(CallFaultsTest, TextWithoutItsNulFillsTheBuffer)
{
    breakAnswer("GetChParamProp", "no-nul");
    EXPECT_EQ(textProperty("Onstate"), std::string(VEXAHV_TEXT_SIZE, 'N'));
    EXPECT_EQ(textProperty("Onstate"), "On");
    EXPECT_EQ(crate.applied(FaultKind::Answer), 1u);
}

TEST_F(CallFaultsTest, LongTextIsCutToTheCallersBuffer)
{
    breakAnswer("GetChParamProp", "long-text");
    EXPECT_EQ(textProperty("Offstate"), std::string(VEXAHV_TEXT_SIZE - 1, 'L'));
    breakAnswer("GetSysProp", "long-text");
    char text[VEXAHV_TEXT_SIZE + 1];
    text[VEXAHV_TEXT_SIZE] = '#';
    EXPECT_EQ(VEXAHV_GetSysProp(login.handle, "Location", text), 0);
    EXPECT_EQ(std::strlen(text), size_t{VEXAHV_TEXT_SIZE - 1});
    EXPECT_EQ(text[VEXAHV_TEXT_SIZE], '#');
}

TEST_F(CallFaultsTest, StrangeTextsAreHandedOn)
{
    breakAnswer("GetChParamProp", "bad-utf8");
    EXPECT_EQ(textProperty("Onstate"), "\xff\xc3On\x80");
    breakAnswer("GetChParamProp", "quoted-text");
    EXPECT_EQ(textProperty("Onstate"), "\"\\\n\t\x01$On");
    breakAnswer("GetChName", "quoted-text");
    EXPECT_EQ(channelName(), "\"\\\n\t\x01$CHANN");
    breakAnswer("GetExecCommList", "bad-utf8");
    EXPECT_THAT(commands().at(0), StartsWith("\xff\xc3"));
}

TEST_F(CallFaultsTest, LimitsMayBeNoNumbers)
{
    crate.order({{"kind", "answer"}, {"operation", "any"}, {"answer", "nan-limits"}, {"count", 2}});
    EXPECT_TRUE(std::isnan(limit("Minval")));
    EXPECT_TRUE(std::isnan(limit("Maxval")));
    crate.order(
        {{"kind", "answer"}, {"operation", "any"}, {"answer", "infinite-limits"}, {"count", 0}});
    EXPECT_EQ(limit("Minval"), -INFINITY);
    EXPECT_EQ(limit("Maxval"), INFINITY);
}

TEST_F(CallFaultsTest, NameSlotsWithoutTheirNul)
{
    breakAnswer("GetChName", "no-nul");
    EXPECT_EQ(channelName(), "CHANNEL00~~~");
    breakAnswer("GetChParamInfo", "no-nul");
    EXPECT_EQ(parameters().at(0), "VSet~~~~~~");
}

TEST_F(CallFaultsTest, TableWithoutItsEndMeetsABound)
{
    const auto whole = parameters();
    breakAnswer("GetChParamInfo", "no-end");
    auto longer = whole;
    longer.emplace_back(VEXAHV_PARAM_NAME_SLOT, '~');
    EXPECT_EQ(parameters(), longer);
    EXPECT_EQ(parameters(), whole);
    breakAnswer("GetChParamInfo", "empty-list");
    EXPECT_EQ(parameters().size(), 0u);
}

TEST_F(CallFaultsTest, CountBeyondTheList)
{
    auto whole = commands();
    breakAnswer("GetExecCommList", "long-count");
    whole.insert(whole.end(), 5, "~");
    EXPECT_EQ(commands(), whole);
    breakAnswer("GetExecCommList", "no-nul");
    whole.resize(whole.size() - 5);
    whole.back() += "~";
    EXPECT_EQ(commands(), whole);
}

// The caller gives back a list that has entries, and no other.
TEST_F(CallFaultsTest, EmptyListComesWithoutABufferThatNobodyWouldGiveBack)
{
    breakAnswer("GetExecCommList", "empty-list");
    uint16_t count = 77;
    char *list = nullptr;
    EXPECT_EQ(VEXAHV_GetExecCommList(login.handle, &count, &list), 0);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(list, nullptr);
}

TEST_F(CallFaultsTest, CrateMapOfMoreSlotsThanEntries)
{
    const size_t slots = crate.on([](auto &state) { return state.crate.slotCount(); });
    breakAnswer("GetCrateMap", "long-count");
    uint16_t count = 0;
    uint16_t *channels = nullptr;
    uint16_t *serials = nullptr;
    char *models = nullptr;
    char *descriptions = nullptr;
    uint8_t *minors = nullptr;
    uint8_t *majors = nullptr;
    EXPECT_EQ(VEXAHV_GetCrateMap(login.handle, &count, &channels, &models, &descriptions, &serials,
                                 &minors, &majors),
              0);
    ASSERT_EQ(count, slots + 5);
    EXPECT_EQ(channels[count - 1], 1);
    EXPECT_EQ(serials[count - 1], 1);
    EXPECT_EQ(minors[count - 1] + majors[count - 1], 2);
    for (auto *list : {models, descriptions}) {
        const char *text = list;
        for (size_t slot = 0; slot + 1 < count; ++slot)
            text += std::strlen(text) + 1;
        EXPECT_STREQ(text, "~");
    }
    for (void *list : {static_cast<void *>(channels), static_cast<void *>(serials),
                       static_cast<void *>(models), static_cast<void *>(descriptions),
                       static_cast<void *>(minors), static_cast<void *>(majors)})
        VEXAHV_Free(list);
}
