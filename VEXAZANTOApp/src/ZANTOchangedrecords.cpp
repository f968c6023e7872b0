#include "ZANTOchangedrecords.h"

#include "ZANTOscantimer.h"
#include "ZANTOstatic.h"
#include "ZANTOtreeuse.h"
#include "ZANTOtypes.h"
#include "ZANTOutils.h"

#include <dbAccess.h>
#include <dbLock.h>
#include <epicsExport.h>
#include <menuScan.h>

#include <algorithm>
#include <new>

// ---- the IOC's services ----

namespace {

const ZANTONode *findNode(const char *recordName)
{
    return ZANTOUtils::getNodeFromEpicsId(recordName);
}

void process(dbCommon *record) { dbProcess(record); }

// Within the 15 characters that the system shows.
constexpr const char *threadNames[NUM_CALLBACK_PRIORITIES] = {"changedLow", "changedMedium",
                                                              "changedHigh"};

// Short passes follow the events at once: twice a millisecond in the long run, every two
// milliseconds in a storm. Long ones leave half of the time to others, as those of a list do.
constexpr ZANTOPaceLimits pace = {std::chrono::microseconds{500}, std::chrono::milliseconds{2}, 4,
                                  std::chrono::milliseconds{8}};

void runPass(void *changed, int prio) { static_cast<ZANTOChangedRecords *>(changed)->pass(prio); }

bool queuePass(ZANTOChangedRecords *changed, ZANTOScanThread *thread, int prio)
{
    if (!thread->isRunning() && !thread->start(threadNames[prio], ZANTOScanThreadPriorities[prio],
                                               runPass, changed, prio, pace))
        return false;
    thread->queue();
    return true;
}

void timeIsUp(void *changed) { static_cast<ZANTOChangedRecords *>(changed)->timeIsUp(); }

bool later(ZANTOChangedRecords *changed, void **timer, double delay)
{
    return ZANTOStartScanTimer(timer, timeIsUp, changed, delay);
}

} // namespace

const ZANTOChangedServices ZANTOIocChangedServices = {findNode,     dbScanLock, process,
                                                      dbScanUnlock, queuePass,  later};

ZANTOChangedRecords &ZANTOChangedRecords::instance()
{
    static ZANTONeverDestroyed<ZANTOChangedRecords> changed;
    return changed.get();
}

// ---- the shell variable ----

extern "C" {
// Written by the shell; all others read it by ZANTOScansChangedOnly.
static int ZANTOScanChangedOnly = 0;
epicsExportAddress(int, ZANTOScanChangedOnly);
}

bool ZANTOScansChangedOnly()
{
    return __atomic_load_n(&ZANTOScanChangedOnly, __ATOMIC_RELAXED) != 0;
}

// ---- records ----

void ZANTOChangedRecords::recordJoins(dbCommon *record, bool missed)
{
    const ZANTOTreeUse use;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_queue.join(record, record->prio, use ? systemNode.generation() : 0);
    // Before the scans run there is nothing to miss: all lists are scanned then.
    if (!missed || !m_iocRuns)
        return;
    m_queue.mark(record);
    askForPasses();
}

void ZANTOChangedRecords::recordLeaves(const dbCommon *record)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_queue.leave(record);
}

// ---- marks ----

// Once for each tree. False when it has been closed: then there is nothing to be shown.
bool ZANTOChangedRecords::bindToPresentTree()
{
    const ZANTOTreeUse use;
    if (!use)
        return false;
    const uint32_t tree = systemNode.generation();
    if (!m_queue.isBoundTo(tree))
        m_queue.bind(tree);
    return true;
}

// Where memory does not suffice for the nodes, all records stand in for those of the node.
void ZANTOChangedRecords::mark(const ZANTONode *node, uint32_t tree)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    try {
        if (bindToPresentTree() && m_queue.isBoundTo(tree))
            m_queue.mark(node);
    } catch (const std::bad_alloc &) {
        m_queue.markAll();
    }
    if (wantsPass())
        m_hasWork = true;
}

bool ZANTOChangedRecords::wantsPass() const
{
    for (int prio = 0; prio < NUM_CALLBACK_PRIORITIES; ++prio) {
        if (!m_priorities[static_cast<size_t>(prio)].asked && m_queue.length(prio) > 0)
            return true;
    }
    return false;
}

void ZANTOChangedRecords::wake()
{
    if (!m_hasWork.exchange(false))
        return;
    std::lock_guard<std::mutex> lock(m_mutex);
    askForPasses();
}

// ---- passes ----

// A refusal is made up for when the time is up, or without memory for that by the next batch.
void ZANTOChangedRecords::askForPass(int prio)
{
    Priority &priority = m_priorities[static_cast<size_t>(prio)];
    if (priority.asked || m_queue.length(prio) == 0)
        return;
    priority.asked = m_services.queuePass(this, &priority.thread, prio);
    if (priority.asked)
        return;
    ++m_refused;
    if (!m_timerArmed)
        m_timerArmed = m_services.later(this, &m_timer, retryDelay);
}

void ZANTOChangedRecords::askForPasses()
{
    for (int prio = 0; m_iocRuns && prio < NUM_CALLBACK_PRIORITIES; ++prio)
        askForPass(prio);
}

void ZANTOChangedRecords::timeIsUp()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_timerArmed = false;
    askForPasses();
}

// Begun before the first record is taken: whoever wakes from here on gets another pass.
size_t ZANTOChangedRecords::beginPass(int prio)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_priorities[static_cast<size_t>(prio)].asked = false;
    ++m_passesRun;
    return m_queue.length(prio);
}

// How many there were.
size_t ZANTOChangedRecords::take(int prio, Records &records, size_t most)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    size_t count = 0;
    while (m_iocRuns && count < std::min(most, records.size())) {
        records[count] = m_queue.take(prio);
        if (records[count] == nullptr)
            break;
        ++count;
    }
    return count;
}

void ZANTOChangedRecords::pass(int prio)
{
    if (!ZANTOChangeQueue::isPriority(prio))
        return;
    Records records{};
    size_t left = beginPass(prio);
    while (const size_t count = take(prio, records, left)) {
        std::for_each_n(records.begin(), count,
                        [this, prio](dbCommon *record) { process(record, prio); });
        left -= count;
    }
    --m_passesRun;
}

// While its lock was waited for the record may have moved, for which it was marked again or its
// list is scanned, or the scans may have stopped.
void ZANTOChangedRecords::process(dbCommon *record, int prio)
{
    if (!m_iocRuns)
        return;
    m_services.lock(record);
    if (m_iocRuns && record->scan == menuScanI_O_Intr && record->prio == prio)
        m_services.process(record);
    m_services.unlock(record);
}

// ---- life ----

void ZANTOChangedRecords::iocRuns(bool soon)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_iocRuns = true;
    askForPasses();
    if (!soon)
        return;
    try {
        bindToPresentTree();
    } catch (const std::bad_alloc &) { // the first mark tries again
    }
}

void ZANTOChangedRecords::stop()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_iocRuns = false;
}
