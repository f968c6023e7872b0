// The event connection misbehaves: seen from the socket, byte by byte, and
// through the access library.
#include <array>
#include <cerrno>
#include <cstring>
#include <gmock/gmock.h>
#include <limits>
#include <sys/socket.h>

#include "receivedSegments.h"
#include "runningCrate.h"

using namespace crateTest;
using sim::FaultKind;
using testing::UnorderedElementsAre;

namespace {

struct StreamFaultsTest : testing::Test {
    RunningCrate crate;
    Login login{crate};
    EventReceiver receiver;

    void SetUp() override { ASSERT_EQ(login.result, 0); }

    void subscribe(const char *names, uint32_t count)
    {
        std::vector<char> results(count, 0x55);
        EXPECT_EQ(VEXAHV_SubscribeChannelParams(login.handle, receiver.port(), 0, 0, names, count,
                                                results.data()),
                  0);
    }
    void set(float value)
    {
        crate.on([value](auto &state) {
            state.crate.write({0, 0}, "VSet", value, sim::Origin::FrontPanel);
            return 0;
        });
    }
    // Bytes up to the end of the stream, and what ended it: 0 for an orderly end.
    std::pair<size_t, int> readToTheEnd()
    {
        char part[4096];
        size_t all = 0;
        ssize_t size = 0;
        while ((size = recv(receiver.descriptor(), part, sizeof part, 0)) > 0)
            all += static_cast<size_t>(size);
        return {all, size < 0 ? errno : 0};
    }
};

constexpr int orderly = 0;
constexpr int32_t lowest = std::numeric_limits<int32_t>::min();
constexpr int32_t highest = std::numeric_limits<int32_t>::max();

} // namespace

struct EndOfStream {
    const char *name;
    const char *kind;
    FaultKind counted;
    int error;
};

struct StreamEndsTest : StreamFaultsTest, testing::WithParamInterface<EndOfStream> {};

// Ordered before there is a connection, it happens to the first one, counted
// from its first byte.
TEST_P(StreamEndsTest, ExactlyAtItsByte)
{
    for (const int offset : {1, 7, 8, 9, 30}) {
        crate.order({{"kind", GetParam().kind}, {"offset", offset}});
        subscribe("VSet:ISet:RUp:RDwn", 4);
        ASSERT_TRUE(receiver.accept());
        const auto [bytes, error] = readToTheEnd();
        // A reset may overtake the bytes.
        if (GetParam().error == orderly)
            EXPECT_EQ(bytes, static_cast<size_t>(offset));
        else
            EXPECT_LE(bytes, static_cast<size_t>(offset));
        EXPECT_EQ(error, GetParam().error);
        receiver.hangUp();
        ASSERT_TRUE(receiver.accept());
        EXPECT_EQ(receiver.nextBatch().size(), 4u);
        VEXAHV_UnSubscribeChannelParams(login.handle, receiver.port(), 0, 0, "VSet:ISet:RUp:RDwn",
                                        4, std::array<char, 4>().data());
        receiver.hangUp();
    }
    EXPECT_EQ(crate.applied(GetParam().counted), 5u);
}

TEST_P(StreamEndsTest, AtOnce)
{
    subscribe("VSet", 1);
    ASSERT_TRUE(receiver.accept());
    receiver.nextBatch();
    crate.order({{"kind", GetParam().kind}});
    EXPECT_EQ(crate.applied(GetParam().counted), 1u);
    const auto [bytes, error] = readToTheEnd();
    EXPECT_EQ(bytes, 0u);
    EXPECT_EQ(error, GetParam().error);
    EXPECT_TRUE(crate.on([](auto &state) { return state.activeFaults().empty(); }));
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, StreamEndsTest,
    testing::Values(EndOfStream{"Drop", "drop-events", FaultKind::DropEvents, orderly},
                    EndOfStream{"Reset", "reset-events", FaultKind::ResetEvents, ECONNRESET},
                    EndOfStream{"HalfClose", "half-close-events", FaultKind::HalfCloseEvents,
                                orderly}),
    [](const auto &info) { return info.param.name; });

