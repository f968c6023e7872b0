#include "ZANTOhealthhooks.h"

#include "ZANTOclock.h"
#include "ZANTOepics.h"
#include "ZANTOhealth.h"
#include "ZANTOhealthrecords.h"
#include "ZANTOhealthwatch.h"
#include "ZANTOscanlists.h"

#include <dbAccess.h>
#include <dbStaticLib.h>
#include <initHooks.h>

#include <chrono>

#if ZANTO_BASE_HAS_STATE_LINKS
#include <dbState.h>
#endif

namespace {

// ---- the state for links ----

#if ZANTO_BASE_HAS_STATE_LINKS

constexpr const char *stateName = "ZANTO:EventsLost";

// A link makes the state that it asks for.
bool hasStateLinks() { return dbStateFind(stateName) != nullptr; }

// Made on the thread that runs iocInit: the base does not guard its list of states.
dbStateId state()
{
    static const dbStateId id = dbStateCreate(stateName);
    return id;
}

void setState(bool lost) { (lost ? dbStateSet : dbStateClear)(state()); }

#else

bool hasStateLinks() { return false; }
void setState(bool) {}

#endif

// ---- services ----

bool scansRun() { return ZANTOHealthWatch::instance().scansRun(); }

void showLost() { ZANTOProcessHealthRecords(ZANTOFigureShown::onChange, scansRun); }

void requestScans()
{
    for (ZANTOScanList *list : ZANTOScanLists)
        list->request();
}

void tick()
{
    ZANTOPresentRates().tick(ZANTOPresentCounts, ZANTOSteadyNow());
    ZANTOProcessHealthRecords(ZANTOFigureShown::eachSecond, scansRun);
}

const ZANTOHealthServices iocServices = {setState, showLost, requestScans, tick};

// ---- turns ----

int countRecords()
{
    int count = 0;
    DBENTRY entry;
    dbInitEntry(pdbbase, &entry);
    for (long status = dbFirstRecordType(&entry); status == 0; status = dbNextRecordType(&entry))
        count += dbGetNRecords(&entry) - dbGetNAliases(&entry);
    dbFinishEntry(&entry);
    return count;
}

void beginIfWanted()
{
    if (!ZANTOHasHealthRecords() && !hasStateLinks())
        return;
    ZANTOSetRecordCount(countRecords());
    ZANTOPresentRates().begin(ZANTOPresentCounts, ZANTOSteadyNow());
    ZANTOHealthWatch::instance().begin(iocServices);
}

#if ZANTO_BASE_TELLS_SHUTDOWN

// The IOC is about to take apart what records use. One that stands at a write that hangs would
// hold up the exit for ever.
void awaitTurn()
{
    constexpr std::chrono::seconds limit{1};
    const auto end = ZANTOSteadyNow() + limit;
    while (ZANTOHealthWatch::instance().isBusy() && ZANTOSteadyNow() < end)
        ZANTOPause(std::chrono::milliseconds(10));
}

#endif

void onInit(initHookState state)
{
    ZANTOHealthWatch &watch = ZANTOHealthWatch::instance();
    if (state == initHookAfterInitDatabase)
        beginIfWanted();
    if (state == initHookAfterCaServerRunning)
        ZANTOSetServerRuns();
    if (state == initHookAfterIocRunning)
        watch.iocRuns();
    if (state == initHookAtIocPause)
        watch.stop();
#if ZANTO_BASE_TELLS_SHUTDOWN
    if (state == initHookAtShutdown) {
        watch.stop();
        ZANTOForgetHealthList();
        awaitTurn();
    }
#endif
}

} // namespace

void ZANTORegisterHealthHooks()
{
    ZANTONoteStart();
    static const int registered = initHookRegister(onInit);
    (void)registered;
}
