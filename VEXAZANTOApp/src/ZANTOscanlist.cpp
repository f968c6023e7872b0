#include "ZANTOscanlist.h"

#include "ZANTOepics.h"
#include "ZANTOscantimer.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace {

void iocInitList(IOSCANPVT *list) { scanIoInit(list); }

#if ZANTO_BASE_SCANS_ONE_PRIORITY

// The system shows 15 characters of a name: these differ within them.
constexpr const char *prefixes[NUM_CALLBACK_PRIORITIES] = {"scanLow-", "scanMed-", "scanHigh-"};

void runPass(void *scanList, int prio) { static_cast<ZANTOScanList *>(scanList)->pass(prio); }

bool startThread(ZANTOScanList *scanList, ZANTOScanThread *thread, int prio)
{
    char name[32];
    std::snprintf(name, sizeof(name), "%s%s", prefixes[prio], scanList->recordType());
    return thread->start(name, ZANTOScanThreadPriorities[prio], runPass, scanList, prio);
}

bool iocQueuePass(ZANTOScanList *scanList, ZANTOScanThread *thread, int prio)
{
    if (!thread->isRunning() && !startThread(scanList, thread, prio))
        return false;
    thread->queue();
    return true;
}

void iocScanPriority(IOSCANPVT list, int prio) { scanIoImmediate(list, prio); }

constexpr void (*iocQueueMark)(ZANTOScanList *, CALLBACK *, int) = nullptr;

#else

constexpr bool (*iocQueuePass)(ZANTOScanList *, ZANTOScanThread *, int) = nullptr;
constexpr void (*iocScanPriority)(IOSCANPVT, int) = nullptr;

void markReturns(CALLBACK *mark)
{
    static_cast<ZANTOScanList *>(mark->user)->passIsOver(mark->priority);
}

void iocQueueMark(ZANTOScanList *scanList, CALLBACK *mark, int prio)
{
    if (mark->callback == nullptr) { // else it may be in the queue still
        mark->user = scanList;
        mark->priority = prio;
        mark->callback = markReturns;
    }
    callbackRequest(mark);
}

#endif

void iocRequestAll(IOSCANPVT list) { scanIoRequest(list); }

void timeIsUp(void *scanList) { static_cast<ZANTOScanList *>(scanList)->timeIsUp(); }

bool iocLater(ZANTOScanList *scanList, void **timer, double delay)
{
    return ZANTOStartScanTimer(timer, timeIsUp, scanList, delay);
}

} // namespace

const ZANTOScanServices ZANTOIocScanServices = {iocInitList,   iocQueuePass, iocScanPriority,
                                                iocRequestAll, iocQueueMark, iocLater};

void ZANTOScanList::init()
{
    if (m_list != nullptr && !m_listIsOver.exchange(false))
        return;
    IOSCANPVT fresh = nullptr;
    m_services.init(&fresh);
    m_list = fresh;
}

// ---- records ----

bool ZANTOScanList::isPriority(int prio) const
{
    return prio >= 0 && static_cast<size_t>(prio) < m_priorities.size();
}

// A record that moves misses what changes while it is in no list, and a pass that meets too many
// moves stops short. The IOC changes its list only after this was called, so a pass that was
// queued here could be over before: what is in the list is scanned once, a little later. For a
// record that is scanned alone that is needed only where it may cut a pass short.
void ZANTOScanList::recordMoves(int prio, int joining, bool scannedAlone)
{
    if (!isPriority(prio))
        return;
    std::lock_guard<std::mutex> lock(m_mutex);
    Priority &priority = m_priorities[static_cast<size_t>(prio)];
    priority.records = std::max(priority.records + joining, 0);
    if (priority.records == 0)
        priority.due = priority.moved = false;
    else if (!m_iocRuns || (scannedAlone && !passIsUnderWay(priority)))
        return;
    else if (m_timerArmed)
        priority.moved = true;
    else
        makeDue(priority);
}

// Where only a mark tells of its end it may always be: threads that share a queue overtake it.
bool ZANTOScanList::passIsUnderWay(const Priority &priority) const
{
    return m_passesRun > 0 || priority.queued > 0 || priority.due ||
           m_services.queuePass == nullptr;
}

// ---- requests ----

void ZANTOScanList::start()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_started = true;
}

