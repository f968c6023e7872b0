#include "ZANTOscanhooks.h"

#include "ZANTOchangedrecords.h"
#include "ZANTOclock.h"
#include "ZANTOepics.h"
#include "ZANTOscanlists.h"

#include <initHooks.h>

#include <algorithm>
#include <chrono>

namespace {

#if ZANTO_BASE_TELLS_SHUTDOWN

// The IOC is about to take apart what scans use. A pass that stands at a write that hangs would
// hold up the exit for ever.
void stopScans()
{
    constexpr std::chrono::seconds limit{1};
    for (ZANTOScanList *list : ZANTOScanLists)
        list->stop();
    ZANTOChangedRecords &changed = ZANTOChangedRecords::instance();
    changed.stop();
    const auto runs = [](const ZANTOScanList *list) { return list->passRuns(); };
    const auto end = ZANTOSteadyNow() + limit;
    while (
        (changed.passRuns() || std::any_of(ZANTOScanLists.begin(), ZANTOScanLists.end(), runs)) &&
        ZANTOSteadyNow() < end)
        ZANTOPause(std::chrono::milliseconds(10));
}

#endif

void onInit(initHookState state)
{
    if (state == initHookAfterInitDatabase) {
        for (ZANTOScanList *list : ZANTOScanLists)
            list->start();
    }
    // What changed between the records' first processing and the start of the scans is in the
    // tree and in no record yet.
    if (state == initHookAfterIocRunning) {
        for (ZANTOScanList *list : ZANTOScanLists)
            list->iocRuns();
        ZANTOChangedRecords::instance().iocRuns(ZANTOScansChangedOnly());
    }
    // The IOC itself keeps the lists from being scanned meanwhile.
    if (state == initHookAtIocPause)
        ZANTOChangedRecords::instance().stop();
#if ZANTO_BASE_TELLS_SHUTDOWN
    if (state == initHookAtShutdown)
        stopScans();
#endif
}

} // namespace

void ZANTORegisterScanHooks()
{
    static const int registered = initHookRegister(onInit);
    (void)registered;
}
