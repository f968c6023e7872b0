#include "unitSupport.h"

#include "ZANTOscanthread.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace {

// Work that notes who did it, and waits as long as the test holds it.
struct Desk {
    std::mutex mutex;
    std::condition_variable changed;
    int done = 0;
    int lastPrio = -1;
    std::string thread;
    bool held = false;

    static void work(void *self, int prio)
    {
        auto &desk = *static_cast<Desk *>(self);
        std::unique_lock<std::mutex> lock(desk.mutex);
        desk.changed.wait(lock, [&desk] { return !desk.held; });
        ++desk.done;
        desk.lastPrio = prio;
        desk.thread = epicsThreadGetNameSelf();
        desk.changed.notify_all();
    }

    void hold(bool on)
    {
        std::lock_guard<std::mutex> lock(mutex);
        held = on;
        changed.notify_all();
    }
    bool reaches(int count)
    {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(20),
                                [this, count] { return done >= count; });
    }
};

// Their threads never end.
struct Office {
    Desk desk;
    ZANTOScanThread thread;
};

} // namespace

TEST(ScanThread, DoesItsWorkAsOftenAsItIsAsked)
{
    static Office office;
    EXPECT_FALSE(office.thread.isRunning());
    ASSERT_TRUE(office.thread.start("desk", epicsThreadPriorityLow, Desk::work, &office.desk, 2));
    EXPECT_TRUE(office.thread.isRunning());
    for (int i = 1; i <= 100; ++i) {
        office.thread.queue();
        if (i % 2 == 0) {
            ASSERT_TRUE(office.desk.reaches(i));
        }
    }
    std::lock_guard<std::mutex> lock(office.desk.mutex);
    EXPECT_EQ(office.desk.done, 100);
    EXPECT_EQ(office.desk.lastPrio, 2);
    EXPECT_EQ(office.desk.thread, "desk");
}

TEST(ScanThread, WhatIsAskedWhileItWorksIsDoneAfterwards)
{
    static Office office;
    ASSERT_TRUE(office.thread.start("desk", epicsThreadPriorityLow, Desk::work, &office.desk, 0));
    office.desk.hold(true);
    for (int i = 0; i < 3; ++i)
        office.thread.queue();
    office.desk.hold(false);
    EXPECT_TRUE(office.desk.reaches(3));
}

// Four at once; the fifth and the sixth come 20 ms after the one before.
TEST(ScanThread, WhatIsAskedWithoutARestIsPaced)
{
    static Office office;
    ASSERT_TRUE(office.thread.start("desk", epicsThreadPriorityLow, Desk::work, &office.desk, 0));
    office.desk.hold(true);
    for (int i = 0; i < 6; ++i)
        office.thread.queue();
    const auto begin = std::chrono::steady_clock::now();
    office.desk.hold(false);
    ASSERT_TRUE(office.desk.reaches(6));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(35));
}

TEST(ScanThread, OneThatHangsHoldsUpNoOther)
{
    static Office first;
    static Office second;
    ASSERT_TRUE(first.thread.start("first", epicsThreadPriorityLow, Desk::work, &first.desk, 0));
    ASSERT_TRUE(second.thread.start("second", epicsThreadPriorityLow, Desk::work, &second.desk, 0));
    first.desk.hold(true);
    first.thread.queue();
    second.thread.queue();
    EXPECT_TRUE(second.desk.reaches(1));
    first.desk.hold(false);
    EXPECT_TRUE(first.desk.reaches(1));
}
