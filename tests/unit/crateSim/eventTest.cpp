// Events: from the subscription to the records, and the stream byte by byte.
#include <cstring>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <unistd.h>

#include "accesslib/session.h"
#include "protocol/events.h"
#include "runningCrate.h"

using namespace crateTest;
using sim::wire::Operation;
using testing::Each;
using testing::ElementsAre;

namespace {

struct EventTest : testing::Test {
    RunningCrate crate;
    Login login{crate};
    EventReceiver receiver;

    void SetUp() override { ASSERT_EQ(login.result, 0); }

    std::vector<char> subscribe(const char *names, uint32_t count, uint16_t slot = 0,
                                uint16_t channel = 0)
    {
        std::vector<char> results(count, 0x55);
        EXPECT_EQ(VEXAHV_SubscribeChannelParams(login.handle, receiver.port(), slot, channel, names,
                                                count, results.data()),
                  0);
        return results;
    }
    std::vector<char> unsubscribe(const char *names, uint32_t count)
    {
        std::vector<char> results(count, 0x55);
        EXPECT_EQ(VEXAHV_UnSubscribeChannelParams(login.handle, receiver.port(), 0, 0, names, count,
                                                  results.data()),
                  0);
        return results;
    }
    void set(const char *name, float value)
    {
        const uint16_t channel = 0;
        EXPECT_EQ(VEXAHV_SetChParam(login.handle, 0, name, 1, &channel, &value), 0);
    }
};

} // namespace

TEST_F(EventTest, FirstBatchHoldsThePresentValues)
{
    set("VSet", 12.5f);
    EXPECT_THAT(subscribe("VSet:Pw:Status", 3), Each(0));
    ASSERT_TRUE(receiver.accept());
    const auto batch = receiver.nextBatch();
    ASSERT_EQ(batch.size(), 3u);
    EXPECT_EQ(batch[0].type, PARAMETER);
    EXPECT_EQ(batch[0].handle, login.handle);
    EXPECT_EQ(batch[0].slot, 0);
    EXPECT_EQ(batch[0].channel, 0);
    EXPECT_EQ(batch[0].name, "VSet");
    EXPECT_EQ(batch[0].real, 12.5f);
    EXPECT_EQ(batch[1].name, "Pw");
    EXPECT_EQ(batch[2].name, "Status");
}

TEST_F(EventTest, OnlyWhatIsSubscribedIsSent)
{
    subscribe("VSet", 1);
    ASSERT_TRUE(receiver.accept());
    receiver.nextBatch();
    set("ISet", 7);
    set("VSet", 7);
    const auto batch = receiver.nextBatch();
    ASSERT_EQ(batch.size(), 1u);
    EXPECT_EQ(batch[0].name, "VSet");
    EXPECT_EQ(batch[0].real, 7);
}

TEST_F(EventTest, LeadingColonIsNoName)
{
    EXPECT_THAT(subscribe(":VSet:ISet", 2), Each(0));
    EXPECT_EQ(crate.on([](auto &state) { return state.links.all()[0]->subscriptionCount(); }), 2u);
}

TEST_F(EventTest, EachNameHasItsResult)
{
    const auto results = subscribe("VSet:Nothing:ClrTrip:Factory:ISet", 6);
    EXPECT_EQ(results[0], 0);
    EXPECT_NE(results[1], 0);
    EXPECT_NE(results[2], 0);
    EXPECT_EQ(results[3], 0); // has no value, but may be watched
    EXPECT_EQ(results[4], 0);
    EXPECT_NE(results[5], 0); // counted, but not named
}

TEST_F(EventTest, EmptyListsAreFine)
{
    EXPECT_EQ(VEXAHV_SubscribeSystemParams(login.handle, receiver.port(), "", 0, nullptr), 0);
    EXPECT_EQ(VEXAHV_SubscribeBoardParams(login.handle, receiver.port(), 0, "", 0, nullptr), 0);
    EXPECT_EQ(crate.on([](auto &state) { return state.links.all().size(); }), 0u);
}

TEST_F(EventTest, LevelsAreToldApart)
{
    char result = 0x55;
    ASSERT_EQ(VEXAHV_SubscribeSystemParams(login.handle, receiver.port(), "Location", 1, &result),
              0);
    ASSERT_EQ(VEXAHV_SubscribeBoardParams(login.handle, receiver.port(), 3, "Temp", 1, &result), 0);
    ASSERT_TRUE(receiver.accept());
    bool system = false;
    bool board = false;
    while (!system || !board) {
        const auto batch = receiver.nextBatch();
        ASSERT_FALSE(batch.empty());
        for (const auto &event : batch) {
            system |= event.slot == -1 && event.channel == -1 && event.text == "Test stand";
            board |= event.slot == 3 && event.channel == -1 && event.real == 27;
        }
    }
}

