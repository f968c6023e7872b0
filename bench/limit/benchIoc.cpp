#include "benchIoc.h"

#include "startupFiles.h"
#include "variant.h"

#include <dbAccess.h>
#include <dbStaticLib.h>
#include <iocInit.h>
#include <menuScan.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <thread>

extern "C" int ZANTO_registerRecordDeviceDriver(dbBase *base);

void stayOnLoopback()
{
    for (const char *name :
         {"EPICS_CA_ADDR_LIST", "EPICS_CAS_INTF_ADDR_LIST", "EPICS_CAS_BEACON_ADDR_LIST",
          "EPICS_PVA_ADDR_LIST", "EPICS_PVAS_INTF_ADDR_LIST", "EPICS_PVAS_BEACON_ADDR_LIST"})
        setenv(name, "127.0.0.1", 0);
    for (const char *name : {"EPICS_CA_AUTO_ADDR_LIST", "EPICS_CAS_AUTO_BEACON_ADDR_LIST",
                             "EPICS_PVA_AUTO_ADDR_LIST", "EPICS_PVAS_AUTO_BEACON_ADDR_LIST"})
        setenv(name, "NO", 0);
}

bool startIoc()
{
    variantBeforeRecords();
    if (dbLoadDatabase(ZANTO_DBD, nullptr, nullptr) != 0 ||
        ZANTO_registerRecordDeviceDriver(pdbbase) != 0 ||
        dbLoadRecords(databasePath, nullptr) != 0 || iocInit() != 0)
        return false;
    variantAfterRecords();
    waitUntilIdle();
    return true;
}

void waitUntilIdle()
{
    constexpr std::chrono::milliseconds look{100};
    constexpr std::clock_t idle = CLOCKS_PER_SEC / 500;
    std::clock_t before = std::clock();
    for (int looks = 0; looks < 100; ++looks) {
        std::this_thread::sleep_for(look);
        const std::clock_t now = std::clock();
        if (now - before < idle)
            return;
        before = now;
    }
}

namespace {

template <typename Use> void forEachRecord(const Use &use)
{
    DBENTRY entry;
    dbInitEntry(pdbbase, &entry);
    for (long type = dbFirstRecordType(&entry); type == 0; type = dbNextRecordType(&entry))
        for (long found = dbFirstRecord(&entry); found == 0; found = dbNextRecord(&entry))
            use(dbGetRecordTypeName(&entry), *static_cast<dbCommon *>(entry.precnode->precord));
    dbFinishEntry(&entry);
}

} // namespace

uint64_t countRecords()
{
    uint64_t count = 0;
    forEachRecord([&count](const char *, const dbCommon &) { ++count; });
    return count;
}

uint64_t countScanned(const char *recordType)
{
    uint64_t count = 0;
    forEachRecord([&](const char *type, const dbCommon &record) {
        const bool meant = std::strcmp(type, recordType) == 0;
        count += meant && record.scan == menuScanI_O_Intr ? 1 : 0;
    });
    return count;
}