TEST_F(StreamFaultsTest, HalfClosedConnectionStaysUntilTheReaderGoes)
{
    subscribe("VSet", 1);
    ASSERT_TRUE(receiver.accept());
    receiver.nextBatch();
    crate.order({{"kind", "half-close-events"}});
    EXPECT_EQ(readToTheEnd().first, 0u);
    set(5);
    EXPECT_EQ(crate.on([](auto &state) {
        state.step(sim::Duration(1));
        return state.links.connectedCount();
    }),
              1u);
    receiver.hangUp();
    ASSERT_TRUE(receiver.accept());
    EXPECT_EQ(receiver.nextBatch().at(0).real, 5);
}

TEST_F(StreamFaultsTest, SingleBytesArriveInPiecesOfTheirOwn)
{
    crate.order({{"kind", "split-events"}, {"count", 1}});
    subscribe("VSet:ISet", 2);
    ASSERT_TRUE(receiver.accept());
    EXPECT_EQ(receiver.nextBatch().size(), 2u);
    // The system may join a few that queue up on their way.
    const auto [segments, bytes] = receivedSegments(receiver.descriptor());
    EXPECT_GT(bytes, 20u);
    EXPECT_GT(segments, bytes / 2);
    EXPECT_EQ(crate.applied(FaultKind::SplitEvents), 1u);
    set(6);
    EXPECT_EQ(receiver.nextBatch().at(0).real, 6);
}

TEST_F(StreamFaultsTest, GarbageIsNoBatch)
{
    subscribe("VSet", 1);
    ASSERT_TRUE(receiver.accept());
    receiver.nextBatch();
    crate.order({{"kind", "garbage-events"}, {"bytes", 500}});
    EXPECT_EQ(receiver.nextBatch().size(), 0u);
    EXPECT_EQ(crate.applied(FaultKind::GarbageEvents), 1u);
    receiver.hangUp();
    ASSERT_TRUE(receiver.accept());
    EXPECT_EQ(receiver.nextBatch().size(), 1u);
}

TEST_F(StreamFaultsTest, StrangeEventsAreFollowedByTheTruth)
{
    subscribe("VSet:Comment:Status", 3);
    ASSERT_TRUE(receiver.accept());
    receiver.nextBatch();
    crate.order({{"kind", "unknown-events"}});
    const auto strange = receiver.nextBatch();
    const auto has = [&](auto condition) {
        return std::any_of(strange.begin(), strange.end(), condition);
    };
    EXPECT_TRUE(has([](auto &e) { return e.slot == lowest && e.channel == lowest; }));
    EXPECT_TRUE(has([](auto &e) { return e.slot == highest && e.channel == highest; }));
    EXPECT_TRUE(has([](auto &e) { return e.name.empty(); }));
    EXPECT_TRUE(has([](auto &e) { return e.name.size() == 19; }));
    EXPECT_TRUE(has([](auto &e) { return e.type == highest; }));
    EXPECT_TRUE(has([](auto &e) { return e.slot == 0 && e.channel == -1 && e.name == "VSet"; }));
    EXPECT_TRUE(has([](auto &e) { return e.name == "VSet" && e.text.size() == 1023; }));
    std::vector<std::string> again;
    for (const auto &event : receiver.nextBatch())
        again.push_back(event.name);
    EXPECT_THAT(again, UnorderedElementsAre("VSet", "Comment", "Status"));
    EXPECT_EQ(crate.applied(FaultKind::UnknownEvents), 1u);
}

TEST_F(StreamFaultsTest, EachSubscriberHasItsShare)
{
    const Login second(crate);
    EventReceiver other;
    char result = 0x55;
    subscribe("VSet", 1);
    ASSERT_EQ(VEXAHV_SubscribeChannelParams(second.handle, other.port(), 0, 0, "ISet", 1, &result),
              0);
    ASSERT_TRUE(receiver.accept());
    ASSERT_TRUE(other.accept());
    receiver.nextBatch();
    other.nextBatch();
    crate.order({{"kind", "drop-events"}, {"offset", 3}});
    EXPECT_EQ(crate.on([](auto &state) { return state.activeFaults().size(); }), 1u);
    set(7);
    EXPECT_EQ(readToTheEnd().first, 3u);
    // The other one has been sent nothing yet.
    EXPECT_EQ(crate.on([](auto &state) { return state.activeFaults().size(); }), 1u);
    crate.on([](auto &state) {
        state.clearFaults(std::nullopt);
        return 0;
    });
    EXPECT_EQ(crate.on([](auto &state) { return state.activeFaults().size(); }), 0u);
    EXPECT_EQ(crate.applied(FaultKind::DropEvents), 1u);
}
