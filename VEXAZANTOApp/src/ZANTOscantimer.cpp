#include "ZANTOscantimer.h"

#include <epicsThread.h>
#include <epicsTimer.h>

#include <mutex>

namespace {

// Kept for ever once made; asked for again as long as there is no memory for it.
epicsTimerQueueId timerQueue()
{
    static std::mutex mutex;
    static epicsTimerQueueId queue = nullptr; // guarded by mutex
    std::lock_guard<std::mutex> lock(mutex);
    if (queue == nullptr)
        queue = epicsTimerQueueAllocate(1, epicsThreadPriorityLow);
    return queue;
}

} // namespace

bool ZANTOStartScanTimer(void **timer, void (*expired)(void *user), void *user, double delay)
{
    if (*timer == nullptr) {
        const epicsTimerQueueId queue = timerQueue();
        if (queue != nullptr)
            *timer = epicsTimerQueueCreateTimer(queue, expired, user);
    }
    if (*timer != nullptr)
        epicsTimerStartDelay(static_cast<epicsTimerId>(*timer), delay);
    return *timer != nullptr;
}
