// Storms: how many events, of what, and that nothing is left of them.
#include <algorithm>
#include <gmock/gmock.h>
#include <map>
#include <set>

#include "description/defaultcrate.h"
#include "runningCrate.h"

using namespace crateTest;
using namespace std::chrono_literals;
using sim::SimulationState;
using sim::StormKind;
using sim::StormMix;
using sim::StormOrder;

namespace {

StormMix only(StormKind kind)
{
    StormMix mix{};
    mix[static_cast<size_t>(kind)] = 1;
    return mix;
}

// The model stands still, and a storm's time passes as the test says.
sim::daemon::ServerSettings still()
{
    auto settings = RunningCrate::quick();
    settings.speed = 0.001;
    return settings;
}

struct StormTest : testing::Test {
    RunningCrate crate{still()};
    Login login{crate};
    EventReceiver receiver;
    uint64_t before = 0;

    void SetUp() override
    {
        ASSERT_EQ(login.result, 0);
        crate.on([](SimulationState &state) {
            state.clock.setPaused(true);
            return 0;
        });
    }

    void subscribe(const std::string &names, uint16_t channel, const Login &who,
                   const EventReceiver &port)
    {
        const auto count = static_cast<uint32_t>(std::count(names.begin(), names.end(), ':') + 1);
        std::vector<char> results(count);
        ASSERT_EQ(VEXAHV_SubscribeChannelParams(who.handle, port.port(), 0, channel, names.c_str(),
                                                count, results.data()),
                  0);
        EXPECT_THAT(results, testing::Each(0));
    }
    // Subscribes and takes the values that come at once.
    void subscribeMany()
    {
        for (uint16_t channel = 0; channel < 4; ++channel)
            subscribe("VSet:Pw:VMon:IMon:Status:POn:Trip Int:TripExt:Comment", channel, login,
                      receiver);
        char results[2];
        ASSERT_EQ(VEXAHV_SubscribeSystemParams(login.handle, receiver.port(), "Location:AlarmMask",
                                               2, results),
                  0);
        ASSERT_TRUE(receiver.accept());
        ASSERT_EQ(take(38).size(), 38u);
    }
    void start(double rate, StormMix mix = sim::defaultMix, uint64_t batch = 0)
    {
        crate.on([&](SimulationState &state) {
            before = state.statistics.events.events;
            StormOrder order;
            order.rate = rate;
            order.mix = mix;
            order.batch = batch;
            state.storm.start(order);
            return 0;
        });
    }
    void pass(sim::Duration time)
    {
        crate.on([&](SimulationState &state) {
            state.advanceStorm(time);
            return 0;
        });
    }
    void stop()
    {
        crate.on([](SimulationState &state) {
            state.storm.stop();
            return 0;
        });
    }
    uint64_t sent()
    {
        return crate.on([](SimulationState &state) { return state.storm.sent(); });
    }
    // Fewer than asked for once the crate says nothing more.
    static std::vector<SeenEvent> takeFrom(EventReceiver &from, size_t count)
    {
        std::vector<SeenEvent> seen;
        while (seen.size() < count) {
            const auto batch = from.nextBatch();
            if (batch.empty())
                break;
            seen.insert(seen.end(), batch.begin(), batch.end());
        }
        return seen;
    }
    std::vector<SeenEvent> take(size_t count) { return takeFrom(receiver, count); }
    sim::Value stored(int32_t slot, int32_t channel, const std::string &name)
    {
        return crate.on([&](SimulationState &state) {
            sim::ItemId id = 0;
            state.crate.find({slot, channel}, name, id);
            return state.shown.value(id);
        });
    }
};

} // namespace

TEST(ShownValues, OverridesAreNoneOfTheCratesBusiness)
{
    sim::Crate crate(sim::defaultCrate());
    sim::ShownValues shown(crate);
    sim::ItemId id = 0;
    ASSERT_EQ(crate.find({0, 0}, "VSet", id), sim::Result::Ok);
    const sim::Value before = shown.value(id);
    shown.override(id, 77.0f);
    sim::Value read;
    EXPECT_EQ(shown.read({0, 0}, "VSet", read), sim::Result::Ok);
    EXPECT_EQ(read, sim::Value(77.0f));
    EXPECT_EQ(crate.items().value(id), before);
    EXPECT_THAT(shown.takeChanges().items, testing::Contains(id));
    shown.clear();
    EXPECT_EQ(shown.value(id), before);
    EXPECT_THAT(shown.takeChanges().items, testing::Contains(id));
}

