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

// Without memory for the timer the next request is the retry.
void iocRetryLater(ZANTOScanList *scanList, void **timer, double delay)
{
    static const epicsTimerQueueId queue = epicsTimerQueueAllocate(1, epicsThreadPriorityLow);
    if (*timer == nullptr && queue != nullptr)
        *timer = epicsTimerQueueCreateTimer(queue, retry, scanList);
    if (*timer != nullptr)
        epicsTimerStartDelay(static_cast<epicsTimerId>(*timer), delay);
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
        m_due = true;
        ++m_deferred;
    }
}

bool ZANTOScanList::mayRequest() const
{
    int least = maxBacklog;
    int most = 0;
    for (unsigned prio = 0; prio < m_outstanding.size(); ++prio) {
        if ((m_priorities & (1U << prio)) == 0)
            continue;
        least = std::min(least, m_outstanding[prio]);
        most = std::max(most, m_outstanding[prio]);
    }
    return m_priorities == 0 || (least < maxOutstanding && most < maxBacklog);
}

// A priority that took requests before and does not now has been refused a place in its queue.
void ZANTOScanList::requestNow()
{
    const unsigned queued = m_services.request(m_list);
    for (unsigned prio = 0; prio < m_outstanding.size(); ++prio) {
        if ((queued & (1U << prio)) != 0)
            ++m_outstanding[prio];
    }
    m_due = false;
    m_missed = queued == 0 || (m_priorities & ~queued) != 0;
    m_priorities |= queued;
    if (m_missed) {
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
    m_services.retryLater(this, &m_timer,
                          m_refusedRetries < quickRetries ? retryDelay : lateRetryDelay);
}

void ZANTOScanList::passEnded(int prio)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    int &outstanding = m_outstanding.at(static_cast<size_t>(prio));
    outstanding = std::max(outstanding - 1, 0);
    // What was refused is left to the timed retry: asking at the end of each pass would scan the
    // priorities that do get through in an endless loop.
    if (m_due && mayRequest())
        requestNow();
}

void ZANTOScanList::retry()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_retryArmed = false;
    if (!m_missed)
        return;
    m_refusedRetries = std::min(m_refusedRetries + 1, quickRetries);
    if (mayRequest())
        requestNow();
    else
        m_due = true;
}
