/// An I/O-interrupt scan list that never floods the IOC's callback queues and loses nothing.
#ifndef ZANTOSCANLIST_H
#define ZANTOSCANLIST_H

#include <callback.h>
#include <dbScan.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>

class ZANTOScanList;

/// What a scan list asks of the IOC; tests put their own in place.
struct ZANTOScanServices {
    void (*init)(IOSCANPVT *list);
    /// Bit mask of the priorities at which a pass was queued: none while scans do not run.
    unsigned (*request)(IOSCANPVT list);
    /// The end of each pass is told to `scanList` from now on.
    void (*watch)(IOSCANPVT list, ZANTOScanList *scanList);
    /// Has retry() called after `delay` seconds, on another thread; `timer` is the list's own to
    /// keep.
    void (*retryLater)(ZANTOScanList *scanList, void **timer, double delay);
};
/// The IOC's own services.
extern const ZANTOScanServices ZANTOIocScanServices;

/// The list of one input record type, shared by all records of that type.
///
/// Every request makes the IOC scan the whole list and takes one of the 2,000 places of its
/// callback queue. A full queue refuses requests, and with them the updates of unrelated lists.
/// So only few requests of a list are outstanding; what is asked for meanwhile is remembered
/// and requested when a pass ends, and what the IOC refused is asked for again until it gets
/// through. Any thread may call any function; none blocks.
class ZANTOScanList {
public:
    constexpr explicit ZANTOScanList(const ZANTOScanServices &services = ZANTOIocScanServices)
        : m_services(services)
    {
    }
    ZANTOScanList(const ZANTOScanList &) = delete;
    ZANTOScanList &operator=(const ZANTOScanList &) = delete;

    /// Replaces the IOC's list with a fresh one: called for every record, the last one counts.
    void init();
    operator IOSCANPVT() const noexcept { return m_list.load(); }
    /// Counts passes from now on. To be called after the last init() and while no request can
    /// be queued.
    void watchPasses();
    /// Asks for one scan of the list; does nothing when no record has called init().
    void request();

    /// Back-pressure, for whoever watches: calls of request(), those that had to wait, requests
    /// that the IOC refused.
    uint32_t asked() const noexcept { return m_asked; }
    uint32_t deferred() const noexcept { return m_deferred; }
    uint32_t refused() const noexcept { return m_refused; }

    /// A pass over the records of priority `prio` ended. For the IOC's callback threads.
    void passEnded(int prio);
    /// Requests again what the IOC refused. For the retry timer.
    void retry();

    /// Requests that may be queued or running at the priority that works them off fastest: the
    /// running pass, and one that sees what changes during it.
    static constexpr int maxOutstanding = 2;
    /// As above, at any other priority: one that hangs must not keep the others from being
    /// scanned, nor fill its queue.
    static constexpr int maxBacklog = 100;
    /// Seconds between retries: long enough for the IOC to work off a good part of its queue; in
    /// the long run, as the missing priority may just have lost its records, hardly any work.
    static constexpr double retryDelay = 0.05;
    static constexpr double lateRetryDelay = 1.0;
    static constexpr int quickRetries = 50;

private:
    bool mayRequest() const;
    void requestNow();
    void armRetry();

    const ZANTOScanServices &m_services;
    std::atomic<IOSCANPVT> m_list{nullptr};
    std::atomic<uint32_t> m_asked{0};
    std::atomic<uint32_t> m_deferred{0};
    std::atomic<uint32_t> m_refused{0};

    // Held across scanIoRequest, which does not block, so that the end of a pass is never
    // counted before its request.
    std::mutex m_mutex;
    // Guarded by m_mutex.
    bool m_watched = false;
    bool m_due = false;    // asked for while too many were outstanding
    bool m_missed = false; // refused, in part or whole
    unsigned m_priorities = 0; // bit mask of the priorities that have records, as learned
    std::array<int, NUM_CALLBACK_PRIORITIES> m_outstanding{};
    int m_refusedRetries = 0; // in a row
    bool m_retryArmed = false;
    void *m_timer = nullptr; // of the retry queue, kept for ever once made
};

#endif
