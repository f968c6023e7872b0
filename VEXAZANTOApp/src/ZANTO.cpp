#include "ZANTO.h"

#include "ZANTOend.h"
#include "ZANTOeventsthread.h"
#include "ZANTOfile.h"
#include "ZANTOfirmwarewait.h"
#include "ZANTOhealth.h"
#include "ZANTOhealthhooks.h"
#include "ZANTOlife.h"
#include "ZANTOlookup.h"
#include "ZANTOmessages.h"
#include "ZANTOnode.h"
#include "ZANTOscanhooks.h"
#include "ZANTOsignals.h"
#include "ZANTOtreebuilder.h"
#include "ZANTOtypes.h"
#include "ZANTOutils.h"
#include "ZANTOwatchlists.h"
#include "vexahvwrapper.h"

#include <drvSup.h>
#include <epicsExit.h>
#include <epicsExport.h>
#include <initHooks.h>

#include <chrono>
#include <memory>
#include <stdexcept>

using std::chrono::milliseconds;

// ---- tree build ----

namespace {

constexpr const char *databasePath = "/tmp/ZANTO.db";
constexpr const char *pvListPath = "/tmp/pvlist.txt";

int32_t buildError(const char *message, int32_t result = -1)
{
    ZANTO_TRACE(0, "%s\n", message);
    return result;
}

void createRoot(const std::string &sysName, const std::string &host, const std::string &user,
                const std::string &password, int32_t handle)
{
    auto root = std::make_unique<ZANTONode>();
    root->ZANTOPrepareNode(sysName, nodeTypeSystemItem, VEXAHV_SYSTEM_MAINFRAME, VEXAHV_LINK_TCPIP,
                           host, user, password);
    root->setAccessRights(nodeAccessNone);
    root->setConnectionStatus(connStatus_OK);
    root->setSysHandle(handle);
    systemNode = root.release();
}

int32_t closeFiles(ZANTOOutputFile &database, ZANTOOutputFile &pvList)
{
    // A database that lost its end on a full disk would load without a message and serve a part
    // of the crate.
    if (!database.close())
        return buildError("\nUnable to write file for database");
    ZANTO_TRACE(0, "Database written into file [%s]\n", databasePath);
    if (!pvList.close())
        return buildError("\nUnable to write file for PV list");
    ZANTO_TRACE(0, "PV list written into file [%s]\n", pvListPath);
    return 0;
}

// What the process does between the login and the finished tree.
template <typename Build> int32_t buildAfterLogin(const Build &build)
{
    try {
        return build();
    } catch (const std::exception &error) {
        ZANTO_TRACE(0, "\nError building the crate's tree: %s\n", error.what());
    }
    return -1;
}

// Unless another thread has begun the end, which then does it.
int32_t logOutAfterFailure(int32_t result)
{
    ZANTOBeginEnd(ZANTOHappening::startFailed);
    ZANTOCloseCrate();
    return result;
}

} // namespace