TEST_F(EventTest, RampArrives)
{
    subscribe("VMon:Status", 2);
    ASSERT_TRUE(receiver.accept());
    set("RUp", 500);
    set("VSet", 5);
    const uint32_t on = 1;
    const uint16_t channel = 0;
    ASSERT_EQ(VEXAHV_SetChParam(login.handle, 0, "Pw", 1, &channel, &on), 0);
    EXPECT_TRUE(receiver.waitFor("Status", [](auto &event) { return event.integer == 3; }));
    EXPECT_TRUE(receiver.waitFor("VMon", [](auto &event) { return event.real == 5; }));
}

TEST_F(EventTest, TripTextArrives)
{
    subscribe("LastTrip", 1);
    ASSERT_TRUE(receiver.accept());
    crate.on([](auto &state) {
        return state.crate.tripChannel({0, 0}, sim::channelbit::ExternalTrip);
    });
    EXPECT_TRUE(receiver.waitFor("LastTrip", [](auto &event) { return event.text == "external"; }));
}

TEST_F(EventTest, LiveInsertionIsAnAlarm)
{
    subscribe("VSet", 1);
    ASSERT_TRUE(receiver.accept());
    receiver.nextBatch();
    crate.on([](auto &state) { return state.crate.removeBoard(7); });
    const auto batch = receiver.nextBatch();
    ASSERT_EQ(batch.size(), 1u);
    EXPECT_EQ(batch[0].type, ALARM);
    EXPECT_EQ(batch[0].slot, 7);
}

TEST_F(EventTest, TwoSubscribersHaveTheirOwn)
{
    const Login second(crate);
    EventReceiver other;
    char result = 0x55;
    subscribe("VSet", 1);
    ASSERT_EQ(VEXAHV_SubscribeChannelParams(second.handle, other.port(), 0, 0, "ISet", 1, &result),
              0);
    ASSERT_TRUE(receiver.accept());
    ASSERT_TRUE(other.accept());
    EXPECT_EQ(receiver.nextBatch().at(0).name, "VSet");
    const auto batch = other.nextBatch();
    EXPECT_EQ(batch.at(0).name, "ISet");
    EXPECT_EQ(batch.at(0).handle, second.handle);
}

TEST_F(EventTest, LastUnsubscriptionClosesTheConnection)
{
    subscribe("VSet:ISet", 2);
    ASSERT_TRUE(receiver.accept());
    EXPECT_THAT(unsubscribe("VSet", 1), ElementsAre(0));
    EXPECT_NE(unsubscribe("VSet", 1)[0], 0);
    EXPECT_EQ(crate.on([](auto &state) { return state.links.all().size(); }), 1u);
    EXPECT_THAT(unsubscribe("ISet", 1), ElementsAre(0));
    EXPECT_TRUE(receiver.isClosed());
    EXPECT_EQ(crate.on([](auto &state) { return state.links.all().size(); }), 0u);
}

TEST_F(EventTest, LogoutClosesTheConnection)
{
    subscribe("VSet", 1);
    ASSERT_TRUE(receiver.accept());
    EXPECT_EQ(VEXAHV_DeinitSystem(login.handle), 0);
    EXPECT_TRUE(receiver.isClosed());
}

TEST_F(EventTest, LostConnectionIsMadeAgainWithAllValues)
{
    subscribe("VSet:ISet", 2);
    ASSERT_TRUE(receiver.accept());
    receiver.nextBatch();
    crate.on([](auto &state) {
        state.links.all()[0]->drop();
        return 0;
    });
    EXPECT_TRUE(receiver.isClosed());
    ASSERT_TRUE(receiver.accept());
    EXPECT_EQ(receiver.nextBatch().size(), 2u);
}

