#include "unitSupport.h"

#include "ZANTOscanlist.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <random>
#include <thread>

namespace {

constexpr unsigned low = 0;
constexpr unsigned high = 2;

/// The IOC's side of one scan list: a callback queue per priority, and records that show which
/// version of the data they saw last.
class FakeIoc {
public:
    static FakeIoc &instance()
    {
        static FakeIoc ioc;
        return ioc;
    }

    void reset(const std::vector<unsigned> &priorities, int capacity)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_priorities = priorities;
        m_capacity.fill(capacity);
        m_queued.fill(0);
        m_seen.fill(0);
        m_inits = m_requests = m_retries = 0;
        m_pendingRetry = false;
        m_watcher = nullptr;
        version = 0;
    }

    void setCapacity(unsigned prio, int capacity)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_capacity[prio] = capacity;
    }

    /// The records of other priorities leave the list.
    void setPriorities(const std::vector<unsigned> &priorities)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_priorities = priorities;
    }

    /// Takes the oldest pass off the queue: its records see the data of now.
    bool runPass(unsigned prio)
    {
        ZANTOScanList *watcher;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (m_queued[prio] == 0)
                return false;
            --m_queued[prio];
            m_seen[prio] = version;
            watcher = m_watcher;
        }
        if (watcher != nullptr)
            watcher->passEnded(static_cast<int>(prio));
        return true;
    }

    bool takeRetry()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_pendingRetry.exchange(false);
    }

    int queued(unsigned prio) const { return m_queued[prio]; }
    int seen(unsigned prio) const { return m_seen[prio]; }
    int inits() const { return m_inits; }
    int requests() const { return m_requests; }
    int retries() const { return m_retries; }
    double retryDelay() const { return m_retryDelay; }

    /// Raised by every change of the data.
    std::atomic<int> version{0};

    static const ZANTOScanServices services;

private:
    unsigned request()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        ++m_requests;
        unsigned taken = 0;
        for (const unsigned prio : m_priorities) {
            if (m_queued[prio] >= m_capacity[prio])
                continue;
            ++m_queued[prio];
            taken |= 1U << prio;
        }
        return taken;
    }

    mutable std::mutex m_mutex;
    // Guarded by m_mutex while threads run.
    std::vector<unsigned> m_priorities;
    std::array<int, NUM_CALLBACK_PRIORITIES> m_capacity{};
    std::array<int, NUM_CALLBACK_PRIORITIES> m_queued{};
    std::array<int, NUM_CALLBACK_PRIORITIES> m_seen{};
    int m_inits = 0;
    int m_requests = 0;
    int m_retries = 0;
    double m_retryDelay = 0;
    std::atomic<bool> m_pendingRetry{false};
    ZANTOScanList *m_watcher = nullptr;
};

// Each init hands out another list: any distinct addresses will do, nobody looks behind them.
char listAddresses[16];

const ZANTOScanServices FakeIoc::services = {
    [](IOSCANPVT *list) {
        *list = reinterpret_cast<IOSCANPVT>(&listAddresses[instance().m_inits++ % 16]);
    },
    [](IOSCANPVT) { return instance().request(); },
    [](IOSCANPVT, ZANTOScanList *scanList) { instance().m_watcher = scanList; },
    [](ZANTOScanList *, void **, double delay) {
        std::lock_guard<std::mutex> lock(instance().m_mutex);
        ++instance().m_retries;
        instance().m_retryDelay = delay;
        instance().m_pendingRetry = true;
    },
};

class ScanList : public ::testing::Test {
protected:
    void SetUp() override { ioc.reset({low}, 2000); }

    /// As iocInit leaves it: a list of records, its passes counted.
    void start()
    {
        list.init();
        list.watchPasses();
    }

    void change()
    {
        ++ioc.version;
        list.request();
    }

    void drain() { drain(list); }

    /// The IOC works everything off; retries come when it has nothing else to do, at most so
    /// many of them.
    void drain(ZANTOScanList &any, int retries = 10)
    {
        int passes = 0;
        do {
            while (ioc.runPass(low) || ioc.runPass(high)) {
                ASSERT_LT(++passes, 1000) << "the list is scanned for ever";
            }
        } while (retries-- > 0 && retry(any));
    }

    bool retry(ZANTOScanList &any)
    {
        const bool due = ioc.takeRetry();
        if (due)
            any.retry();
        return due;
    }

    FakeIoc &ioc = FakeIoc::instance();
    ZANTOScanList list{FakeIoc::services};
};

constexpr int bound = ZANTOScanList::maxOutstanding;
constexpr int backlog = ZANTOScanList::maxBacklog;

} // namespace

