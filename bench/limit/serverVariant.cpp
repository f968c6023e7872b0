// The server, by what its own main and its tests call.
#include "variant.h"

#include "memoryCrate.h"

#include "ZANTO.h"
#include "ZANTOAio.h"
#include "ZANTOBio.h"
#include "ZANTOMBBio.h"
#include "ZANTOMBBioDirect.h"
#include "ZANTOStringio.h"
#include "ZANTOeventbatch.h"
#include "ZANTOeventsthread.h"
#include "ZANTOlife.h"
#include "ZANTOtypes.h"

#include <epicsThread.h>

#include <thread>

namespace {

ZANTOEventSource &source()
{
    // The library of memory reads no socket.
    static ZANTOEventSource only = {-1, 0};
    return only;
}

} // namespace

bool variantBuild()
{
    ZANTOBeginLife();
    DEBUG = 0;
    return createSystemTree(MemoryCrate::name, MemoryCrate::host, "admin", "admin") == 0;
}

void variantBeforeRecords()
{
    // The driver waits for the port to be settled; the kernel chooses it.
    tcpPort = 0;
    tcpServerThread =
        epicsThreadCreate("ZANTOTcpServerThread", 55, epicsThreadGetStackSize(epicsThreadStackBig),
                          tcpServer_Thread, nullptr);
}

void variantAfterRecords() { ZANTOAdvance(ZANTOHappening::scriptEnded); }

void variantBeforeEvents() {}

IOSCANPVT variantList(ListKind kind)
{
    switch (kind) {
    case ListKind::ai: return ioscanpvt_ai;
    case ListKind::bi: return ioscanpvt_bi;
    case ListKind::mbbi: return ioscanpvt_mbbi;
    case ListKind::mbbiDirect: return ioscanpvt_mbbiDirect;
    default: return ioscanpvt_stringin;
    }
}

void variantNextBatch() { ZANTOHandleNextBatch(source()); }

void variantShowWrites()
{
    MemoryCrate::instance().answerWrites();
    std::thread([] {
        while (!ZANTOHandleNextBatch(source())) {
        }
    }).detach();
}
