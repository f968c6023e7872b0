// What the access library does when it is asked to be as unfriendly as another
// maker's may be.
#include <csignal>
#include <future>
#include <gmock/gmock.h>
#include <pthread.h>

#include "accesslib/misbehaviour.h"
#include "accesslib/session.h"
#include "runningCrate.h"

using namespace crateTest;
using namespace std::chrono_literals;
using sim::FaultKind;
using sim::accesslib::misbehaviour;
using sim::accesslib::parseSlowCalls;
using sim::wire::Operation;

namespace {

constexpr int interrupted = sim::accesslib::failure::interrupted;

void nothing(int) {}

// A call on a thread of its own, which can be sent signals.
class Caller {
public:
    template <class Function>
    explicit Caller(Function function)
        : m_result(m_promise.get_future()),
          m_thread([this, function] { m_promise.set_value(function()); })
    {
    }
    ~Caller() { m_thread.join(); }
    Caller(const Caller &) = delete;
    Caller &operator=(const Caller &) = delete;

    void signal() { pthread_kill(m_thread.native_handle(), SIGUSR1); }
    bool isDone() const { return m_result.wait_for(0s) == std::future_status::ready; }
    // Goes on until one has met the call waiting.
    VEXAHVRESULT signalUntilDone()
    {
        const auto end = std::chrono::steady_clock::now() + patience;
        while (!isDone() && std::chrono::steady_clock::now() < end) {
            signal();
            std::this_thread::yield();
        }
        return isDone() ? m_result.get() : 0;
    }
    VEXAHVRESULT result() { return m_result.get(); }

private:
    std::promise<VEXAHVRESULT> m_promise;
    std::future<VEXAHVRESULT> m_result;
    std::thread m_thread;
};

struct LibraryMisbehaviourTest : testing::Test {
    RunningCrate crate;

    void SetUp() override
    {
        struct sigaction action = {};
        action.sa_handler = nothing;
        sigaction(SIGUSR1, &action, nullptr);
        misbehaviour() = {};
    }
    void TearDown() override { misbehaviour() = {}; }

    void hang(const char *operation) { crate.order({{"kind", "hang"}, {"operation", operation}}); }
    void release()
    {
        crate.on([](auto &state) {
            state.clearFaults(FaultKind::Hang);
            return 0;
        });
    }
    void waitUntilHeld()
    {
        ASSERT_TRUE(crate.until(
            [](auto &state) { return state.statistics.faults.of(FaultKind::Hang) > 0; }));
    }
    std::vector<std::string> log()
    {
        return crate.on([](auto &state) {
            return std::vector<std::string>(state.statistics.calls.log().begin(),
                                            state.statistics.calls.log().end());
        });
    }
};

} // namespace

TEST_F(LibraryMisbehaviourTest, UsuallyACallGoesOnAfterASignal)
{
    Login login(crate);
    hang("ExecComm");
    Caller caller([&] { return VEXAHV_ExecComm(login.handle, "ClearAlarm"); });
    waitUntilHeld();
    for (int signal = 0; signal < 1000; ++signal)
        caller.signal();
    EXPECT_FALSE(caller.isDone());
    release();
    EXPECT_EQ(caller.result(), 0);
}

TEST_F(LibraryMisbehaviourTest, InterruptedCallFailsAtOnceAndTheSessionGoesOn)
{
    Login login(crate);
    misbehaviour().failsInterrupted = true;
    hang("ExecComm");
    {
        Caller caller([&] { return VEXAHV_ExecComm(login.handle, "ClearAlarm"); });
        waitUntilHeld();
        EXPECT_EQ(caller.signalUntilDone(), interrupted);
    }
    release();
    uint32_t mode = 99;
    uint32_t type = 99;
    EXPECT_EQ(VEXAHV_GetSysPropInfo(login.handle, "ModelName", &mode, &type), 0);
    EXPECT_EQ(type, uint32_t{VEXAHV_SYSPROP_TEXT});
    EXPECT_EQ(VEXAHV_DeinitSystem(login.handle), 0);
    login.result = interrupted;
    EXPECT_EQ(log().back(), "VEXAHV_DeinitSystem()");
}