TEST(ShownValues, WhatTheCrateSaysOfAnItemEndsItsOverride)
{
    sim::Crate crate(sim::defaultCrate());
    sim::ShownValues shown(crate);
    sim::ItemId id = 0;
    ASSERT_EQ(crate.find({0, 0}, "VSet", id), sim::Result::Ok);
    shown.override(id, 77.0f);
    ASSERT_EQ(crate.write({0, 0}, "VSet", 5.0f, sim::Origin::Network), sim::Result::Ok);
    shown.takeChanges();
    EXPECT_EQ(shown.value(id), sim::Value(5.0f));
    shown.clear();
    EXPECT_THAT(shown.takeChanges().items, testing::IsEmpty());
}

TEST_F(StormTest, AsManyEventsAsOrderedEvenOfFewItems)
{
    subscribeMany();
    start(2000);
    for (int part = 0; part < 100; ++part) {
        pass(1ms);
        EXPECT_EQ(take(2).size(), 2u);
    }
    EXPECT_EQ(sent(), 200u);
    EXPECT_EQ(
        crate.on([&](SimulationState &state) { return state.statistics.events.events - before; }),
        200u);
}

// A hundred at once of two items: none hides another.
TEST_F(StormTest, FewItemsMoveOften)
{
    subscribeMany();
    start(1000, only(StormKind::Property));
    pass(100ms);
    EXPECT_EQ(take(100).size(), 100u);
    EXPECT_EQ(
        crate.on([&](SimulationState &state) { return state.statistics.events.events - before; }),
        100u);
}

TEST_F(StormTest, BatchesOfOneHoldOneEventEach)
{
    subscribeMany();
    start(10000, sim::defaultMix, 1);
    pass(1ms);
    for (int event = 0; event < 10; ++event)
        EXPECT_EQ(receiver.nextBatch().size(), 1u);
    EXPECT_EQ(sent(), 10u);
}

TEST_F(StormTest, BatchIsSentWhenItIsFull)
{
    subscribeMany();
    start(1000, only(StormKind::Numeric), 5);
    for (int part = 0; part < 4; ++part)
        pass(1ms);
    EXPECT_EQ(sent(), 0u);
    pass(7ms);
    EXPECT_EQ(receiver.nextBatch().size(), 5u);
    EXPECT_EQ(receiver.nextBatch().size(), 5u);
    EXPECT_EQ(sent(), 10u);
}

TEST_F(StormTest, BatchIsWaitedForHoweverLongItTakes)
{
    subscribeMany();
    start(2, only(StormKind::Numeric), 5);
    for (int part = 0; part < 10; ++part)
        pass(250ms);
    EXPECT_EQ(receiver.nextBatch().size(), 5u);
}

TEST_F(StormTest, MixIsKept)
{
    subscribeMany();
    start(1000, {5, 2, 1, 1, 1, 0});
    pass(100ms);
    std::map<std::string, int> kinds;
    for (const auto &event : take(100))
        ++kinds[event.name.substr(0, 4)];
    EXPECT_EQ(kinds["VMon"] + kinds["IMon"], 50);
    EXPECT_EQ(kinds["Stat"], 20);
    EXPECT_EQ(kinds["POn"], 10);
    EXPECT_EQ(kinds["Trip"], 10);
    EXPECT_EQ(kinds["Comm"], 10);
}

TEST_F(StormTest, EventsStoreAndLibraryAgree)
{
    subscribeMany();
    start(1000);
    pass(40ms);
    std::map<std::pair<int32_t, std::string>, SeenEvent> last;
    for (const auto &event : take(40))
        last.insert_or_assign({event.channel, event.name}, event);
    EXPECT_GT(last.size(), 10u);
    for (const auto &[key, event] : last) {
        const auto channel = static_cast<uint16_t>(key.first);
        int32_t word = 0;
        ASSERT_EQ(VEXAHV_GetChParam(login.handle, 0, event.name.c_str(), 1, &channel, &word), 0);
        EXPECT_EQ(word, event.integer) << event.name;
    }
}

TEST_F(StormTest, EveryMoveIsAMove)
{
    subscribeMany();
    start(1000, {1, 1, 1, 1, 1, 1});
    pass(240ms);
    std::map<std::tuple<int32_t, int32_t, std::string>, std::pair<int32_t, std::string>> last;
    for (const auto &event : take(240)) {
        const std::pair<int32_t, std::string> value = {event.integer, event.text};
        const auto [found, isNew] = last.insert({{event.slot, event.channel, event.name}, value});
        EXPECT_TRUE(isNew || found->second != value) << event.name;
        found->second = value;
    }
}

