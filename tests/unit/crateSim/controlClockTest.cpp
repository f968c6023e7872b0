// The crate's time as the control port steers it.
#include <gmock/gmock.h>

#include "controller.h"
#include "simulation/clock.h"

using namespace crateTest;
using testing::HasSubstr;

namespace {

// A crate whose time passes by steps only.
struct ControlClock : testing::Test {
    RunningCrate crate{controlled()};
    Controller control;

    ControlClock() { control.ask({{"cmd", "pause"}}); }

    void step(double seconds)
    {
        ASSERT_EQ(control.ask({{"cmd", "step"}, {"seconds", seconds}})["ok"], true);
    }
    Json clock() { return control.ask({{"cmd", "show"}})["clock"]; }
    double uptime() { return clock()["uptime"]; }
    void set(const char *name, double value)
    {
        ASSERT_EQ(control.ask({{"cmd", "set"},
                               {"slot", 0},
                               {"channel", 0},
                               {"name", name},
                               {"value", value}})["ok"],
                  true);
    }
    double voltage()
    {
        return control.ask({{"cmd", "show"}, {"slot", 0}, {"channel", 0}})["voltage"];
    }
};

} // namespace

TEST_F(ControlClock, StepMovesPausedTimeExactly)
{
    const double before = uptime();
    EXPECT_EQ(clock()["paused"], true);
    step(0.001);
    EXPECT_NEAR(uptime() - before, 0.001, 1e-9);
    step(600);
    EXPECT_NEAR(uptime() - before, 600.001, 1e-9);
}

// At its own pace the step would be made of millions of pieces.
TEST_F(ControlClock, StepOfASlowClockIsAsQuick)
{
    const double before = uptime();
    ASSERT_EQ(control.ask({{"cmd", "speed"}, {"factor", 0.001}})["ok"], true);
    step(100);
    EXPECT_NEAR(uptime() - before, 100, 1e-9);
}

TEST_F(ControlClock, RampFollowsTheSteps)
{
    set("VSet", 100);
    set("RUp", 10);
    set("Pw", 1);
    EXPECT_EQ(voltage(), 0);
    step(2.5);
    EXPECT_EQ(voltage(), 25);
    step(7.4);
    EXPECT_EQ(voltage(), 99);
    step(0.2);
    EXPECT_EQ(voltage(), 100);
}

TEST_F(ControlClock, SubscriberGetsABatchForEachModelStep)
{
    const Login login(crate);
    EventReceiver receiver;
    char result = 0x55;
    ASSERT_EQ(
        VEXAHV_SubscribeChannelParams(login.handle, receiver.port(), 0, 0, "VMon", 1, &result), 0);
    ASSERT_TRUE(receiver.accept());
    ASSERT_TRUE(receiver.waitFor("VMon", [](const SeenEvent &event) { return event.real == 0; }));
    set("VSet", 3000);
    set("RUp", 500);
    set("Pw", 1);
    const double tick = std::chrono::duration<double>(RunningCrate::quick().tick).count();
    step(20 * tick);
    for (int number = 1; number <= 20; ++number) {
        const auto batch = receiver.nextBatch();
        ASSERT_EQ(batch.size(), 1u);
        EXPECT_NEAR(static_cast<double>(batch[0].real), 500 * tick * number, 0.06);
    }
}

TEST_F(ControlClock, WritesOfAPausedCrateAreReported)
{
    const Login login(crate);
    EventReceiver receiver;
    char result = 0x55;
    ASSERT_EQ(
        VEXAHV_SubscribeChannelParams(login.handle, receiver.port(), 0, 0, "VSet", 1, &result), 0);
    ASSERT_TRUE(receiver.accept());
    const double before = uptime();
    set("VSet", 7);
    EXPECT_TRUE(receiver.waitFor("VSet", [](const SeenEvent &event) { return event.real == 7; }));
    EXPECT_EQ(uptime(), before);
}

TEST_F(ControlClock, TimeGoesOnAtTheSpeedAskedFor)
{
    set("VSet", 3000);
    set("RUp", 1);
    set("Pw", 1);
    EXPECT_EQ(control.ask({{"cmd", "speed"}, {"factor", 10000}})["ok"], true);
    EXPECT_EQ(clock()["speed"], 10000);
    control.ask({{"cmd", "continue"}});
    EXPECT_EQ(clock()["paused"], false);
    EXPECT_EQ(control.ask({{"cmd", "wait"},
                           {"slot", 0},
                           {"channel", 0},
                           {"name", "VMon"},
                           {"value", 3000},
                           {"timeout", 20}})["ok"],
              true);
}

TEST_F(ControlClock, WhatIsNoTimeIsRefused)
{
    EXPECT_THAT(control.errorOf(R"({"cmd":"step"})"), HasSubstr("seconds"));
    EXPECT_THAT(control.errorOf(R"({"cmd":"step","seconds":0})"), HasSubstr("86400"));
    EXPECT_THAT(control.errorOf(R"({"cmd":"step","seconds":86401})"), HasSubstr("86400"));
    EXPECT_THAT(control.errorOf(R"({"cmd":"step","seconds":"1"})"), HasSubstr("number"));
    EXPECT_THAT(control.errorOf(R"({"cmd":"speed","factor":0})"), HasSubstr("100000"));
    EXPECT_THAT(control.errorOf(R"({"cmd":"speed","factor":1e6})"), HasSubstr("100000"));
    EXPECT_EQ(clock()["speed"], 1);
}

TEST(CrateClock, StepIsTheTickTimesTheSpeed)
{
    using namespace std::chrono_literals;
    sim::CrateClock clock(50ms);
    EXPECT_EQ(clock.modelStep(), 50ms);
    EXPECT_TRUE(clock.setSpeed(0.001));
    EXPECT_EQ(clock.modelStep(), 50us);
    EXPECT_FALSE(clock.setSpeed(0));
    EXPECT_FALSE(clock.setSpeed(std::nan("")));
    EXPECT_EQ(clock.modelStep(), 50us);
}

TEST(ControlSocket, TakenDefaultPathLeavesACrateWithoutControlPort)
{
    const RunningCrate first(controlled());
    auto settings = controlled();
    settings.needsControl = false;
    {
        RunningCrate second(settings);
        EXPECT_EQ(Login(second).result, 0);
    }
    EXPECT_EQ(Controller().ask({{"cmd", "show"}})["ok"], true);
}
