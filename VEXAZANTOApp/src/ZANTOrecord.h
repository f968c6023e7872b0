// What the device supports of all record types share: from a record to its node and back.
#pragma once

#include "ZANTOmessages.h"
#include "ZANTOnode.h"
#include "ZANTOnumeric.h"
#include "ZANTOscanlist.h"
#include "ZANTOtreeuse.h"
#include "ZANTOtypes.h"

#include <alarm.h>
#include <dbAccess.h>
#include <dbCommon.h>
#include <dbScan.h>
#include <devSup.h>
#include <link.h>

#include <atomic>
#include <cstdint>
#include <string_view>
#include <type_traits>

// Gives the record its place to keep its node. False for a link that is not INST_IO.
bool ZANTOBindRecord(dbCommon *record, const DBLINK &link);

// What a record keeps in its private pointer. Those of records that are initialised one after
// the other, and so are scanned one after the other, lie side by side, and one more behind the
// last.
struct ZANTOBinding {
    // Written by whichever thread processes the record, which holds the record's lock; others only
    // look where to prefetch from.
    std::atomic<ZANTONode *> node{nullptr};
    uint32_t generation = 0; // of the tree that the node belongs to
};

// As ZANTONodeOfRecord, for a record that has not found its node yet in the present tree.
ZANTONode *ZANTOSeekNodeOfRecord(dbCommon *record);

// The node of the record: found by name once and kept while the tree that it was found in is
// the present one; sought again at each call while there is none. Null: no node. To be called
// within a ZANTOTreeUse.
inline ZANTONode *ZANTONodeOfRecord(dbCommon *record)
{
    const auto *binding = static_cast<const ZANTOBinding *>(record->dpvt);
    if (binding != nullptr && binding->generation == systemNode.generation()) {
        // A scan of a full crate finds few nodes in the processor's cache.
        ZANTONode::prefetch(binding[1].node.load(std::memory_order_relaxed));
        ZANTONode *node = binding->node.load(std::memory_order_relaxed);
        if (node != nullptr)
            return node;
    }
    return ZANTOSeekNodeOfRecord(record);
}

// setNodeEditedValue under the node's lockSem. Blocks as long as the library does.
int32_t ZANTOWriteNode(ZANTONode &node, const variant &value);

// Counts a record that the IOC puts into the list (command 0) or takes out of it (1), and has
// the changed records know it. The IOC calls with the record locked, so that its priority is
// that of the list it joins or leaves.
void ZANTOCountRecord(ZANTOScanList &list, int command, dbCommon *record);

// Calls `use` with the number that a node of this data type holds, in its own type; false for
// a text or an enumeration, which have no number to show.
template <typename Use>
bool ZANTOVisitNumber(const variant &value, nodeDataType dataType, const Use &use)
{
    switch (dataType) {
    case nodeDataTypeInt: use(value.toInt()); return true;
    case nodeDataTypeShort: use(value.toShort()); return true;
    case nodeDataTypeLong: use(value.toLong()); return true;
    case nodeDataTypeUInt: use(value.toUInt()); return true;
    case nodeDataTypeUShort: use(value.toUShort()); return true;
    case nodeDataTypeULong: use(value.toULong()); return true;
    case nodeDataTypeFloat: use(value.toFloat()); return true;
    case nodeDataTypeBool: use(value.toBool()); return true;
    default: return false;
    }
}

// Puts a record's number into a variant of the node's data type; false for a text, an
// enumeration or an unknown type. Truncates toward zero, wide types first, low bits kept.
template <typename Number>
bool ZANTONumberToVariant(Number number, nodeDataType dataType, variant &value)
{
    const auto real = static_cast<double>(number);
    const auto whole = ZANTOTruncate<int32_t>(real);
    const auto wide = ZANTOTruncate<int64_t>(real);
    switch (dataType) {
    case nodeDataTypeInt:
    case nodeDataTypeLong: value.setValue(whole); return true;
    case nodeDataTypeShort: value.setValue(static_cast<int16_t>(whole)); return true;
    case nodeDataTypeUInt:
    case nodeDataTypeULong: value.setValue(static_cast<uint32_t>(wide)); return true;
    case nodeDataTypeUShort: value.setValue(static_cast<uint16_t>(whole)); return true;
    case nodeDataTypeFloat: value.setValue(ZANTONarrow(real)); return true;
    case nodeDataTypeBool: value.setValue(real != 0.0); return true;
    default: return false;
    }
}