TEST_F(StormTest, SetPointsAndSwitchesStayAsTheyAre)
{
    subscribeMany();
    start(1000, {1, 1, 1, 1, 1, 1});
    pass(240ms);
    std::set<std::string> moved;
    for (const auto &event : take(240))
        moved.insert(event.name);
    EXPECT_EQ(moved.count("VSet") + moved.count("Pw"), 0u);
    EXPECT_EQ(moved.size(), 9u);
}

TEST_F(StormTest, TruthIsBackAndToldAtTheEnd)
{
    subscribeMany();
    const std::vector<std::string> names = {"VMon", "IMon", "Status", "POn", "Trip Int", "Comment"};
    std::vector<sim::Value> truth;
    for (const auto &name : names)
        truth.push_back(stored(0, 2, name));
    StormOrder order;
    order.rate = 1000;
    order.mix = {1, 1, 1, 1, 1, 1};
    order.length = 100ms;
    crate.on([&](SimulationState &state) {
        state.storm.start(order);
        return 0;
    });
    pass(50ms);
    EXPECT_TRUE(crate.on([](SimulationState &state) { return state.storm.isRunning(); }));
    EXPECT_NE(stored(0, 2, "Comment"), truth.back());
    pass(500ms);
    EXPECT_FALSE(crate.on([](SimulationState &state) { return state.storm.isRunning(); }));
    EXPECT_EQ(sent(), 100u);
    for (size_t index = 0; index < names.size(); ++index)
        EXPECT_EQ(stored(0, 2, names[index]), truth[index]) << names[index];
    EXPECT_TRUE(receiver.waitFor("Location", [](auto &e) { return e.text == "Test stand"; }));
}

TEST_F(StormTest, WhatIsWrittenMeanwhileStays)
{
    subscribeMany();
    start(1000, only(StormKind::Text));
    pass(20ms);
    crate.on([](SimulationState &state) {
        return state.crate.write({0, 1}, "Comment", std::string("mine"), sim::Origin::FrontPanel);
    });
    stop();
    EXPECT_EQ(stored(0, 1, "Comment"), sim::Value("mine"));
    EXPECT_EQ(stored(0, 2, "Comment"), sim::Value(""));
}

// Whether they share their items or not.
TEST_F(StormTest, EachSubscriberGetsItsRate)
{
    const Login second(crate);
    const Login third(crate);
    EventReceiver same;
    EventReceiver apart;
    subscribe("VMon:IMon", 0, login, receiver);
    subscribe("VMon:IMon", 0, second, same);
    subscribe("VMon:IMon", 5, third, apart);
    for (auto *each : {&receiver, &same, &apart}) {
        ASSERT_TRUE(each->accept());
        ASSERT_EQ(takeFrom(*each, 2).size(), 2u);
    }
    start(1000, only(StormKind::Numeric));
    pass(100ms);
    for (auto *each : {&receiver, &same, &apart})
        EXPECT_EQ(takeFrom(*each, 100).size(), 100u);
    EXPECT_EQ(sent(), 300u);
}

// What a subscriber does not read is not kept for it.
TEST_F(StormTest, SlowReaderGetsFewer)
{
    subscribeMany();
    start(200000);
    for (int part = 0; part < 1000; ++part)
        pass(10ms);
    const auto dropped = crate.on([](SimulationState &state) { return state.storm.dropped(); });
    EXPECT_GT(dropped, 0u);
    EXPECT_EQ(sent() + dropped, 2000000u);
    stop();
    EXPECT_TRUE(receiver.waitFor("VMon", [](auto &e) { return e.channel == 3 && e.real == 0; }));
    EXPECT_EQ(stored(0, 3, "VMon"), sim::Value(0.0f));
}

// The storm learns of it only later, and must not wait for it.
TEST_F(StormTest, SubscriptionsEndMeanwhile)
{
    subscribe("VSet:VMon", 0, login, receiver);
    ASSERT_TRUE(receiver.accept());
    take(2);
    start(1000, only(StormKind::Numeric));
    pass(10ms);
    EXPECT_EQ(take(10).size(), 10u);
    char result = 1;
    ASSERT_EQ(
        VEXAHV_UnSubscribeChannelParams(login.handle, receiver.port(), 0, 0, "VMon", 1, &result),
        0);
    EXPECT_EQ(result, 0);
    pass(10ms);
    EXPECT_EQ(sent(), 10u);
}

TEST_F(StormTest, NobodySubscribed)
{
    start(1000);
    pass(1s);
    EXPECT_EQ(sent(), 0u);
}
