#include "ZANTOMBBioDirect.h"

#include "ZANTObitfields.h"
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

constexpr auto init_record_mbbiDirect = ZANTOInitInput<MBBiDirect>;
constexpr auto get_ioint_info = ZANTOGetScanList<MBBiDirect>;
constexpr auto read_mbbiDirect = ZANTOReadNumber<MBBiDirect>;
long init_record_mbboDirect(mbboDirectRecord *record)
{
    ZANTOKeepBits(record);
    return ZANTOInitOutput<MBBoDirect>(record);
}
constexpr auto write_mbboDirect = ZANTOWriteNumber<MBBoDirect>;

auto devVEXAZANTOMBBiDirect =
    ZANTOInput<ZANTODset5, init_record_mbbiDirect, get_ioint_info, read_mbbiDirect>();
auto devVEXAZANTOMBBoDirect = ZANTOOutput<ZANTODset5, init_record_mbboDirect, write_mbboDirect>();

} // namespace

extern "C" {
epicsExportAddress(dset, devVEXAZANTOMBBiDirect);
epicsExportAddress(dset, devVEXAZANTOMBBoDirect);
}
