// The server's threads.
#pragma once

#include <epicsThread.h>

#include <atomic>

// Where they come from; tests put their own in place.
struct ZANTOThreads {
    // Starts a thread that runs `entry(argument)` at a priority of EPICS. Null when none can be
    // had. Any thread may call it.
    epicsThreadId (*start)(const char *name, unsigned priority, epicsThreadStackSizeClass stack,
                           EPICSTHREADFUNC entry, void *argument);
};
// Those of EPICS.
extern const ZANTOThreads ZANTOEpicsThreads;
// The ones that are used, never null.
extern std::atomic<const ZANTOThreads *> ZANTOPresentThreads;

inline epicsThreadId ZANTOStartThread(const char *name, unsigned priority,
                                      epicsThreadStackSizeClass stack, EPICSTHREADFUNC entry,
                                      void *argument = nullptr)
{
    return ZANTOPresentThreads.load()->start(name, priority, stack, entry, argument);
}