TEST_F(LibraryMisbehaviourTest, AnswersOfSeveralInterruptedCallsArePassedOver)
{
    Login login(crate);
    misbehaviour().failsInterrupted = true;
    hang("any");
    for (int call = 0; call < 3; ++call) {
        Caller caller([&] { return VEXAHV_ExecComm(login.handle, "Nothing"); });
        waitUntilHeld();
        EXPECT_EQ(caller.signalUntilDone(), interrupted);
    }
    release();
    EXPECT_EQ(VEXAHV_ExecComm(login.handle, "ClearAlarm"), 0);
}

TEST_F(LibraryMisbehaviourTest, InterruptedLoginNeverHappens)
{
    misbehaviour().failsInterrupted = true;
    hang("InitSystem");
    int32_t handle = -99;
    {
        Caller caller([&] {
            return VEXAHV_InitSystem(VEXAHV_SYSTEM_MAINFRAME, VEXAHV_LINK_TCPIP,
                                     crate.address().c_str(), "admin", "admin", &handle);
        });
        waitUntilHeld();
        EXPECT_EQ(caller.signalUntilDone(), interrupted);
    }
    EXPECT_EQ(handle, -99);
    EXPECT_TRUE(crate.until([](auto &state) { return state.sessions == 0; }));
    EXPECT_THAT(log(), testing::IsEmpty());
}

TEST_F(LibraryMisbehaviourTest, InterruptedWaitForEventsFails)
{
    misbehaviour().failsInterrupted = true;
    Login login(crate);
    EventReceiver receiver;
    char result = 1;
    ASSERT_EQ(
        VEXAHV_SubscribeChannelParams(login.handle, receiver.port(), 0, 0, "VSet", 1, &result), 0);
    ASSERT_TRUE(receiver.accept());
    ASSERT_FALSE(receiver.nextBatch().empty());
    Caller caller([&] {
        VEXAHVEventData_t *events = nullptr;
        uint32_t count = 0;
        return VEXAHV_GetEventData(receiver.descriptor(), nullptr, &events, &count);
    });
    EXPECT_NE(caller.signalUntilDone(), 0);
}

TEST_F(LibraryMisbehaviourTest, SlowCallTakesItsTimeWhateverSignalsCome)
{
    Login login(crate);
    misbehaviour().slow = {{"ExecComm", 50ms}, {"", 0ms}};
    const auto begin = std::chrono::steady_clock::now();
    Caller caller([&] { return VEXAHV_ExecComm(login.handle, "ClearAlarm"); });
    EXPECT_EQ(caller.signalUntilDone(), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 50ms);
}

TEST(LibrarySlowCalls, FirstBeginningThatFitsCounts)
{
    sim::accesslib::Misbehaviour wanted;
    wanted.slow = *parseSlowCalls("UnSubscribeBoardParams=1,VEXAHV_UnSubscribe=6,Deinit=0.5");
    EXPECT_EQ(wanted.delayOf(Operation::UnSubscribeBoardParams), 1s);
    EXPECT_EQ(wanted.delayOf(Operation::UnSubscribeChannelParams), 6s);
    EXPECT_EQ(wanted.delayOf(Operation::DeinitSystem), 500ms);
    EXPECT_EQ(wanted.delayOf(Operation::SubscribeBoardParams), 0s);
}

TEST(LibrarySlowCalls, AnyIsEveryCall)
{
    sim::accesslib::Misbehaviour wanted;
    wanted.slow = *parseSlowCalls("any=2");
    EXPECT_EQ(wanted.delayOf(Operation::InitSystem), 2s);
    EXPECT_EQ(wanted.delayOf(Operation::UnSubscribeChannelParams), 2s);
}

TEST(LibrarySlowCalls, NothingIsSlowWithoutAText)
{
    EXPECT_THAT(*parseSlowCalls(""), testing::IsEmpty());
}

TEST(LibrarySlowCalls, WhatCannotBeUnderstoodIsRefused)
{
    for (const char *text : {"any", "any=", "any=x", "any=-1", "any=nan", "any=1s", "=1", ",",
                             "any=1,", "Nothing=1", "VEXAHV_=1", "any=3601", "any=1;Init=2"})
        EXPECT_FALSE(parseSlowCalls(text)) << text;
}
