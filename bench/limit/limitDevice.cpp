#include "limitDevice.h"

#include "limitTree.h"

#include <aiRecord.h>
#include <alarm.h>
#include <aoRecord.h>
#include <biRecord.h>
#include <boRecord.h>
#include <dbAccess.h>
#include <devSup.h>
#include <drvSup.h>
#include <epicsExport.h>
#include <mbbiDirectRecord.h>
#include <mbbiRecord.h>
#include <mbboDirectRecord.h>
#include <mbboRecord.h>
#include <stringinRecord.h>
#include <stringoutRecord.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <type_traits>

namespace {

std::atomic<bool> scansAfterWrites{false};

// One list for each type of input records, there before the first of them.
struct Lists {
    Lists()
    {
        for (IOSCANPVT &list : all)
            scanIoInit(&list);
    }
    IOSCANPVT all[static_cast<int>(ListKind::count)];
};

LimitNode &nodeOf(const dbCommon *record) { return *static_cast<LimitNode *>(record->dpvt); }

long init(dbCommon *record, const DBLINK &link)
{
    record->dpvt = LimitTree::instance().byLink(link.value.instio.string);
    if (record->dpvt == nullptr)
        std::printf("No node for record %s\n", record->name);
    return record->dpvt != nullptr ? 0 : S_db_badField;
}

// ---- what a record takes from its node and gives to it ----

void take(aiRecord *record, const LimitNode &node) { record->val = node.number; }
void take(stringinRecord *record, const LimitNode &node)
{
    std::memcpy(record->val, node.text, sizeof(record->val) - 1);
}
template <typename Bits> void take(Bits *record, const LimitNode &node)
{
    record->val = static_cast<epicsUInt16>(static_cast<int32_t>(node.number));
}

void give(const stringoutRecord *record, LimitNode &node)
{
    std::memcpy(node.text, record->val, sizeof(record->val) - 1);
}
template <typename Number> void give(const Number *record, LimitNode &node)
{
    node.number = static_cast<double>(record->val);
}

// ---- routines ----

template <typename Record> long initInput(dbCommon *record)
{
    return init(record, reinterpret_cast<Record *>(record)->inp);
}

template <typename Record> long initOutput(dbCommon *record)
{
    return init(record, reinterpret_cast<Record *>(record)->out);
}

template <ListKind kind> long getList(int, dbCommon *, IOSCANPVT *list)
{
    *list = limitList(kind);
    return 0;
}

template <typename Record> long readNode(Record *record)
{
    take(record, nodeOf(reinterpret_cast<dbCommon *>(record)));
    record->udf = 0;
    return 2;
}

template <typename Record, ListKind kind> long writeNode(Record *record)
{
    give(record, nodeOf(reinterpret_cast<dbCommon *>(record)));
    record->udf = 0;
    if (scansAfterWrites)
        scanIoRequest(limitList(kind));
    return 0;
}

// ---- tables ----

// As many entries as a table of any of these record types has.
struct Table {
    long number;
    DEVSUPFUN report, init, init_record, get_ioint_info, read_write, special_linconv;
};

template <typename Routine> DEVSUPFUN entry(Routine *routine)
{
    return reinterpret_cast<DEVSUPFUN>(reinterpret_cast<void (*)()>(routine));
}

template <typename Record, ListKind kind> Table input()
{
    return {6,
            nullptr,
            nullptr,
            entry(initInput<Record>),
            entry(getList<kind>),
            entry(readNode<Record>),
            nullptr};
}

template <typename Record, ListKind kind> Table output()
{
    return {6,       nullptr,
            nullptr, entry(initOutput<Record>),
            nullptr, entry(writeNode<Record, kind>),
            nullptr};
}

Table devVEXAZANTOAi = input<aiRecord, ListKind::ai>();
Table devVEXAZANTOAo = output<aoRecord, ListKind::ai>();
Table devVEXAZANTOBi = input<biRecord, ListKind::bi>();
Table devVEXAZANTOBo = output<boRecord, ListKind::bi>();
Table devVEXAZANTOMBBi = input<mbbiRecord, ListKind::mbbi>();
Table devVEXAZANTOMBBo = output<mbboRecord, ListKind::mbbi>();
Table devVEXAZANTOMBBiDirect = input<mbbiDirectRecord, ListKind::mbbiDirect>();
Table devVEXAZANTOMBBoDirect = output<mbboDirectRecord, ListKind::mbbiDirect>();
Table devVEXAZANTOStringin = input<stringinRecord, ListKind::stringin>();
Table devVEXAZANTOStringout = output<stringoutRecord, ListKind::stringin>();

drvet drvVEXAZANTO = {2, nullptr, nullptr};

} // namespace

IOSCANPVT limitList(ListKind kind)
{
    static const Lists lists;
    return lists.all[static_cast<int>(kind)];
}

void limitScanAfterWrites() { scansAfterWrites = true; }

extern "C" {
epicsExportAddress(dset, devVEXAZANTOAi);
epicsExportAddress(dset, devVEXAZANTOAo);
epicsExportAddress(dset, devVEXAZANTOBi);
epicsExportAddress(dset, devVEXAZANTOBo);
epicsExportAddress(dset, devVEXAZANTOMBBi);
epicsExportAddress(dset, devVEXAZANTOMBBo);
epicsExportAddress(dset, devVEXAZANTOMBBiDirect);
epicsExportAddress(dset, devVEXAZANTOMBBoDirect);
epicsExportAddress(dset, devVEXAZANTOStringin);
epicsExportAddress(dset, devVEXAZANTOStringout);
epicsExportAddress(drvet, drvVEXAZANTO);
}