// Device support entry tables of five and six entries, laid out as every base expects them.
template <typename Record> struct ZANTODset5 {
    long number = 5;
    DEVSUPFUN report = nullptr, init = nullptr;
    long (*init_record)(Record *) = nullptr;
    long (*get_ioint_info)(int, dbCommon *, IOSCANPVT *) = nullptr;
    long (*read_write)(Record *) = nullptr;
};
template <typename Record> struct ZANTODset6 {
    long number = 6;
    DEVSUPFUN report = nullptr, init = nullptr;
    long (*init_record)(Record *) = nullptr;
    long (*get_ioint_info)(int, dbCommon *, IOSCANPVT *) = nullptr;
    long (*read_write)(Record *) = nullptr;
    DEVSUPFUN special_linconv = nullptr;
};

// Return codes of device support routines.
constexpr long ZANTOOk = 0;
constexpr long ZANTOFailed = 1;
constexpr long ZANTODontConvert = 2;

// A device support routine behind its C entry: no exception gets into the IOC, which would end
// the process.
template <auto routine> struct ZANTOEntry;
template <typename... Arguments, long (*routine)(Arguments...)> struct ZANTOEntry<routine> {
    static long call(Arguments... arguments) noexcept
    {
        try {
            return routine(arguments...);
        } catch (...) {
            return ZANTOFailed;
        }
    }
};

template <template <typename> class Dset, typename Record>
constexpr Dset<Record> ZANTOTable(long (*initRecord)(Record *),
                                  long (*getIointInfo)(int, dbCommon *, IOSCANPVT *),
                                  long (*readOrWrite)(Record *))
{
    Dset<Record> table;
    table.init_record = initRecord;
    table.get_ioint_info = getIointInfo;
    table.read_write = readOrWrite;
    return table;
}

// The tables of an input and of an output record.
template <template <typename> class Dset, auto initRecord, auto getIointInfo, auto read>
constexpr auto ZANTOInput()
{
    return ZANTOTable<Dset>(ZANTOEntry<initRecord>::call, ZANTOEntry<getIointInfo>::call,
                            ZANTOEntry<read>::call);
}
template <template <typename> class Dset, auto initRecord, auto write> constexpr auto ZANTOOutput()
{
    return ZANTOTable<Dset>(ZANTOEntry<initRecord>::call, nullptr, ZANTOEntry<write>::call);
}

// ---- the routines of the numeric records. A trait says what is particular to a record type:
//   Record          the record structure
//   badLink         message for a link that is not INST_IO; takes the record's name
//   noNode          message when there is no node, or null; may take the record's name
//   trace           message of a successful read or write; takes name and shown()
//   shown(record)   the value as the trace prints it
// and of an input record
//   list()          its scan list
//   store(record, number)
// and of an output record
//   number(record)  the value to write
//   request         message before the write, or null; takes name and shown()
//   failed          message of a failed write, or null; takes name and result
//   succeeded(result)

// 0, or S_db_badField with the type's message.
template <typename Trait> long ZANTOInitRecord(typename Trait::Record *record, const DBLINK &link)
{
    if (ZANTOBindRecord(reinterpret_cast<dbCommon *>(record), link))
        return ZANTOOk;
    ZANTOPrint(Trait::badLink, record->name);
    return S_db_badField;
}

// init_record of an input record; each call gives the type a fresh scan list.
template <typename Trait> long ZANTOInitInput(typename Trait::Record *record)
{
    const long status = ZANTOInitRecord<Trait>(record, record->inp);
    if (status == ZANTOOk)
        Trait::list().init();
    return status;
}

