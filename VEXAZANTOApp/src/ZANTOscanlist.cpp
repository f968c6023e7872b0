#include "ZANTOscanlist.h"

#include "ZANTOepics.h"

#include <epicsThread.h>
#include <epicsTimer.h>

#include <algorithm>

namespace {

#if ZANTO_SCANS_REPORT_COMPLETION

void passEnded(void *scanList, IOSCANPVT, int prio)
{
    static_cast<ZANTOScanList *>(scanList)->passEnded(prio);
}

unsigned iocRequest(IOSCANPVT list) { return scanIoRequest(list); }

void iocWatch(IOSCANPVT list, ZANTOScanList *scanList)
{
    scanIoSetComplete(list, passEnded, scanList);
}

#else

// Older bases tell neither what was queued nor when a pass ends: requests go straight through.
unsigned iocRequest(IOSCANPVT list)
{
    scanIoRequest(list);
    return 0;
}

void iocWatch(IOSCANPVT, ZANTOScanList *) {}

#endif

void iocInitList(IOSCANPVT *list) { scanIoInit(list); }

void retry(void *scanList) { static_cast<ZANTOScanList *>(scanList)->retry(); }

// Long enough for the IOC to work off a good part of its 2,000 queued callbacks.
constexpr double retryDelaySeconds = 0.05;

void iocRetryLater(ZANTOScanList *scanList, void **timer)
{
    static const epicsTimerQueueId queue = epicsTimerQueueAllocate(1, epicsThreadPriorityLow);
    if (*timer == nullptr)
        *timer = epicsTimerQueueCreateTimer(queue, retry, scanList);
    epicsTimerStartDelay(static_cast<epicsTimerId>(*timer), retryDelaySeconds);
}

} // namespace

const ZANTOScanServices ZANTOIocScanServices = {iocInitList, iocRequest, iocWatch, iocRetryLater};

void ZANTOScanList::init()
{
    IOSCANPVT fresh = nullptr;
    m_services.init(&fresh);
    m_list = fresh;
}

void ZANTOScanList::watchPasses()
{
    if (m_list == nullptr || !ZANTO_SCANS_REPORT_COMPLETION)
        return;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_services.watch(m_list, this);
    m_watched = true;
}

void ZANTOScanList::request()
{
    ++m_asked;
    if (m_list == nullptr)
        return;
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_watched) {
        m_services.request(m_list);
    } else if (mayRequest()) {
        requestNow();
    } else {
        m_dirty = true;
        ++m_deferred;
    }
}

bool ZANTOScanList::mayRequest() const
{
    return std::all_of(m_outstanding.begin(), m_outstanding.end(),
                       [](int passes) { return passes < maxOutstanding; });
}

// A priority that took requests before and does not now has been refused a place in its queue:
// the request is kept until a later one, or a retry, gets through.
void ZANTOScanList::requestNow()
{
    const unsigned queued = m_services.request(m_list);
    for (unsigned prio = 0; prio < m_outstanding.size(); ++prio) {
        if ((queued & (1U << prio)) != 0)
            ++m_outstanding[prio];
    }
    m_dirty = queued == 0 || (m_priorities & ~queued) != 0;
    m_priorities |= queued;
    m_lastQueued = queued;
    if (m_dirty) {
        ++m_refused;
        armRetry();
    } else {
        m_refusedRetries = 0;
    }
}

void ZANTOScanList::armRetry()
{
    if (m_retryArmed)
        return;
    m_retryArmed = true;
    m_services.retryLater(this, &m_timer);
}

void ZANTOScanList::passEnded(int prio)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    int &outstanding = m_outstanding.at(static_cast<size_t>(prio));
    outstanding = std::max(outstanding - 1, 0);
    // What was refused waits for the timed retry: asking at the end of each pass would scan the
    // priorities that do get through in an endless loop.
    if (m_dirty && !m_retryArmed && mayRequest())
        requestNow();
}

void ZANTOScanList::retry()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_retryArmed = false;
    if (!m_dirty || !mayRequest())
        return; // the end of a pass requests what is still due
    requestNow();
    if (!m_dirty || ++m_refusedRetries < retryLimit)
        return;
    // Seconds without a place: the records of the missing priorities have left the list.
    m_priorities = m_lastQueued;
    m_dirty = false;
    m_refusedRetries = 0;
}
