// What the start of the IOC asks of the scan lists, threads that cannot be had, and callback
// queues that are really full.
#include "iocSupport.h"

#include "Installed.h"
#include "ZANTOAio.h"
#include "ZANTOBio.h"
#include "ZANTOMBBio.h"
#include "ZANTOMBBioDirect.h"
#include "ZANTOStringio.h"
#include "ZANTOchangedrecords.h"
#include "ZANTOthreads.h"

#include <callback.h>
#include <epicsEvent.h>
#include <epicsThread.h>
#include <initHooks.h>

#include <array>
#include <atomic>

namespace {

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

// ---- threads ----

// How many of the next threads for the analog records, or for those that changed, cannot be had.
std::atomic<int> missingThreads{0};

epicsThreadId startIfThereIsOne(const char *name, unsigned priority,
                                epicsThreadStackSizeClass stack, EPICSTHREADFUNC entry,
                                void *argument)
{
    if (missingThreads > 0 &&
        (std::string(name) == "scanLow-ai" || std::string(name) == "changedLow")) {
        --missingThreads;
        return nullptr;
    }
    return ZANTOEpicsThreads.start(name, priority, stack, entry, argument);
}

class ScanStartDeathTest : public IocDeathTest {
    const ZANTOThreads m_scarce = {startIfThereIsOne};
    const Installed<ZANTOThreads> m_installed{ZANTOPresentThreads, m_scarce};
};

// ---- a queue of few places ----

constexpr int places = 4;

// Holds the callback thread of one priority until it is told to go on.
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

// A thread that was made is known by its name once it runs; null after the watchdog.
epicsThreadId threadOfName(const char *name)
{
    const auto end = std::chrono::steady_clock::now() + watchdog;
    epicsThreadId thread = epicsThreadGetId(name);
    while (thread == nullptr && std::chrono::steady_clock::now() < end) {
        std::this_thread::yield();
        thread = epicsThreadGetId(name);
    }
    return thread;
}

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

// Whatever else runs on the IOC's callback threads holds up no scan.
TEST_F(ScanStartDeathTest, AFullCallbackQueueHoldsUpNoScan)
{
    inFreshProcess([] {
        ASSERT_EQ(callbackSetQueueSize(places), 0);
        startIoc(generatedRecords("VMon"));
        Monitor monitor("CRATE:00:001:VMon");
        static BusyQueue queue(priorityLow); // of records that name no other
        EXPECT_EQ(queue.fill(), places);
        give(nodeOf("VMon", 1), variantOf(2.5F));
        ioscanpvt_ai.request();
        EXPECT_TRUE(monitor.until([] { return number("CRATE:00:001:VMon") == 2.5; }));
        EXPECT_EQ(ioscanpvt_ai.refused(), 0U);
    });
}

TEST_F(ScanStartDeathTest, WithoutAThreadItIsScannedOnceThereIsOne)
{
    inFreshProcess([] {
        missingThreads = 1000000;
        startIoc(generatedRecords("VMon") + generatedRecords("Pw"));
        Monitor monitor("CRATE:00:001:VMon");
        Monitor other("CRATE:00:001:Pw:RBV");
        give(nodeOf("VMon", 1), variantOf(2.5F));
        give(nodeOf("Pw", 1), variantOf(uint32_t{1}));
        ioscanpvt_ai.request();
        ioscanpvt_bi.request();
        EXPECT_TRUE(other.until([] { return number("CRATE:00:001:Pw:RBV") == 1; }));
        // The first retries come while there is still none.
        const uint32_t refused = ioscanpvt_ai.refused();
        EXPECT_GT(refused, 0U);
        const auto end = std::chrono::steady_clock::now() + watchdog;
        while (ioscanpvt_ai.refused() < refused + 3) {
            ASSERT_LT(std::chrono::steady_clock::now(), end);
            std::this_thread::yield();
        }
        EXPECT_EQ(number("CRATE:00:001:VMon"), 0.0);
        EXPECT_EQ(ioscanpvt_bi.refused(), 0U);
        missingThreads = 0;
        // Nobody asks again.
        EXPECT_TRUE(monitor.until([] { return number("CRATE:00:001:VMon") == 2.5; }));
    });
}

TEST_F(ScanStartDeathTest, WithoutAThreadWhatChangedIsScannedOnceThereIsOne)
{
    inFreshProcess([] {
        setScanChangedOnly(true);
        startIoc(generatedRecords("VMon"));
        const EventConnection mainframe;
        Monitor monitor("CRATE:00:001:VMon");
        missingThreads = 3;
        mainframe.send({event("VMon", 2.5F)});
        EXPECT_TRUE(monitor.until([] { return number("CRATE:00:001:VMon") == 2.5; }));
        EXPECT_EQ(ZANTOChangedRecords::instance().refused(), 3U);
    });
}

// One thread for each list and priority that has records, and none for what has none.
TEST_F(ScanStartDeathTest, ThreadsAreMadeWhereThereAreRecords)
{
    inFreshProcess([] {
        startIoc(generatedRecords("VMon") + generatedRecords("Text", -1) +
                 "record(stringin, \"CRATE:Text:RBV\") { field(PRIO, \"HIGH\") }\n");
        const epicsThreadId low = threadOfName("scanLow-ai");
        const epicsThreadId high = threadOfName("scanHigh-stringin");
        ASSERT_NE(low, nullptr);
        ASSERT_NE(high, nullptr);
        for (const char *name : {"scanMed-ai", "scanHigh-ai", "scanLow-stringin", "scanLow-bi"})
            EXPECT_EQ(epicsThreadGetId(name), nullptr) << name;
        EXPECT_EQ(epicsThreadGetPriority(low), epicsThreadGetPriority(epicsThreadGetId("cbLow")));
        EXPECT_EQ(epicsThreadGetPriority(high), epicsThreadGetPriority(epicsThreadGetId("cbHigh")));
    });
}
