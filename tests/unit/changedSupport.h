// Shared by the tests of what has only changed records process.
#pragma once

#include "unitSupport.h"

#include "ZANTOchangedrecords.h"

#include <menuScan.h>

#include <algorithm>
#include <array>
#include <deque>
#include <map>
#include <mutex>
#include <vector>

inline constexpr int low = 0;
inline constexpr int medium = 1;
inline constexpr int high = 2;

// Nodes are never looked into: any distinct addresses will do.
inline const ZANTONode *nodeAt(std::size_t place)
{
    static char addresses[20000];
    return reinterpret_cast<const ZANTONode *>(&addresses[place]);
}

inline dbCommon recordNamed(const std::string &name)
{
    dbCommon record = {};
    name.copy(record.name, sizeof(record.name) - 1);
    record.scan = menuScanI_O_Intr;
    return record;
}

// The IOC's side: records by name, their locks, and passes that the test runs itself.
class FakeRecords {
public:
    static FakeRecords &instance()
    {
        static FakeRecords records;
        return records;
    }

    void reset()
    {
        m_records.clear();
        m_nodes.clear();
        m_processed.clear();
        m_passes = {};
        m_asked = {};
        m_timers = 0;
        m_timerSet = false;
        threadsMissing = timerMissing = false;
        duringWait = duringProcessing = nullptr;
        lastNode = [this](const std::string &name) {
            const auto found = m_nodes.find(name);
            return found != m_nodes.end() ? found->second : nullptr;
        };
    }

    // A record that shows this node; null: none.
    dbCommon *add(const std::string &name, const ZANTONode *node)
    {
        if (node != nullptr)
            m_nodes[name] = node;
        m_records.push_back(recordNamed(name));
        return &m_records.back();
    }

    // The names of what was processed, in order, forgotten when told.
    Lines processed() { return std::exchange(m_processed, {}); }

    // Passes asked for and not begun, in all until now.
    int waiting(int prio) const { return m_passes.at(static_cast<std::size_t>(prio)); }
    int asked(int prio) const { return m_asked.at(static_cast<std::size_t>(prio)); }
    int timers() const { return m_timers; }

    // Has a pass run that was asked for; false when none was.
    bool runPass(ZANTOChangedRecords &changed, int prio)
    {
        if (waiting(prio) == 0)
            return false;
        --m_passes.at(static_cast<std::size_t>(prio));
        changed.pass(prio);
        return true;
    }
    bool letTimePass(ZANTOChangedRecords &changed)
    {
        if (!std::exchange(m_timerSet, false))
            return false;
        changed.timeIsUp();
        return true;
    }

    bool threadsMissing = false;
    bool timerMissing = false;
    // Runs while a pass waits for a record's lock, and while it processes one.
    std::function<void(dbCommon *)> duringWait;
    std::function<void(dbCommon *)> duringProcessing;
    // How names lead to nodes.
    std::function<const ZANTONode *(const std::string &)> lastNode;

    static const ZANTOChangedServices services;

private:
    static void lock(dbCommon *record)
    {
        if (instance().duringWait)
            instance().duringWait(record);
    }
    static void process(dbCommon *record)
    {
        instance().m_processed.emplace_back(record->name);
        if (instance().duringProcessing)
            instance().duringProcessing(record);
    }

    bool queuePass(int prio)
    {
        ++m_asked.at(static_cast<std::size_t>(prio));
        if (threadsMissing)
            return false;
        ++m_passes.at(static_cast<std::size_t>(prio));
        return true;
    }
    bool setTimer()
    {
        ++m_timers;
        m_timerSet = !timerMissing;
        return m_timerSet;
    }

    std::deque<dbCommon> m_records; // never moved
    std::map<std::string, const ZANTONode *> m_nodes;
    Lines m_processed;
    std::array<int, NUM_CALLBACK_PRIORITIES> m_passes{};
    std::array<int, NUM_CALLBACK_PRIORITIES> m_asked{};
    int m_timers = 0;
    bool m_timerSet = false;
};

inline const ZANTOChangedServices FakeRecords::services = {
    [](const char *name) { return instance().lastNode(name); },
    lock,
    process,
    [](dbCommon *) {},
    [](ZANTOChangedRecords *, ZANTOScanThread *, int prio) { return instance().queuePass(prio); },
    [](ZANTOChangedRecords *, void **, double) { return instance().setTimer(); },
};
