#include "ZANTOscanthread.h"

#include <chrono>
#include <thread>

using std::chrono::steady_clock;

namespace {

// Between the begins of two calls, once so many have followed each other without a rest. A storm
// of events asks for the next one before the present one is over: without a pause each list would
// take a processor for itself, and the thread that reads the events would fall behind.
constexpr std::chrono::milliseconds leastPeriod{20};
constexpr int callsWithoutPause = 4;

} // namespace

bool ZANTOScanThread::start(const char *name, unsigned priority, Work work, void *owner, int prio)
{
    m_work = work;
    m_owner = owner;
    m_prio = prio;
    if (m_wake == nullptr)
        m_wake = epicsEventCreate(epicsEventEmpty);
    if (m_wake != nullptr)
        m_thread = epicsThreadCreate(
            name, priority, epicsThreadGetStackSize(epicsThreadStackBig),
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
    while (true) {
        epicsEventMustWait(m_wake);
        for (int call = 1; m_queued > 0; ++call) {
            --m_queued;
            const auto next = steady_clock::now() + leastPeriod;
            m_work(m_owner, m_prio);
            if (call >= callsWithoutPause && m_queued > 0)
                std::this_thread::sleep_until(next);
        }
    }
}