TEST_F(ScanList, WithoutRecordsARequestIsCountedAndDoesNothing)
{
    list.request();
    list.watchPasses();
    list.request();
    EXPECT_EQ(ioc.requests(), 0);
    EXPECT_EQ(list.asked(), 2U);
    EXPECT_EQ(static_cast<IOSCANPVT>(list), nullptr);
}

TEST_F(ScanList, EveryRecordReplacesTheList)
{
    list.init();
    const IOSCANPVT first = list;
    list.init();
    const IOSCANPVT second = list;
    EXPECT_NE(first, nullptr);
    EXPECT_NE(second, nullptr);
    EXPECT_NE(first, second);
    EXPECT_EQ(ioc.inits(), 2);
}

TEST_F(ScanList, BeforePassesAreCountedEveryRequestGoesThrough)
{
    list.init();
    for (int i = 0; i < 10; ++i)
        list.request();
    EXPECT_EQ(ioc.requests(), 10);
    EXPECT_EQ(list.deferred(), 0U);
}

TEST_F(ScanList, LightLoadKeepsItsExactRequests)
{
    start();
    for (int i = 1; i <= 5; ++i) {
        change();
        change();
        EXPECT_EQ(ioc.requests(), 2 * i);
        drain();
    }
    EXPECT_EQ(list.deferred(), 0U);
}

TEST_F(ScanList, NoMoreThanTheBoundIsOutstanding)
{
    start();
    for (int i = 0; i < 1000; ++i)
        change();
    EXPECT_EQ(ioc.queued(low), bound);
    EXPECT_EQ(list.asked(), 1000U);
    EXPECT_EQ(list.deferred(), 1000U - bound);
    EXPECT_EQ(list.refused(), 0U);
}

TEST_F(ScanList, WhatHadToWaitIsRequestedOnceWhenAPassEnds)
{
    start();
    for (int i = 0; i < 10; ++i)
        change();
    ioc.runPass(low);
    EXPECT_EQ(ioc.requests(), bound + 1);
    drain();
    EXPECT_EQ(ioc.requests(), bound + 1);
    EXPECT_EQ(ioc.seen(low), 10);
}

TEST_F(ScanList, AChangeDuringTheLastPassIsSeenByAnother)
{
    start();
    for (int i = 0; i < bound; ++i)
        change();
    ++ioc.version;
    ioc.runPass(low);
    list.request();
    drain();
    EXPECT_EQ(ioc.seen(low), ioc.version);
}

TEST_F(ScanList, APriorityThatHangsHoldsTheOthersBackOnlyAtItsBacklog)
{
    ioc.reset({low, high}, 2000);
    start();
    for (int i = 1; i <= backlog; ++i) {
        change();
        ioc.runPass(high);
        ASSERT_EQ(ioc.seen(high), i);
    }
    change();
    ioc.runPass(high);
    EXPECT_EQ(ioc.queued(low), backlog);
    ioc.runPass(low);
    ioc.runPass(high);
    EXPECT_EQ(ioc.seen(high), ioc.version);
    drain();
    EXPECT_EQ(ioc.seen(low), ioc.version);
}

// ---- refusals ----

TEST_F(ScanList, ARefusedRequestIsMadeAgainWhenTheRetryComes)
{
    start();
    ioc.setCapacity(low, 0);
    change();
    EXPECT_EQ(list.refused(), 1U);
    EXPECT_EQ(ioc.retries(), 1);
    ioc.setCapacity(low, 2000);
    list.retry();
    EXPECT_EQ(ioc.queued(low), 1);
    drain();
    EXPECT_EQ(ioc.seen(low), 1);
    EXPECT_EQ(list.refused(), 1U);
}

TEST_F(ScanList, APriorityThatWasRefusedAloneIsRequestedAgain)
{
    ioc.reset({low, high}, 2000);
    start();
    change();
    drain();
    ioc.setCapacity(high, 0);
    change();
    EXPECT_EQ(list.refused(), 1U);
    ioc.setCapacity(high, 2000);
    drain();
    EXPECT_EQ(ioc.seen(high), 2);
}

TEST_F(ScanList, ARetryWithNothingRefusedDoesNothing)
{
    start();
    list.retry();
    change();
    list.retry();
    EXPECT_EQ(ioc.requests(), 1);
}

