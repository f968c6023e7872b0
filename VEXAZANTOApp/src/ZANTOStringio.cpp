#include "ZANTOStringio.h"

#include "ZANTOmessages.h"
#include "ZANTOrecord.h"

#include <epicsExport.h>
#include <stringinRecord.h>
#include <stringoutRecord.h>

#include <algorithm>
#include <cstring>
#include <string>

ZANTOScanList ioscanpvt_stringin("stringin");

namespace {

struct Stringin {
    using Record = stringinRecord;
    static constexpr const char *badLink = "%s: stringin INP field type should be INST_IO\n";
    static constexpr const char *noNode = "[STRINGIN] - error getting node from id\n";
    static ZANTOScanList &list() { return ioscanpvt_stringin; }
};

struct Stringout {
    using Record = stringoutRecord;
    static constexpr const char *badLink = "%s: stringout OUT field type should be INST_IO\n";
    static constexpr const char *noNode = "[STRINGOUT] - error getting node from id\n";
    static constexpr const char *trace = "[STRINGOUT] - WRITE %s = %s\n";
    static constexpr const char *failed =
        "[STRINGOUT] - error setting node value for [%s] - res=%d\n";
    static const char *shown(const Record *record) { return record->val; }
    static bool succeeded(int32_t result) { return result == 0; }
};

// The last byte stays as it is: it is the NUL of every value that fills the field.
template <size_t size> void readText(ZANTONode &node, char (&field)[size])
{
    char shown[size];
    node.readText(shown);
    const size_t length = strnlen(shown, size - 1);
    std::memcpy(field, shown, std::min(length + 1, size - 1));
}

constexpr auto init_record_stringin = ZANTOInitInput<Stringin>;

constexpr auto get_ioint_info = ZANTOGetScanList<Stringin>;

long read_stringin(stringinRecord *record)
{
    const ZANTOTreeUse use;
    ZANTONode *node = ZANTOFindNode<Stringin>(record, use);
    if (node == nullptr || node->getDataType() != nodeDataTypeString)
        return ZANTOFailed;
    readText(*node, record->val);
    record->udf = 0;
    ZANTO_TRACE(7, "[STRINGIN] - READ %s = %s\n", record->name, record->val);
    return ZANTODontConvert;
}

constexpr auto init_record_stringout = ZANTOInitOutput<Stringout>;

long write_stringout(stringoutRecord *record)
{
    const ZANTOTreeUse use;
    ZANTONode *node = ZANTOFindNode<Stringout>(record, use);
    if (node == nullptr)
        return ZANTOFailed;
    if (node->getDataType() != nodeDataTypeString) {
        ZANTO_TRACE(0, "[STRINGOUT] - error data type for node [%s]\n", record->name);
        return ZANTOFailed;
    }
    variant value;
    value.setValue(std::string(record->val, strnlen(record->val, sizeof(record->val))));
    return ZANTOSend<Stringout>(record, *node, value);
}

auto devVEXAZANTOStringin =
    ZANTOInput<ZANTODset6, init_record_stringin, get_ioint_info, read_stringin>();
auto devVEXAZANTOStringout = ZANTOOutput<ZANTODset6, init_record_stringout, write_stringout>();

} // namespace

extern "C" {
epicsExportAddress(dset, devVEXAZANTOStringin);
epicsExportAddress(dset, devVEXAZANTOStringout);
}