template <typename Trait> long ZANTOInitOutput(typename Trait::Record *record)
{
    return ZANTOInitRecord<Trait>(record, record->out);
}

// get_ioint_info of an input record: hands out the type's list, and counts the record in or out.
template <typename Trait> long ZANTOGetScanList(int cmd, dbCommon *record, IOSCANPVT *list)
{
    *list = Trait::list();
    if (*list != nullptr) // else the IOC leaves the record passive
        ZANTOCountRecord(Trait::list(), cmd, record);
    return 0;
}

template <typename Trait> void ZANTOTraceNoNode(const char *recordName)
{
    constexpr const char *message = Trait::noNode;
    if constexpr (message == nullptr)
        return;
    else if constexpr (std::string_view(message).find("%s") != std::string_view::npos)
        ZANTO_TRACE(0, message, recordName);
    else
        ZANTO_TRACE(0, message);
}

// The record's node, or null with the type's message.
template <typename Trait>
ZANTONode *ZANTOFindNode(typename Trait::Record *record, const ZANTOTreeUse &use)
{
    ZANTONode *node = use ? ZANTONodeOfRecord(reinterpret_cast<dbCommon *>(record)) : nullptr;
    if (node == nullptr)
        ZANTOTraceNoNode<Trait>(record->name);
    return node;
}

template <typename Trait> long ZANTOReadNumber(typename Trait::Record *record)
{
    const ZANTOTreeUse use;
    ZANTONode *node = ZANTOFindNode<Trait>(record, use);
    if (node == nullptr)
        return ZANTOFailed;
    variant value;
    node->readNumber(value);
    const bool isNumber = ZANTOVisitNumber(value, node->getDataType(),
                                           [record](auto number) { Trait::store(record, number); });
    if (!isNumber)
        return ZANTOFailed;
    record->udf = 0;
    ZANTO_TRACE(7, Trait::trace, record->name, Trait::shown(record));
    return ZANTODontConvert;
}

// Sends the value to the node and tells the outcome by the type's messages and rule.
template <typename Trait>
long ZANTOSend(typename Trait::Record *record, ZANTONode &node, const variant &value)
{
    const int32_t result = ZANTOWriteNode(node, value);
    if (!Trait::succeeded(result)) {
        if constexpr (Trait::failed != nullptr)
            ZANTO_TRACE(0, Trait::failed, record->name, result);
        return ZANTOFailed;
    }
    record->udf = 0;
    ZANTO_TRACE(6, Trait::trace, record->name, Trait::shown(record));
    return ZANTOOk;
}

template <typename Trait> long ZANTOWriteNumber(typename Trait::Record *record)
{
    if constexpr (Trait::request != nullptr)
        ZANTO_TRACE(6, Trait::request, record->name, Trait::shown(record));
    const ZANTOTreeUse use;
    ZANTONode *node = ZANTOFindNode<Trait>(record, use);
    variant value;
    if (node == nullptr || !ZANTONumberToVariant(Trait::number(record), node->getDataType(), value))
        return ZANTOFailed;
    return ZANTOSend<Trait>(record, *node, value);
}

// ---- binary and multi-bit records ----

// The value of a node as the 16 bits of a binary or multi-bit record: a float is truncated.
template <typename Number> uint16_t ZANTOLow16(Number number)
{
    if constexpr (std::is_floating_point_v<Number>)
        return static_cast<uint16_t>(ZANTOTruncate<int32_t>(static_cast<double>(number)));
    else
        return static_cast<uint16_t>(number);
}

// Reads and writes VAL itself: RVAL, MASK, NOBT and SHFT are not used. Newer bases give direct
// records 32 bits, of which the mainframe's 16 are used.
template <typename RecordType> struct ZANTOBitsTrait {
    using Record = RecordType;
    template <typename Number> static void store(Record *record, Number number)
    {
        record->val = ZANTOLow16(number);
    }
    static uint16_t number(const Record *record) { return ZANTOLow16(record->val); }
    static int32_t shown(const Record *record) { return static_cast<int32_t>(record->val); }
};
