// Several programs at one crate, each with subscriptions of its own.
#include <gmock/gmock.h>

#include "accesslib/session.h"
#include "calls/caller.h"
#include "runningCrate.h"

using namespace crateTest;
using namespace std::chrono_literals;
using sim::SimulationState;

namespace {

// One program: its login, its port, one parameter that it watches.
struct Program {
    Program(const RunningCrate &crate, const char *name) : login(crate), watched(name)
    {
        EXPECT_EQ(login.result, 0);
        EXPECT_EQ(change(VEXAHV_SubscribeChannelParams), 0);
        EXPECT_TRUE(receiver.accept());
        EXPECT_EQ(receiver.nextBatch().size(), 1u);
    }

    int change(decltype(&VEXAHV_SubscribeChannelParams) operation)
    {
        char result = 0x55;
        EXPECT_EQ(operation(login.handle, receiver.port(), 0, 0, watched, 1, &result), 0);
        return result;
    }

    Login login;
    EventReceiver receiver;
    const char *watched;
};

struct SubscribersTest : testing::Test {
    RunningCrate crate{settings()};
    Program first{crate, "VSet"};
    Program second{crate, "ISet"};

    static sim::daemon::ServerSettings settings()
    {
        auto settings = RunningCrate::quick();
        settings.links.keepAlive = 20ms;
        return settings;
    }
    void set(const char *name, float value)
    {
        crate.on([&](SimulationState &state) {
            return state.crate.write({0, 0}, name, value, sim::Origin::FrontPanel);
        });
    }
    // Keep-alives may come before.
    static std::vector<SeenEvent> nextOf(Program &program, int32_t type)
    {
        for (auto batch = program.receiver.nextBatch(); !batch.empty();
             batch = program.receiver.nextBatch())
            if (batch[0].type == type)
                return batch;
        return {};
    }
    size_t links()
    {
        return crate.on([](SimulationState &state) { return state.links.all().size(); });
    }
};

} // namespace

TEST_F(SubscribersTest, EachGetsItsOwnUnderItsHandle)
{
    set("VSet", 3);
    set("ISet", 4);
    const auto one = nextOf(first, PARAMETER);
    const auto other = nextOf(second, PARAMETER);
    ASSERT_EQ(one.size(), 1u);
    ASSERT_EQ(other.size(), 1u);
    EXPECT_EQ(one[0].name, "VSet");
    EXPECT_EQ(one[0].handle, first.login.handle);
    EXPECT_EQ(other[0].name, "ISet");
    EXPECT_EQ(other[0].handle, second.login.handle);
    EXPECT_NE(one[0].handle, other[0].handle);
}

TEST_F(SubscribersTest, OneUnsubscribes)
{
    EXPECT_EQ(first.change(VEXAHV_UnSubscribeChannelParams), 0);
    EXPECT_TRUE(first.receiver.isClosed());
    set("ISet", 5);
    EXPECT_EQ(nextOf(second, PARAMETER).at(0).real, 5);
    EXPECT_EQ(links(), 1u);
    EXPECT_EQ(first.change(VEXAHV_SubscribeChannelParams), 0);
    ASSERT_TRUE(first.receiver.accept());
    EXPECT_EQ(nextOf(first, PARAMETER).at(0).name, "VSet");
}

// Its calls time out and its sockets close, as when a process is killed.
TEST_F(SubscribersTest, OneDies)
{
    crate.order({{"kind", "hang"}, {"operation", "ExecComm"}});
    sim::accesslib::tuning().timeout = 10ms;
    EXPECT_NE(VEXAHV_ExecComm(first.login.handle, "Kill"), 0);
    sim::accesslib::tuning().timeout = 20s;
    EXPECT_TRUE(first.receiver.isClosed());
    set("ISet", 6);
    EXPECT_EQ(nextOf(second, PARAMETER).at(0).real, 6);
    EXPECT_EQ(links(), 1u);
    EXPECT_EQ(VEXAHV_ExecComm(second.login.handle, "ClearAlarm"), 0);
}

TEST_F(SubscribersTest, EachIsKeptAlive)
{
    for (auto *program : {&first, &second}) {
        const auto batch = nextOf(*program, KEEPALIVE);
        ASSERT_EQ(batch.size(), 1u);
        EXPECT_EQ(batch[0].handle, program->login.handle);
        EXPECT_EQ(batch[0].slot, -1);
    }
}

TEST_F(SubscribersTest, EachHearsOfALiveInsertion)
{
    crate.on([](SimulationState &state) { return state.crate.removeBoard(7); });
    for (auto *program : {&first, &second})
        EXPECT_EQ(nextOf(*program, ALARM).at(0).slot, 7);
    crate.on([](SimulationState &state) { return state.crate.insertBoard(7); });
    for (auto *program : {&first, &second})
        EXPECT_EQ(nextOf(*program, ALARM).at(0).slot, 7);
}

// A program watches all that it found, items without a value included.
TEST_F(SubscribersTest, ItemWithoutAModeIsWatchedAndSilent)
{
    first.watched = "Factory";
    EXPECT_EQ(first.change(VEXAHV_SubscribeChannelParams), 0);
    set("Factory", 0);
    crate.on([](SimulationState &state) {
        sim::ItemId id = 0;
        state.crate.find({0, 0}, "Factory", id);
        state.shown.override(id, 1.0f);
        return 0;
    });
    set("VSet", 8);
    const auto batch = nextOf(first, PARAMETER);
    ASSERT_EQ(batch.size(), 1u);
    EXPECT_EQ(batch[0].name, "VSet");
    EXPECT_EQ(first.change(VEXAHV_UnSubscribeChannelParams), 0);
    EXPECT_NE(first.change(VEXAHV_UnSubscribeChannelParams), 0);
}

TEST(Subscriptions, OneProgramCannotHaveEventsSentToPortsWithoutEnd)
{
    const RunningCrate crate;
    const Login login(crate);
    ASSERT_EQ(login.result, 0);
    const auto watch = [&](size_t number) {
        char result = 0x55;
        const auto port = static_cast<int16_t>(1 + number);
        EXPECT_EQ(VEXAHV_SubscribeChannelParams(login.handle, port, 0, 0, "VSet", 1, &result), 0);
        return result;
    };
    for (size_t number = 0; number < sim::calls::Caller::maxLinks; ++number)
        EXPECT_EQ(watch(number), 0);
    EXPECT_NE(watch(sim::calls::Caller::maxLinks), 0);
    EXPECT_EQ(watch(0), 0) << "an open one goes on";
}
