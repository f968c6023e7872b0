#include "ZANTOMBBioDirect.h"

#include "ZANTOrecord.h"

#include <mbbiDirectRecord.h>
#include <mbboDirectRecord.h>
#include <epicsExport.h>

ZANTOScanList ioscanpvt_mbbiDirect("mbbiDirect");

namespace {

struct MBBiDirect : ZANTOBitsTrait<mbbiDirectRecord> {
    static constexpr const char *badLink = "%s: mbbiDirect INP field type should be INST_IO\n";
    static constexpr const char *noNode = "[MBBIDIRECT] - error getting node from id\n";
    static constexpr const char *trace = "[MBBIDIRECT] - READ %s = %d\n ";
    static ZANTOScanList &list() { return ioscanpvt_mbbiDirect; }
};

struct MBBoDirect : ZANTOBitsTrait<mbboDirectRecord> {
    static constexpr const char *badLink = "%s: mbboDirect INP field type should be INST_IO\n";
    static constexpr const char *noNode = "[MBBODIRECT] - error getting node from id\n";
    static constexpr const char *request = nullptr;
    static constexpr const char *trace = "[MBBODIRECT] - WRITE %s = %d\n";
    static constexpr const char *failed =
        "[MBBODIRECT] - error setting node value for [%s] - res=%d\n";
    static bool succeeded(int32_t result) { return result == 0; }
};

long init_record_mbbiDirect(mbbiDirectRecord *record) { return ZANTOInitInput<MBBiDirect>(record); }
long get_ioint_info(int cmd, dbCommon *record, IOSCANPVT *list)
{
    return ZANTOGetScanList<MBBiDirect>(cmd, record, list);
}
long read_mbbiDirect(mbbiDirectRecord *record) { return ZANTOReadNumber<MBBiDirect>(record); }
long init_record_mbboDirect(mbboDirectRecord *record)
{
    return ZANTOInitOutput<MBBoDirect>(record);
}
long write_mbboDirect(mbboDirectRecord *record) { return ZANTOWriteNumber<MBBoDirect>(record); }

ZANTODset5 devVEXAZANTOMBBiDirect = {5,
                                     nullptr,
                                     nullptr,
                                     ZANTODsetEntry<init_record_mbbiDirect>(),
                                     ZANTODsetEntry<get_ioint_info>(),
                                     ZANTODsetEntry<read_mbbiDirect>()};
ZANTODset5 devVEXAZANTOMBBoDirect = {5,       nullptr,
                                     nullptr, ZANTODsetEntry<init_record_mbboDirect>(),
                                     nullptr, ZANTODsetEntry<write_mbboDirect>()};

} // namespace

extern "C" {
epicsExportAddress(dset, devVEXAZANTOMBBiDirect);
epicsExportAddress(dset, devVEXAZANTOMBBoDirect);
}