void ZANTOScanList::iocRuns()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_iocRuns = true;
    }
    request();
}

void ZANTOScanList::request()
{
    ++m_asked;
    if (m_list == nullptr)
        return;
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_started)
        return;
    if (m_services.queuePass == nullptr) {
        requestAll();
        return;
    }
    for (size_t prio = 0; prio < m_priorities.size(); ++prio) {
        if (m_priorities[prio].records > 0)
            queuePass(static_cast<int>(prio));
    }
}

void ZANTOScanList::stop()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_started = m_iocRuns = false;
    m_listIsOver = true;
}

bool ZANTOScanList::passRuns() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_passesRun > 0;
}

void ZANTOScanList::queuePass(int prio)
{
    Priority &priority = m_priorities[static_cast<size_t>(prio)];
    if (priority.queued >= maxQueued) {
        ++m_deferred;
    } else if (m_services.queuePass(this, &priority.thread, prio)) {
        ++priority.queued;
        priority.due = false;
    } else {
        ++m_refused;
        // With one queued the refusal costs nothing: that pass has not begun.
        if (priority.queued == 0)
            makeDue(priority);
    }
}

// Counted as begun before the first record is read: whoever asks from here on gets another pass.
void ZANTOScanList::pass(int prio)
{
    if (!isPriority(prio))
        return;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        --m_priorities[static_cast<size_t>(prio)].queued;
        if (!m_started)
            return;
        ++m_passesRun;
    }
    m_services.scanPriority(m_list, prio);
    std::lock_guard<std::mutex> lock(m_mutex);
    --m_passesRun;
}

// Where scans can only be requested for all priorities together, and by way of a queue that they
// share with all others: one request at once, what is asked for until the interval after it is over
// and its passes are done once at the end.
void ZANTOScanList::requestAll()
{
    if (m_timerArmed) {
        m_allDue = true;
        ++m_deferred;
        return;
    }
    m_services.requestAll(m_list);
    for (size_t prio = 0; prio < m_priorities.size(); ++prio) {
        Priority &priority = m_priorities[prio];
        priority.queued = std::min(priority.records, 1);
        if (priority.queued > 0)
            m_services.queueMark(this, &priority.mark, static_cast<int>(prio));
    }
    m_intervals = 0;
    armTimer(interval);
}

bool ZANTOScanList::awaitsMarks() const
{
    return std::any_of(m_priorities.begin(), m_priorities.end(),
                       [](const Priority &priority) { return priority.queued > 0; });
}

void ZANTOScanList::passIsOver(int prio)
{
    if (!isPriority(prio))
        return;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_priorities[static_cast<size_t>(prio)].queued = 0;
    m_patience = firstPatience;
}

// A pass that stands at a write that hangs would otherwise have one request after the other queued
// behind it, until the queue is full for everybody.
void ZANTOScanList::intervalIsOver()
{
    if (awaitsMarks() && ++m_intervals < m_patience) {
        armTimer(interval);
        return;
    }
    if (awaitsMarks()) {
        m_patience = std::min(2 * m_patience, longestPatience);
        m_allDue = true;
    }
    if (std::exchange(m_allDue, false))
        requestAll();
}

// ---- timer ----

bool ZANTOScanList::armTimer(double delay)
{
    if (!m_timerArmed)
        m_timerArmed = m_services.later(this, &m_timer, delay);
    return m_timerArmed;
}

// Without memory for the timer the next request makes up for it.
void ZANTOScanList::makeDue(Priority &priority)
{
    bool &due = m_services.queuePass != nullptr ? priority.due : m_allDue;
    due = armTimer(retryDelay);
}

void ZANTOScanList::queueDuePasses()
{
    for (size_t prio = 0; prio < m_priorities.size(); ++prio) {
        if (m_priorities[prio].due) {
            m_priorities[prio].due = false;
            queuePass(static_cast<int>(prio));
        }
    }
}

// The time that was left when such a record moved may have been too short for it.
void ZANTOScanList::makeMovedDue()
{
    for (Priority &priority : m_priorities) {
        if (std::exchange(priority.moved, false))
            makeDue(priority);
    }
}

void ZANTOScanList::timeIsUp()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_timerArmed = false;
    if (!m_started)
        return;
    if (m_services.queuePass != nullptr)
        queueDuePasses();
    else
        intervalIsOver();
    makeMovedDue();
}