TEST_F(EventTest, SubscriberThatListensLateIsFound)
{
    // A port on which nobody listens yet.
    const int late = socket(AF_INET, SOCK_STREAM, 0);
    const int on = 1;
    setsockopt(late, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    socklen_t size = sizeof address;
    ASSERT_EQ(bind(late, reinterpret_cast<sockaddr *>(&address), size), 0);
    getsockname(late, reinterpret_cast<sockaddr *>(&address), &size);
    const auto port = static_cast<int16_t>(ntohs(address.sin_port));
    char result = 0x55;
    ASSERT_EQ(VEXAHV_SubscribeChannelParams(login.handle, port, 0, 0, "VSet", 1, &result), 0);
    crate.on([](auto &state) { return state.links.connectedCount(); });
    ASSERT_EQ(listen(late, 1), 0);
    EXPECT_GE(accept(late, nullptr, nullptr), 0);
    close(late);
}

TEST_F(EventTest, PortOfNothingIsRefused)
{
    char result = 0x55;
    EXPECT_NE(VEXAHV_SubscribeChannelParams(login.handle, 0, 0, 0, "VSet", 1, &result), 0);
    EXPECT_EQ(result, 0x55);
}

TEST(EventKeepAlive, ComesAfterSilence)
{
    auto settings = RunningCrate::quick();
    settings.links.keepAlive = std::chrono::milliseconds(1);
    RunningCrate crate(settings);
    const Login login(crate);
    EventReceiver receiver;
    char result = 0x55;
    ASSERT_EQ(
        VEXAHV_SubscribeChannelParams(login.handle, receiver.port(), 0, 0, "VSet", 1, &result), 0);
    ASSERT_TRUE(receiver.accept());
    receiver.nextBatch();
    const auto batch = receiver.nextBatch();
    ASSERT_EQ(batch.size(), 1u);
    EXPECT_EQ(batch[0].type, KEEPALIVE);
}

// A subscriber that does not read costs no more than its items.
TEST_F(EventTest, SlowReaderGetsTheLatestValue)
{
    subscribe("VSet", 1);
    ASSERT_TRUE(receiver.accept());
    for (int value = 1; value <= 2000; ++value)
        crate.on([value](auto &state) {
            state.crate.write({0, 0}, "VSet", static_cast<float>(value), sim::Origin::FrontPanel);
            state.step(sim::Duration(1));
            return 0;
        });
    EXPECT_TRUE(receiver.waitFor("VSet", [](auto &event) { return event.real == 2000; }));
}

// ---- The stream

namespace {

struct StreamTest : testing::Test {
    int ends[2] = {-1, -1};
    VEXAHVSystemStatus_t status;
    VEXAHVEventData_t *events = nullptr;
    uint32_t count = 77;

    void SetUp() override { ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0); }
    void TearDown() override
    {
        VEXAHV_FreeEventData(&events);
        closeWriter();
        close(ends[0]);
    }
    void closeWriter()
    {
        if (ends[1] >= 0)
            close(ends[1]);
        ends[1] = -1;
    }
    VEXAHVRESULT read() { return VEXAHV_GetEventData(ends[0], &status, &events, &count); }
    void send(const std::string &bytes)
    {
        ASSERT_EQ(write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }
    static std::string batch()
    {
        sim::wire::BatchWriter writer;
        writer.add(sim::wire::EventKind::Parameter, 1, 2, "VMon", 3.5f);
        writer.add(sim::wire::EventKind::Parameter, 1, 2, "Status", -7);
        writer.add(sim::wire::EventKind::Parameter, -1, -1, "AlarmMask", 0xfffffffeu);
        writer.add(sim::wire::EventKind::Parameter, -1, -1, std::string(40, 'n'),
                   std::string(2000, 't'));
        return writer.finish(4);
    }
    void expectBatch()
    {
        ASSERT_EQ(count, 4u);
        EXPECT_EQ(events[0].SystemHandle, 4);
        EXPECT_STREQ(events[0].ItemID, "VMon");
        EXPECT_EQ(events[0].Value.FloatValue, 3.5f);
        EXPECT_EQ(events[1].Value.IntValue, -7);
        EXPECT_EQ(events[2].Value.IntValue, -2);
        EXPECT_EQ(std::strlen(events[3].ItemID), 19u);
        EXPECT_EQ(std::strlen(events[3].Value.StringValue), 1023u);
    }
    void expectFailure()
    {
        EXPECT_NE(read(), 0);
        EXPECT_EQ(events, nullptr);
        EXPECT_EQ(count, 77u);
    }
};

} // namespace

TEST_F(StreamTest, WholeBatch)
{
    send(batch());
    ASSERT_EQ(read(), 0);
    expectBatch();
}

TEST_F(StreamTest, ByteByByte)
{
    const std::string bytes = batch();
    auto reader = std::async(std::launch::async, [this] { return read(); });
    for (const char byte : bytes)
        send(std::string(1, byte));
    ASSERT_EQ(reader.get(), 0);
    expectBatch();
}

TEST_F(StreamTest, TwoBatchesInOnePiece)
{
    send(batch() + batch());
    ASSERT_EQ(read(), 0);
    VEXAHV_FreeEventData(&events);
    ASSERT_EQ(read(), 0);
    expectBatch();
}

TEST_F(StreamTest, BatchWithoutRecords)
{
    send(sim::wire::BatchWriter().finish(0));
    ASSERT_EQ(read(), 0);
    EXPECT_EQ(count, 0u);
}

TEST_F(StreamTest, EndAtAnyByteIsAFailure)
{
    const std::string bytes = batch();
    for (size_t length = 0; length < bytes.size(); length += length < 64 ? 1 : 97) {
        TearDown();
        SetUp();
        send(bytes.substr(0, length));
        closeWriter();
        expectFailure();
    }
}

TEST_F(StreamTest, StrangerIsNotWaitedFor)
{
    send("G");
    expectFailure();
}

TEST_F(StreamTest, FrameThatIsTooLong)
{
    send(std::string("ZCF1\xff\xff\xff\xff", 8));
    expectFailure();
}

TEST_F(StreamTest, FrameOfRubbish)
{
    const std::string rubbish(32, '\xc1');
    send(sim::wire::makeFrame(rubbish.data(), rubbish.size()));
    expectFailure();
}

TEST_F(StreamTest, NoSocket)
{
    EXPECT_NE(VEXAHV_GetEventData(-1, &status, &events, &count), 0);
    EXPECT_NE(VEXAHV_GetEventData(ends[0], &status, nullptr, &count), 0);
}
