// What the start of the IOC asks of the scan lists, and a callback queue that is really full.
#include "iocSupport.h"

#include "ZANTOAio.h"
#include "ZANTOBio.h"
#include "ZANTOMBBio.h"
#include "ZANTOMBBioDirect.h"
#include "ZANTOStringio.h"

#include <callback.h>
#include <epicsEvent.h>
#include <initHooks.h>

#include <array>

namespace {

using ScanStartDeathTest = IocDeathTest;

const struct {
    const char *name;
    ZANTOScanList &list;
} lists[] = {{"ai", ioscanpvt_ai},
             {"bi", ioscanpvt_bi},
             {"mbbi", ioscanpvt_mbbi},
             {"mbbiDirect", ioscanpvt_mbbiDirect},
             {"stringin", ioscanpvt_stringin}};

// Before the first and after the last hook of the start.
std::array<uint32_t, std::size(lists)> askedBefore{};

void rememberAsked(initHookState state)
{
    for (std::size_t i = 0; state == initHookAfterIocBuilt && i < std::size(lists); ++i)
        askedBefore[i] = lists[i].list.asked();
}

// ---- a queue of few places ----

constexpr int places = 4;

/// Holds the callback thread of one priority until it is told to go on.
class BusyQueue {
public:
    explicit BusyQueue(int priority) : m_priority(priority)
    {
        callbackSetCallback(hold, &m_holder);
        callbackSetPriority(priority, &m_holder);
        callbackSetUser(this, &m_holder);
        EXPECT_EQ(callbackRequest(&m_holder), 0);
        epicsEventMustWait(m_held);
        for (epicsCallback &filler : m_fillers) {
            callbackSetCallback(nothing, &filler);
            callbackSetPriority(m_priority, &filler);
        }
    }

    // Takes every place that is left; how many there were.
    int fill()
    {
        while (m_filled < m_fillers.size() && callbackRequest(&m_fillers[m_filled]) == 0)
            ++m_filled;
        return static_cast<int>(m_filled);
    }

    void goOn() { epicsEventSignal(m_release); }

private:
    static void hold(epicsCallback *callback)
    {
        void *user = nullptr;
        callbackGetUser(user, callback);
        auto *queue = static_cast<BusyQueue *>(user);
        epicsEventSignal(queue->m_held);
        epicsEventMustWait(queue->m_release);
    }
    static void nothing(epicsCallback *) {}

    const int m_priority;
    epicsCallback m_holder{};
    std::array<epicsCallback, 100> m_fillers{};
    std::size_t m_filled = 0;
    const epicsEventId m_held = epicsEventMustCreate(epicsEventEmpty);
    const epicsEventId m_release = epicsEventMustCreate(epicsEventEmpty);
};

} // namespace

TEST_F(ScanStartDeathTest, EachListIsAskedForOnceWhenTheIocRuns)
{
    inFreshProcess([] {
        // Registered before the server's own hooks, so called before them.
        initHookRegister(rememberAsked);
        startIoc(generatedRecords("VMon"));
        for (std::size_t i = 0; i < std::size(lists); ++i) {
            EXPECT_EQ(lists[i].list.asked() - askedBefore[i], 1U) << lists[i].name;
            EXPECT_EQ(askedBefore[i], 0U) << lists[i].name;
        }
    });
}

TEST_F(ScanStartDeathTest, WhatAFullQueueRefusesIsScannedOnceThereIsRoom)
{
    inFreshProcess([] {
        ASSERT_EQ(callbackSetQueueSize(places), 0);
        startIoc(generatedRecords("VMon"));
        Monitor monitor("CRATE:00:001:VMon");
        give(nodeOf("VMon", 1), variantOf(1.5F));
        ioscanpvt_ai.request();
        ASSERT_TRUE(monitor.until([] { return number("CRATE:00:001:VMon") == 1.5; }));

        static BusyQueue queue(priorityLow); // of records that name no other
        EXPECT_LE(queue.fill(), places);
        const uint32_t refused = ioscanpvt_ai.refused();
        give(nodeOf("VMon", 1), variantOf(2.5F));
        ioscanpvt_ai.request();
        EXPECT_GT(ioscanpvt_ai.refused(), refused);
        // The first retries come while there is still no room.
        const auto end = std::chrono::steady_clock::now() + watchdog;
        while (ioscanpvt_ai.refused() < refused + 3) {
            ASSERT_LT(std::chrono::steady_clock::now(), end);
            std::this_thread::yield();
        }
        EXPECT_EQ(number("CRATE:00:001:VMon"), 1.5);
        queue.goOn();
        // Nobody asks again.
        EXPECT_TRUE(monitor.until([] { return number("CRATE:00:001:VMon") == 2.5; }));
    });
}