TEST_F(ScanList, AQueueThatStaysFullIsTriedMoreSeldomAndNeverGivenUp)
{
    start();
    ioc.setCapacity(low, 0);
    change();
    for (int i = 0; i < ZANTOScanList::quickRetries; ++i) {
        ASSERT_EQ(ioc.retryDelay(), ZANTOScanList::retryDelay) << i;
        ASSERT_TRUE(retry(list));
    }
    for (int i = 0; i < 10; ++i) {
        ASSERT_EQ(ioc.retryDelay(), ZANTOScanList::lateRetryDelay) << i;
        ASSERT_TRUE(retry(list));
    }
    ioc.setCapacity(low, 2000);
    drain();
    EXPECT_EQ(ioc.seen(low), 1);

    ioc.setCapacity(low, 0);
    change();
    EXPECT_EQ(ioc.retryDelay(), ZANTOScanList::retryDelay);
}

TEST_F(ScanList, OneRetryIsUnderWayWhateverIsRefused)
{
    start();
    ioc.setCapacity(low, 0);
    for (int i = 0; i < 1000; ++i)
        change();
    EXPECT_EQ(ioc.retries(), 1);
}

TEST_F(ScanList, ABurstOfRequestsWhileTheQueueIsFullIsNotGivenUp)
{
    for (const int served : {0, 1}) {
        SCOPED_TRACE(served);
        ioc.reset({low, high}, 2000);
        ZANTOScanList busy(FakeIoc::services);
        busy.init();
        busy.watchPasses();
        busy.request();
        drain(busy);
        // Full for one priority or for both, for less time than a retry takes.
        ioc.setCapacity(high, 0);
        ioc.setCapacity(low, served == 0 ? 0 : 2000);
        for (int i = 0; i < 10 * ZANTOScanList::quickRetries; ++i) {
            ++ioc.version;
            busy.request();
            ioc.runPass(low);
        }
        ioc.setCapacity(low, 2000);
        ioc.setCapacity(high, 2000);
        drain(busy);
        EXPECT_EQ(ioc.seen(low), ioc.version);
        EXPECT_EQ(ioc.seen(high), ioc.version);
    }
}

TEST_F(ScanList, RecordsThatLeftTheListDoNotHoldTheOthersUp)
{
    ioc.reset({low, high}, 2000);
    start();
    change();
    drain();
    ioc.setPriorities({low});
    for (int i = 0; i < 10; ++i) {
        const int before = ioc.requests();
        change();
        drain(list, 5);
        EXPECT_EQ(ioc.seen(low), ioc.version);
        // A scan for the change, one for each retry, and none for a pass that ended.
        EXPECT_LE(ioc.requests() - before, 1 + 5);
    }
}

TEST_F(ScanList, APassThatNobodyCountedDoesNoHarm)
{
    start();
    list.passEnded(static_cast<int>(low));
    list.passEnded(static_cast<int>(high));
    for (int i = 0; i < 10; ++i)
        change();
    EXPECT_EQ(ioc.queued(low), bound);
}

// ---- nothing is lost ----

TEST_F(ScanList, WhateverTheOrderOfThingsNothingIsLostAndTheBoundHolds)
{
    for (unsigned seed = 0; seed < 200; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        ioc.reset({low, high}, 2000);
        ZANTOScanList fresh(FakeIoc::services);
        fresh.init();
        fresh.watchPasses();
        fresh.request();
        for (int step = 0; step < 300; ++step) {
            switch (random() % 8) {
            case 0: ioc.runPass(low); break;
            case 1: ioc.runPass(high); break;
            case 2: ioc.setCapacity(random() % 2 == 0 ? low : high, random() % 3); break;
            case 3:
                if (ioc.takeRetry())
                    fresh.retry();
                break;
            default: ++ioc.version; fresh.request();
            }
            ASSERT_LE(std::min(ioc.queued(low), ioc.queued(high)), bound);
            ASSERT_LE(std::max(ioc.queued(low), ioc.queued(high)), backlog);
        }
        ioc.setCapacity(low, 2000);
        ioc.setCapacity(high, 2000);
        drain(fresh);
        ASSERT_EQ(ioc.seen(low), ioc.version);
        ASSERT_EQ(ioc.seen(high), ioc.version);
    }
}

TEST_F(ScanList, NothingIsLostBetweenThreads)
{
    start();
    std::atomic<int> writers{3};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < 2000; ++n)
                change();
            --writers;
        });
    }
    std::thread scanner([&] {
        while (writers > 0) {
            if (!ioc.runPass(low))
                std::this_thread::yield();
        }
    });
    for (std::thread &thread : threads)
        thread.join();
    scanner.join();
    drain();
    EXPECT_EQ(ioc.seen(low), 6000);
    EXPECT_EQ(list.asked(), 6000U);
}
