#include "ZANTOhealthrecords.h"

#include "ZANTOchangedrecords.h"
#include "ZANTOhealthwatch.h"
#include "ZANTOrecord.h"
#include "ZANTOscanlists.h"
#include "ZANTOstatic.h"

#include <aiRecord.h>
#include <biRecord.h>
#include <dbLock.h>
#include <epicsExport.h>
#include <menuScan.h>
#include <stringinRecord.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <mutex>
#include <string>
#include <vector>

// Base 3.14 does not say in it that it is C.
extern "C" {
#include <rsrv.h>
}

// ---- figures ----

namespace {

std::atomic<int> recordCount{0};
std::atomic<bool> serverRuns{false};

double lost() { return ZANTOHealthWatch::instance().isShownLost() ? 1.0 : 0.0; }
double inserted() { return ZANTOPresentCounts.inserted ? 1.0 : 0.0; }
double records() { return recordCount; }

double quietSeconds() { return ZANTOPresentRates().figures().quietSeconds; }
double eventRate() { return ZANTOPresentRates().figures().events; }
double batchRate() { return ZANTOPresentRates().figures().batches; }

template <std::atomic<uint64_t> ZANTOHealthCounts::*count> double total()
{
    return static_cast<double>(ZANTOPresentCounts.*count);
}

template <uint32_t (ZANTOScanList::*count)() const noexcept> double ofAllLists()
{
    double sum = 0.0;
    for (const ZANTOScanList *list : ZANTOScanLists)
        sum += (list->*count)();
    return sum;
}

double scansRefused()
{
    return ofAllLists<&ZANTOScanList::refused>() + ZANTOChangedRecords::instance().refused();
}

// Before it runs the Channel Access server has no list of clients to look at.
double clients()
{
    unsigned channels = 0;
    unsigned circuits = 0;
    if (serverRuns)
        casStatsFetch(&channels, &circuits);
    return circuits;
}

// As "2026-11-22T13:20:23+01:00".
std::string startTime()
{
    const std::time_t started = ZANTOPresentCounts.started;
    std::tm parts = {};
    localtime_r(&started, &parts);
    char text[32] = {};
    std::string shown(text, std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S%z", &parts));
    if (shown.size() > 2)
        shown.insert(shown.size() - 2, ":");
    return shown;
}

// Of the record types that can show it.
enum class Kind { number, flag, text };

struct Figure {
    const char *name; // as in a link
    Kind kind;
    ZANTOFigureShown shown;
    double (*number)(); // a flag is 0 or 1
    std::string (*text)();
};

using Counts = ZANTOHealthCounts;
using Shown = ZANTOFigureShown;

const Figure figures[] = {
    {"lost", Kind::flag, Shown::onChange, lost, nullptr},
    {"last-delivery", Kind::number, Shown::eachSecond, quietSeconds, nullptr},
    {"event-rate", Kind::number, Shown::eachSecond, eventRate, nullptr},
    {"batch-rate", Kind::number, Shown::eachSecond, batchRate, nullptr},
    {"events", Kind::number, Shown::eachSecond, total<&Counts::events>, nullptr},
    {"batches", Kind::number, Shown::eachSecond, total<&Counts::batches>, nullptr},
    {"held-values", Kind::number, Shown::eachSecond, total<&Counts::heldValues>, nullptr},
    {"scans-deferred", Kind::number, Shown::eachSecond, ofAllLists<&ZANTOScanList::deferred>,
     nullptr},
    {"scans-refused", Kind::number, Shown::eachSecond, scansRefused, nullptr},
    {"failed-calls", Kind::number, Shown::eachSecond, total<&Counts::failedCalls>, nullptr},
    {"inserted", Kind::flag, Shown::eachSecond, inserted, nullptr},
    {"records", Kind::number, Shown::onceOnly, records, nullptr},
    {"clients", Kind::number, Shown::eachSecond, clients, nullptr},
    {"start-time", Kind::text, Shown::onceOnly, nullptr, startTime},
};

const Figure *findFigure(const char *name, Kind kind)
{
    const auto *found = std::find_if(std::begin(figures), std::end(figures), [&](const Figure &f) {
        return f.kind == kind && std::strcmp(f.name, name) == 0;
    });
    return found != std::end(figures) ? found : nullptr;
}

} // namespace

ZANTOHealthRates &ZANTOPresentRates()
{
    static ZANTONeverDestroyed<ZANTOHealthRates> rates;
    return rates.get();
}

void ZANTOSetRecordCount(int count) noexcept { recordCount = count; }
void ZANTOSetServerRuns() noexcept { serverRuns = true; }

// ---- records ----

namespace {

// Handed to the IOC, which wants one; the records are processed without it, so that whoever
// processes them knows when that is done.
ZANTOScanList scanList("health");

struct HealthRecords {
    std::mutex mutex;
    std::vector<dbCommon *> all; // guarded by mutex; grows while the IOC is initialised
};

HealthRecords &healthRecords()
{
    static ZANTONeverDestroyed<HealthRecords> records;
    return records.get();
}

// Null behind the last.
dbCommon *recordAt(size_t position)
{
    std::lock_guard<std::mutex> lock(healthRecords().mutex);
    const std::vector<dbCommon *> &all = healthRecords().all;
    return position < all.size() ? all[position] : nullptr;
}

const Figure *figureOf(const dbCommon *record) { return static_cast<const Figure *>(record->dpvt); }

void processIfScanned(dbCommon *record)
{
    dbScanLock(record);
    if (record->scan == menuScanI_O_Intr)
        dbProcess(record);
    dbScanUnlock(record);
}

} // namespace

bool ZANTOHasHealthRecords() { return recordAt(0) != nullptr; }

void ZANTOProcessHealthRecords(ZANTOFigureShown when, bool (*goesOn)())
{
    for (size_t i = 0; dbCommon *record = recordAt(i); ++i) {
        if (goesOn() && figureOf(record)->shown == when)
            processIfScanned(record);
    }
}

void ZANTOForgetHealthList() { scanList.stop(); }

// ---- device support ----

namespace {

struct Ai {
    using Record = aiRecord;
    static constexpr Kind kind = Kind::number;
    static void store(Record *record, const Figure &figure) { record->val = figure.number(); }
};

struct Bi {
    using Record = biRecord;
    static constexpr Kind kind = Kind::flag;
    static void store(Record *record, const Figure &figure)
    {
        record->val = figure.number() != 0.0 ? 1 : 0;
    }
};

struct Stringin {
    using Record = stringinRecord;
    static constexpr Kind kind = Kind::text;
    static void store(Record *record, const Figure &figure)
    {
        const std::string text = figure.text();
        record->val[text.copy(record->val, sizeof(record->val) - 1)] = '\0';
    }
};

void keep(dbCommon *record, const Figure *figure)
{
    if (record->dpvt == nullptr) {
        std::lock_guard<std::mutex> lock(healthRecords().mutex);
        healthRecords().all.push_back(record);
    }
    record->dpvt = const_cast<Figure *>(figure);
}

// A record without a figure stays undefined, which is an alarm.
template <typename Trait> long initRecord(typename Trait::Record *record)
{
    const DBLINK &link = record->inp;
    const char *name = link.type == INST_IO ? link.value.instio.string : "";
    const Figure *figure = findFigure(name, Trait::kind);
    scanList.init();
    if (figure != nullptr) {
        keep(reinterpret_cast<dbCommon *>(record), figure);
        return ZANTOOk;
    }
    ZANTOPrint("%s: @%s is no figure of the server's health for a record of this type\n",
               record->name, name);
    return S_db_badField;
}

template <typename Trait> long readRecord(typename Trait::Record *record)
{
    const Figure *figure = figureOf(reinterpret_cast<dbCommon *>(record));
    if (figure == nullptr)
        return ZANTOFailed;
    Trait::store(record, *figure);
    record->udf = 0;
    return ZANTODontConvert;
}

long getList(int, dbCommon *, IOSCANPVT *list)
{
    *list = scanList;
    return 0;
}

auto devZANTOHealthAi = ZANTOInput<ZANTODset6, initRecord<Ai>, getList, readRecord<Ai>>();
auto devZANTOHealthBi = ZANTOInput<ZANTODset5, initRecord<Bi>, getList, readRecord<Bi>>();
auto devZANTOHealthStringin =
    ZANTOInput<ZANTODset6, initRecord<Stringin>, getList, readRecord<Stringin>>();

} // namespace

extern "C" {
epicsExportAddress(dset, devZANTOHealthAi);
epicsExportAddress(dset, devZANTOHealthBi);
epicsExportAddress(dset, devZANTOHealthStringin);
}
