#include "ZANTOhealthwatch.h"

#include "ZANTOclock.h"
#include "ZANTOlife.h"
#include "ZANTOmessages.h"
#include "ZANTOstatic.h"
#include "ZANTOthreads.h"

#include <algorithm>
#include <utility>

ZANTOHealthWatch &ZANTOHealthWatch::instance()
{
    static ZANTONeverDestroyed<ZANTOHealthWatch> watch;
    return watch.get();
}

// ---- changes ----

void ZANTOHealthWatch::setConnected(bool connected)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_lost != connected)
        return;
    m_lost = !connected;
    m_stateDue = m_recordsDue = true;
    m_changed.notify_all();
}

// The state is due once more: the connection may have changed while it was set here.
void ZANTOHealthWatch::begin(const ZANTOHealthServices &services)
{
    show(services, m_lost);
    std::lock_guard<std::mutex> lock(m_mutex);
    m_services = &services;
    m_stateDue = true;
    startThread();
    m_changed.notify_all();
}

void ZANTOHealthWatch::iocRuns()
{
    if (!tellIocRuns())
        ZANTO_TRACE(0, "\nUnable to start the health thread\n");
}

// False when there is no thread for it.
bool ZANTOHealthWatch::tellIocRuns()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_services == nullptr)
        return true;
    startThread();
    m_iocRuns = m_recordsDue = true;
    m_nextTick = ZANTOSteadyNow() + period;
    m_changed.notify_all();
    return m_hasThread;
}

void ZANTOHealthWatch::stop()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_iocRuns = false;
}

void ZANTOHealthWatch::show(const ZANTOHealthServices &services, bool lost)
{
    m_shownLost = lost;
    services.setState(lost);
}

// ---- thread ----

void ZANTOHealthWatch::startThread()
{
    if (m_hasThread)
        return;
    m_hasThread =
        ZANTOStartThread(
            "ZANTOHealth", epicsThreadPriorityScanLow, epicsThreadStackBig,
            [](void *self) { static_cast<ZANTOHealthWatch *>(self)->run(); }, this) != nullptr;
}

bool ZANTOHealthWatch::hasWork() const { return m_stateDue || (m_iocRuns && m_recordsDue); }

void ZANTOHealthWatch::run() noexcept
{
    while (true) {
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            const auto left = std::min<std::chrono::steady_clock::duration>(
                m_nextTick - ZANTOSteadyNow(), period);
            m_changed.wait_for(lock, m_iocRuns ? left : period, [this] { return hasWork(); });
        }
        turn();
    }
}

// What was missed while the records took their time is left out.
bool ZANTOHealthWatch::takeTick()
{
    const auto now = ZANTOSteadyNow();
    if (!m_iocRuns || now < m_nextTick)
        return false;
    m_nextTick += period;
    if (m_nextTick <= now)
        m_nextTick = now + period;
    return true;
}

// Once the process is ending there is nobody to be told, and records are left alone.
ZANTOHealthWatch::Work ZANTOHealthWatch::takeWork()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    Work work;
    work.services = ZANTOIsEnding() ? nullptr : m_services;
    work.lost = m_lost;
    work.state = std::exchange(m_stateDue, false);
    work.records = m_iocRuns && std::exchange(m_recordsDue, false);
    work.tick = takeTick();
    m_isBusy = work.services != nullptr;
    return work;
}

void ZANTOHealthWatch::turn()
{
    const Work work = takeWork();
    if (work.services == nullptr)
        return;
    if (work.state)
        show(*work.services, work.lost);
    if (work.records) {
        work.services->showLost();
        work.services->requestScans();
    }
    if (work.tick)
        work.services->tick();
    m_isBusy = false;
}
