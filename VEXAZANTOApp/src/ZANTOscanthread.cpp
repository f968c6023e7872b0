#include "ZANTOscanthread.h"

#include "ZANTOthreads.h"

#include <chrono>
#include <thread>

using std::chrono::steady_clock;

bool ZANTOScanThread::start(const char *name, unsigned priority, Work work, void *owner, int prio,
                            const ZANTOPaceLimits &pace)
{
    m_work = work;
    m_owner = owner;
    m_prio = prio;
    m_pace = pace;
    if (m_wake == nullptr)
        m_wake = epicsEventCreate(epicsEventEmpty);
    if (m_wake != nullptr)
        m_thread = ZANTOStartThread(
            name, priority, epicsThreadStackBig,
            [](void *self) { static_cast<ZANTOScanThread *>(self)->run(); }, this);
    return isRunning();
}

void ZANTOScanThread::queue()
{
    ++m_queued;
    epicsEventSignal(m_wake);
}

void ZANTOScanThread::run() noexcept
{
    ZANTOScanPace pace(m_pace);
    while (true) {
        epicsEventMustWait(m_wake);
        while (m_queued > 0) {
            --m_queued;
            const auto begin = steady_clock::now();
            m_work(m_owner, m_prio);
            const auto end = steady_clock::now();
            std::this_thread::sleep_until(pace.nextPass(begin, end, m_queued > 0));
        }
    }
}
