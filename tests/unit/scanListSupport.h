// Shared by the tests of the scan lists.
#pragma once

#include "unitSupport.h"

#include "ZANTOscanlist.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <deque>
#include <functional>
#include <random>
#include <thread>
#include <utility>

inline constexpr int low = 0;
inline constexpr int medium = 1;
inline constexpr int high = 2;

// The IOC's side of one scan list: a thread per priority, and records that show which
// version of the data they saw last.
class FakeIoc {
public:
    static FakeIoc &instance()
    {
        static FakeIoc ioc;
        return ioc;
    }

    void reset()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_queues = {};
        m_queues.fill({{}, 2000, 0, 0, 0, nullptr});
        m_inits = m_requestsForAll = m_timers = m_seenByAll = 0;
        m_delay = 0;
        m_timerUsers = {};
        m_timerWorks = true;
        m_marks = {};
        m_passesHang = m_marksAreLost = false;
        version = 0;
        duringPass = nullptr;
    }

    void setCapacity(int prio, std::size_t capacity)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_queues.at(static_cast<std::size_t>(prio)).capacity = capacity;
    }
    void breakTimer() { m_timerWorks = false; }
    // Of a base that scans all priorities at once: whether what it was asked for is worked off, and
    // whether its queue is full.
    void letPassesHang(bool hang) { m_passesHang = hang; }
    void loseMarks(bool lose) { m_marksAreLost = lose; }

    // Takes the oldest pass off the queue and runs it on this thread.
    bool runPass(int prio)
    {
        ZANTOScanList *list;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            auto &queue = m_queues.at(static_cast<std::size_t>(prio));
            if (queue.passes.empty())
                return false;
            list = queue.passes.front();
            queue.passes.pop_front();
        }
        list->pass(prio);
        return true;
    }

    // The time is up for the list that wanted to be told; false when none did. The passes that it
    // requested of all priorities are over by then, unless they hang.
    bool letTimePass()
    {
        ZANTOScanList *list;
        while (!m_passesHang && !m_marks.empty()) {
            const auto [scanned, prio] = m_marks.front();
            m_marks.pop_front();
            scanned->passIsOver(prio);
        }
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (m_timerUsers.empty())
                return false;
            list = m_timerUsers.front();
            m_timerUsers.pop_front();
        }
        list->timeIsUp();
        return true;
    }

    int queued(int prio) const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return static_cast<int>(m_queues.at(static_cast<std::size_t>(prio)).passes.size());
    }
    // Calls that asked for a pass, taken or not.
    int asked(int prio) const { return m_queues.at(static_cast<std::size_t>(prio)).asked; }
    int passes(int prio) const { return m_queues.at(static_cast<std::size_t>(prio)).scanned; }
    int seen(int prio) const { return m_queues.at(static_cast<std::size_t>(prio)).seen; }
    int inits() const { return m_inits; }
    int requestsForAll() const { return m_requestsForAll; }
    int timers() const { return m_timers; }
    double delay() const { return m_delay; }
    // What a base that scans all priorities at once has shown of the data.
    int seenByAll() const { return m_seenByAll; }

    // Raised by every change of the data.
    std::atomic<int> version{0};
    // Runs when a pass has read its records.
    std::function<void()> duringPass;

    static const ZANTOScanServices services;
    static const ZANTOScanServices olderServices;

private:
    struct Queue {
        std::deque<ZANTOScanList *> passes;
        std::size_t capacity;
        int asked;
        int scanned;
        int seen;
        ZANTOScanThread *thread; // the same one each time
    };

    bool queuePass(ZANTOScanList *list, ZANTOScanThread *thread, int prio)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        auto &queue = m_queues.at(static_cast<std::size_t>(prio));
        ++queue.asked;
        if (queue.passes.size() >= queue.capacity)
            return false;
        queue.thread = thread;
        for (const auto &other : m_queues)
            EXPECT_TRUE(&other == &queue || other.thread != thread);
        queue.passes.push_back(list);
        return true;
    }

    void scan(int prio)
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            auto &queue = m_queues.at(static_cast<std::size_t>(prio));
            ++queue.scanned;
            queue.seen = std::max(queue.seen, version.load());
        }
        if (duringPass)
            duringPass();
    }

    bool later(ZANTOScanList *list, double delay)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_timerWorks)
            return false;
        ++m_timers;
        m_delay = delay;
        m_timerUsers.push_back(list);
        return true;
    }

    void queueMark(ZANTOScanList *list, int prio)
    {
        if (!m_marksAreLost)
            m_marks.emplace_back(list, prio);
    }

    static void init(IOSCANPVT *list);

    mutable std::mutex m_mutex;
    // Guarded by m_mutex while threads run.
    std::array<Queue, NUM_CALLBACK_PRIORITIES> m_queues{};
    int m_inits = 0;
    int m_requestsForAll = 0;
    int m_seenByAll = 0;
    int m_timers = 0;
    double m_delay = 0;
    std::deque<ZANTOScanList *> m_timerUsers;
    std::atomic<bool> m_timerWorks{true};
    std::deque<std::pair<ZANTOScanList *, int>> m_marks;
    bool m_passesHang = false;
    bool m_marksAreLost = false;
};

// Each init hands out another list: any distinct addresses will do, nobody looks behind them.
inline char listAddresses[16];

inline void FakeIoc::init(IOSCANPVT *list)
{
    *list = reinterpret_cast<IOSCANPVT>(&listAddresses[instance().m_inits++ % 16]);
}

inline const ZANTOScanServices FakeIoc::services = {
    init,
    [](ZANTOScanList *list, ZANTOScanThread *thread, int prio) {
        return instance().queuePass(list, thread, prio);
    },
    [](IOSCANPVT, int prio) { instance().scan(prio); },
    [](IOSCANPVT) { ADD_FAILURE() << "all priorities were requested"; },
    nullptr,
    [](ZANTOScanList *list, void **, double delay) { return instance().later(list, delay); },
};

inline const ZANTOScanServices FakeIoc::olderServices = {
    init,
    nullptr,
    nullptr,
    [](IOSCANPVT) {
        ++instance().m_requestsForAll;
        instance().m_seenByAll = instance().version;
    },
    [](ZANTOScanList *list, CALLBACK *, int prio) { instance().queueMark(list, prio); },
    [](ZANTOScanList *list, void **, double delay) { return instance().later(list, delay); },
};

class ScanList : public ::testing::Test {
protected:
    void SetUp() override { ioc.reset(); }

    // As iocInit leaves it, with a record at each of these priorities.
    static void start(ZANTOScanList &any, std::initializer_list<int> priorities = {low})
    {
        any.init();
        any.start();
        for (const int prio : priorities)
            any.recordJoins(prio);
    }

    void change(ZANTOScanList &any)
    {
        ++ioc.version;
        any.request();
    }
    void change() { change(list); }

    // The IOC works everything off; time passes when it has nothing else to do.
    void drain()
    {
        int steps = 0;
        bool busy = true;
        while (busy) {
            ASSERT_LT(++steps, 100) << "the list is scanned for ever";
            busy =
                ioc.runPass(low) || ioc.runPass(medium) || ioc.runPass(high) || ioc.letTimePass();
        }
    }

    FakeIoc &ioc = FakeIoc::instance();
    ZANTOScanList list{"ai", FakeIoc::services};
};

class OlderScanList : public ScanList {
protected:
    void SetUp() override
    {
        ScanList::SetUp();
        start(older);
    }

    ZANTOScanList older{"ai", FakeIoc::olderServices};
};