int32_t createSystemTree(const std::string &sysName, const std::string &sysInitParam,
                         const std::string &usrnm, const std::string &pswd)
{
    const ZANTOStartupWork work;
    ZANTOBeginTree();
    if (!ZANTOWriteLiveInsertionFlag("0\n"))
        return buildError("\nUnable to open file for live insertion event");
    ZANTOPresentCounts.inserted = false;
    ZANTO_TRACE(0, "Live insertion event flag reset into file [%s]\n", ZANTOLiveInsertionPath);
    ZANTOOutputFile pvList(pvListPath);
    if (!pvList.isOpen())
        return buildError("\nUnable to open file for PV list");
    ZANTOOutputFile database(databasePath);
    if (!database.isOpen())
        return buildError("\nUnable to open file for dabatase");
    if (sysInitParam.empty())
        return buildError("\nIP address not valid");

    ZANTOAdvance(ZANTOHappening::loginBegins);
    int32_t handle = -1;
    const int32_t result =
        VEXAHV_InitSystem(VEXAHV_SYSTEM_MAINFRAME, VEXAHV_LINK_TCPIP, sysInitParam.c_str(),
                          usrnm.c_str(), pswd.c_str(), &handle);
    if (result != 0) {
        ZANTOStartupCheckpoint();
        return buildError("\nError initializing mainframe", result);
    }
    // Before anything that may block or throw.
    ZANTOLoggedIn(handle);

    const int32_t built = buildAfterLogin([&] {
        ZANTOUtils::SysName = sysName;
        ZANTOPrint("SYSTEMNAME = %s\n", sysName.c_str());
        createRoot(sysName, sysInitParam, usrnm, pswd, handle);
        ZANTOBuildTree(*systemNode, database, pvList);
        ZANTOIndexTree();
        return closeFiles(database, pvList);
    });
    if (built != 0)
        return logOutAfterFailure(built);
    ZANTOAdvance(ZANTOHappening::treeComplete);
    ZANTOOpenTree();
    return 0;
}

// ---- subscription ----

int32_t subscribeForParameters(int32_t subscribe)
{
    const ZANTONode *root = systemNode;
    if (root == nullptr)
        return -1;
    const auto port = static_cast<int16_t>(tcpPort);
    return ZANTOWatchTree(*root, subscribe != 0, port, ZANTOTimeToUnsubscribe) ? 0 : -1;
}

int32_t subscribeParameters() { return subscribeForParameters(1); }
int32_t unsubscribeParameters() { return subscribeForParameters(0); }

// ---- firmware wait ----

int32_t tryToConnectLoop(const char *host)
{
    ZANTOAdvance(ZANTOHappening::probeBegins);
    return ZANTOWaitForFirmware(host);
}

// ---- shutdown and signals ----

void Shutdown()
{
    ZANTOBeginEnd(ZANTOHappening::shellLeft);
    ZANTOCloseCrate();
    ZANTOExit();
}

namespace {
// Signal numbers that the handler takes notice of.
constexpr int signalBound = 260;
} // namespace

void SetSigShutdownHandler() { ZANTOCatchSignals(SigShutdownHandler); }

void SigShutdownHandler(int signal)
{
    if (signal < signalBound)
        ZANTOTakeSignal(signal);
}

// ---- driver ----

namespace {

constexpr milliseconds eventPortLimit{2000};

void atExit(void *) { ZANTOCloseCrateInExit(); }

// The thread that runs iocInit goes no further with it once the process is ending. Until the
// IOC runs, or after its end, exit hooks would take apart what it puts together.
void atTurnOfIocInit(initHookState state)
{
    // Not at the build's own turn: behind that iocInit gives up where no definition is loaded.
    if (state == initHookAtBeginning)
        ZANTOSetIocInitRunning(true);
    if (state == initHookAfterIocRunning)
        ZANTOSetIocInitRunning(false);
    ZANTOParkIfEnding();
}

long init()
{
    ZANTOPrintLine("Starting VEXA ZANTO driver");
    ZANTORegisterScanHooks();
    ZANTORegisterHealthHooks();
    // Before the hooks of what has been set up until now: these may wait for a library call.
    epicsAtExit(atExit, nullptr);
    // The subscriptions announce the port, so it must be settled.
    ZANTOWaitForEventPort(eventPortLimit);
    {
        const ZANTOStartupWork work;
        subscribeParameters();
    }
    ZANTO_TRACE(0, "\nVEXA ZANTO driver ready\n");
    return 0;
}

drvet drvVEXAZANTO = {2, nullptr, reinterpret_cast<DRVSUPFUN>(init)};

} // namespace

void ZANTOWatchEpics()
{
    initHookRegister(atTurnOfIocInit);
    epicsAtExit(atExit, nullptr);
}

extern "C" {
epicsExportAddress(drvet, drvVEXAZANTO);
}
