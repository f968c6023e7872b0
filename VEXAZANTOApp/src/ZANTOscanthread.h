// A thread that does one piece of work as often as it is asked for.
#pragma once

#include "ZANTOscanpace.h"

#include <callback.h>
#include <epicsEvent.h>
#include <epicsThread.h>

#include <atomic>

// EPICS' thread priorities for scans at a record's PRIO: those of the IOC's callback threads.
constexpr unsigned ZANTOScanThreadPriorities[NUM_CALLBACK_PRIORITIES] = {
    epicsThreadPriorityScanLow - 1, epicsThreadPriorityScanLow + 4,
    epicsThreadPriorityScanHigh + 1};

// Part of a static object: once it runs, the thread runs as long as the process. One call at a
// time; none blocks.
class ZANTOScanThread {
public:
    using Work = void (*)(void *owner, int prio);

    constexpr ZANTOScanThread() = default;
    ZANTOScanThread(const ZANTOScanThread &) = delete;
    ZANTOScanThread &operator=(const ZANTOScanThread &) = delete;

    bool isRunning() const noexcept { return m_thread != nullptr; }
    // Makes the thread, for calls of `work(owner, prio)`; to be called until it succeeds. False
    // when no thread can be had. `priority` is EPICS' own for threads.
    bool start(const char *name, unsigned priority, Work work, void *owner, int prio,
               const ZANTOPaceLimits &pace = ZANTOListPace);
    // Has the work done once more. To be called when the thread is running.
    void queue();

private:
    void run() noexcept;

    // Set before the thread runs.
    Work m_work = nullptr;
    void *m_owner = nullptr;
    int m_prio = 0;
    ZANTOPaceLimits m_pace = ZANTOListPace;
    epicsEventId m_wake = nullptr;

    epicsThreadId m_thread = nullptr; // for the callers alone
    std::atomic<int> m_queued{0};     // raised by the callers, lowered by the thread
};
