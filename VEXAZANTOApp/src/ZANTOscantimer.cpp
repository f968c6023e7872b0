#include "ZANTOscantimer.h"

#include <epicsThread.h>
#include <epicsTimer.h>

bool ZANTOStartScanTimer(void **timer, void (*expired)(void *user), void *user, double delay)
{
    static const epicsTimerQueueId queue = epicsTimerQueueAllocate(1, epicsThreadPriorityLow);
    if (*timer == nullptr && queue != nullptr)
        *timer = epicsTimerQueueCreateTimer(queue, expired, user);
    if (*timer != nullptr)
        epicsTimerStartDelay(static_cast<epicsTimerId>(*timer), delay);
    return *timer != nullptr;
}
