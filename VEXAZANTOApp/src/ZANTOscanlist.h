// An I/O-interrupt scan list that holds up no other, never floods the IOC and loses nothing.
#pragma once

#include "ZANTOscanthread.h"

#include <callback.h>
#include <dbScan.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>

class ZANTOScanList;

// What a scan list asks of the IOC; tests put their own in place.
struct ZANTOScanServices {
    void (*init)(IOSCANPVT *list);
    // Has `scanList->pass(prio)` called once on `thread`, the list's own for this priority, for
    // any number of calls; false when there is no such thread and none can be had. Null for a
    // base that cannot scan one priority alone.
    bool (*queuePass)(ZANTOScanList *scanList, ZANTOScanThread *thread, int prio);
    // Scans the records of one priority on the calling thread.
    void (*scanPriority)(IOSCANPVT list, int prio);
    // Queues a scan of every priority that has records; what it refuses is not told. Used where
    // there is no queuePass.
    void (*requestAll)(IOSCANPVT list);
    // Has `scanList->passIsOver(prio)` called once what was requested of this priority before is
    // worked off; never when the IOC has no room for it, which is not told. `mark` is the list's
    // own to keep. Goes with requestAll.
    void (*queueMark)(ZANTOScanList *scanList, CALLBACK *mark, int prio);
    // Has `scanList->timeIsUp()` called after `delay` seconds, on another thread; `timer` is the
    // list's own to keep. False when there is no memory for it.
    bool (*later)(ZANTOScanList *scanList, void **timer, double delay);
};
// The IOC's own services.
extern const ZANTOScanServices ZANTOIocScanServices;

// The list of one input record type, shared by all records of that type.
//
// A request has the whole list scanned. A pass waits at a record whose set-point's write hangs,
// so each priority has a thread of its own instead of the IOC's callback thread, behind which
// every other list would wait. It has at most two passes queued, whatever the others do: a
// request that finds two of them not yet begun is complete in itself, because they will read
// what was in the tree before it. Any thread may call any function; none blocks but pass(),
// which processes records.
class ZANTOScanList {
public:
    // `recordType` is for the names of the threads.
    constexpr explicit ZANTOScanList(const char *recordType,
                                     const ZANTOScanServices &services = ZANTOIocScanServices)
        : m_services(services), m_recordType(recordType)
    {
    }
    ZANTOScanList(const ZANTOScanList &) = delete;
    ZANTOScanList &operator=(const ZANTOScanList &) = delete;

    // Called for every record of the type: the first one gets a list of the IOC, which all share.
    // After a stop() there is a fresh one, since the IOC has freed the old one.
    void init();
    operator IOSCANPVT() const noexcept { return m_list.load(); }
    const char *recordType() const noexcept { return m_recordType; }

    // The IOC is about to put a record into the list at this priority, or to take one out of
    // it. A priority that is none is not counted. `scannedAlone`: what the record misses is made
    // up for without the list, which is then scanned only if the move may cut a pass short.
    void recordJoins(int prio, bool scannedAlone = false) { recordMoves(prio, 1, scannedAlone); }
    void recordLeaves(int prio, bool scannedAlone = false) { recordMoves(prio, -1, scannedAlone); }

    // Requests reach the IOC from now on. To be called after the last init().
    void start();
    // The scans run: asks for one. From now on a list is scanned soon after a record joined or
    // left it, because what changed meanwhile may have reached nobody.
    void iocRuns();
    // Asks for one scan of the list; does nothing before start() and where no record is.
    void request();
    // The IOC shuts down: nothing is queued and no pass begins any more, those that are queued
    // included, until the next start().
    void stop();
    // A pass has begun and is not over.
    bool passRuns() const;

    // Back-pressure, for whoever watches: calls of request(), passes that it needed not queue
    // or that had to wait, passes that got no thread.
    uint32_t asked() const noexcept { return m_asked; }
    uint32_t deferred() const noexcept { return m_deferred; }
    uint32_t refused() const noexcept { return m_refused; }

    // One pass over the records of a priority. For the thread of that priority.
    void pass(int prio);
    // For the timer.
    void timeIsUp();
    // For the IOC's callback thread of that priority, where the base scans all at once.
    void passIsOver(int prio);

    // Passes of one priority that are queued and have not begun.
    static constexpr int maxQueued = 2;
    // Seconds until what was refused is asked for again, and until a list that changed is
    // scanned.
    static constexpr double retryDelay = 0.05;
    // Seconds between two requests where a base scans all priorities at once.
    static constexpr double interval = 0.04;
    // So many of them without the mark of the request, which may have been refused, and it is
    // made again; then twice as many.
    static constexpr int firstPatience = 250;
    static constexpr int longestPatience = firstPatience << 10;

private:
    struct Priority {
        int records = 0;
        int queued = 0;     // passes, not begun
        bool due = false;   // when the time is up
        bool moved = false; // since the timer was armed: due the next time it is up
        ZANTOScanThread thread;
        CALLBACK mark{}; // instead of the thread, where the base scans all priorities at once
    };

    bool isPriority(int prio) const;
    void recordMoves(int prio, int joining, bool scannedAlone);
    bool passIsUnderWay(const Priority &priority) const;
    void queuePass(int prio);
    void makeDue(Priority &priority);
    void queueDuePasses();
    void makeMovedDue();
    void requestAll();
    bool awaitsMarks() const;
    void intervalIsOver();
    bool armTimer(double delay);

    const ZANTOScanServices &m_services;
    const char *const m_recordType;
    std::atomic<IOSCANPVT> m_list{nullptr};
    std::atomic<bool> m_listIsOver{false};
    std::atomic<uint32_t> m_asked{0};
    std::atomic<uint32_t> m_deferred{0};
    std::atomic<uint32_t> m_refused{0};

    // Held across the requests to the IOC, which do not block.
    mutable std::mutex m_mutex;
    // Guarded by m_mutex.
    std::array<Priority, NUM_CALLBACK_PRIORITIES> m_priorities{};
    int m_passesRun = 0;
    bool m_started = false;
    bool m_iocRuns = false;
    // Of a base that scans all priorities at once.
    bool m_allDue = false;
    int m_intervals = 0; // since the last request
    int m_patience = firstPatience;
    bool m_timerArmed = false;
    void *m_timer = nullptr; // of the timer queue, kept for ever once made
};
