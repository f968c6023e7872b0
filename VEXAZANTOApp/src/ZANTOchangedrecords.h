// Has only the records process whose nodes changed: the scans of a large crate.
#pragma once

#include "ZANTOchangequeue.h"
#include "ZANTOscanthread.h"

#include <dbCommon.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>

class ZANTOChangedRecords;

// What the changed records ask of the IOC; tests put their own in place.
struct ZANTOChangedServices {
    ZANTOChangeQueue::Find find;
    void (*lock)(dbCommon *record);
    void (*process)(dbCommon *record); // the record is locked
    void (*unlock)(dbCommon *record);
    // Has `changed->pass(prio)` called once on `thread`, its own for this priority; false when
    // there is no such thread and none can be had.
    bool (*queuePass)(ZANTOChangedRecords *changed, ZANTOScanThread *thread, int prio);
    // Has `changed->timeIsUp()` called after `delay` seconds, on another thread; `timer` is its
    // own to keep. False when there is no memory for it.
    bool (*later)(ZANTOChangedRecords *changed, void **timer, double delay);
};
// The IOC's own services.
extern const ZANTOChangedServices ZANTOIocChangedServices;

// From a node that changed to the records that show it.
//
// The threads of the events mark nodes and, once for each batch, wake the threads of those
// priorities that have got work. A mark goes before its record is processed, so a change that
// comes meanwhile marks it again. A pass takes what was marked when it began; a record whose
// set-point's write hangs holds up its own priority alone.
//
// Any thread may call any function; none blocks but pass(), which processes records. The lock
// inside is held for moments and never while anything else is waited for; where a record is
// locked too, that comes first. A pass takes it once for many records: whoever reads the events
// would lose more by waiting for it than by all the rest.
class ZANTOChangedRecords {
public:
    explicit ZANTOChangedRecords(const ZANTOChangedServices &services = ZANTOIocChangedServices)
        : m_services(services), m_queue(services.find)
    {
    }
    ZANTOChangedRecords(const ZANTOChangedRecords &) = delete;
    ZANTOChangedRecords &operator=(const ZANTOChangedRecords &) = delete;

    // The one of the IOC, which no exit destroys.
    static ZANTOChangedRecords &instance();

    // The IOC is about to put the record, which is locked, on "I/O Intr", or to take it off. With
    // `missed` the record is marked: it may have missed changes on the way.
    void recordJoins(dbCommon *record, bool missed);
    void recordLeaves(const dbCommon *record);

    // An event reached this node of the tree of this generation; the node is only compared
    // with. To be followed by wake().
    void mark(const ZANTONode *node, uint32_t tree);
    // Has what is marked processed, while the scans run.
    void wake();

    // The scans run: what was marked before is processed from now on. `soon`: marks of nodes
    // are to be expected.
    void iocRuns(bool soon);
    // The scans end or pause: no record is begun any more until the next iocRuns(). What a pass
    // has taken and not begun is forgotten, because all lists are scanned when the scans go on;
    // other marks are kept.
    void stop();
    // A pass has begun and is not over.
    bool passRuns() const { return m_passesRun > 0; }

    // For whoever watches: passes that got no thread.
    uint32_t refused() const noexcept { return m_refused; }

    // One pass over the marked records of a priority. For the thread of that priority.
    void pass(int prio);
    // For the timer.
    void timeIsUp();

    // Seconds until a thread that could not be had is asked for again.
    static constexpr double retryDelay = 0.05;

private:
    struct Priority {
        bool asked = false; // for a pass, which has not begun
        ZANTOScanThread thread;
    };

    using Records = std::array<dbCommon *, 64>;

    bool bindToPresentTree();
    bool wantsPass() const;
    void askForPass(int prio);
    void askForPasses();
    size_t beginPass(int prio);
    size_t take(int prio, Records &records, size_t most);
    void process(dbCommon *record, int prio);

    const ZANTOChangedServices &m_services;
    std::atomic<uint32_t> m_refused{0};
    // Written under m_mutex, read without it.
    std::atomic<bool> m_iocRuns{false};
    std::atomic<int> m_passesRun{0};
    std::atomic<bool> m_hasWork{false}; // for wake()

    std::mutex m_mutex;
    // Guarded by m_mutex.
    ZANTOChangeQueue m_queue;
    std::array<Priority, NUM_CALLBACK_PRIORITIES> m_priorities{};
    bool m_timerArmed = false;
    void *m_timer = nullptr; // of the timer queue, kept for ever once made
};

// The shell variable ZANTOScanChangedOnly: events make the records process that show what
// changed, instead of all of a type. May change at any time.
bool ZANTOScansChangedOnly();
