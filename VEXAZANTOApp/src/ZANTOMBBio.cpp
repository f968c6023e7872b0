#include "ZANTOMBBio.h"

#include "ZANTOrecord.h"

#include <mbbiRecord.h>
#include <mbboRecord.h>
#include <epicsExport.h>

ZANTOScanList ioscanpvt_mbbi("mbbi");

namespace {

struct MBBi : ZANTOBitsTrait<mbbiRecord> {
    static constexpr const char *badLink = "%s: mbbi INP field type should be INST_IO\n";
    static constexpr const char *noNode = "[MBBI] - error getting node from id\n";
    static constexpr const char *trace = "[MBBI] - READ %s = %d\n";
    static ZANTOScanList &list() { return ioscanpvt_mbbi; }
};

struct MBBo : ZANTOBitsTrait<mbboRecord> {
    static constexpr const char *badLink = "%s: mbbo INP field type should be INST_IO\n";
    static constexpr const char *noNode = "[MBBO] - error getting node from id\n";
    static constexpr const char *request = nullptr;
    static constexpr const char *trace = "[MBBO] - WRITE %s = %d\n";
    static constexpr const char *failed = "[MBBO] - error setting node value for [%s] - res=%d\n";
    static bool succeeded(int32_t result) { return result == 0; }
};

long init_record_mbbi(mbbiRecord *record) { return ZANTOInitInput<MBBi>(record); }
long get_ioint_info(int cmd, dbCommon *record, IOSCANPVT *list)
{
    return ZANTOGetScanList<MBBi>(cmd, record, list);
}
long read_mbbi(mbbiRecord *record) { return ZANTOReadNumber<MBBi>(record); }
long init_record_mbbo(mbboRecord *record) { return ZANTOInitOutput<MBBo>(record); }
long write_mbbo(mbboRecord *record) { return ZANTOWriteNumber<MBBo>(record); }

ZANTODset5 devVEXAZANTOMBBi = {5,
                               nullptr,
                               nullptr,
                               ZANTODsetEntry<init_record_mbbi>(),
                               ZANTODsetEntry<get_ioint_info>(),
                               ZANTODsetEntry<read_mbbi>()};
ZANTODset5 devVEXAZANTOMBBo = {
    5, nullptr, nullptr, ZANTODsetEntry<init_record_mbbo>(), nullptr, ZANTODsetEntry<write_mbbo>()};

} // namespace

extern "C" {
epicsExportAddress(dset, devVEXAZANTOMBBi);
epicsExportAddress(dset, devVEXAZANTOMBBo);
}
