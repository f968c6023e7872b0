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

constexpr auto init_record_mbbi = ZANTOInitInput<MBBi>;
constexpr auto get_ioint_info = ZANTOGetScanList<MBBi>;
constexpr auto read_mbbi = ZANTOReadNumber<MBBi>;
constexpr auto init_record_mbbo = ZANTOInitOutput<MBBo>;
constexpr auto write_mbbo = ZANTOWriteNumber<MBBo>;

auto devVEXAZANTOMBBi = ZANTOInput<ZANTODset5, init_record_mbbi, get_ioint_info, read_mbbi>();
auto devVEXAZANTOMBBo = ZANTOOutput<ZANTODset5, init_record_mbbo, write_mbbo>();

} // namespace

extern "C" {
epicsExportAddress(dset, devVEXAZANTOMBBi);
epicsExportAddress(dset, devVEXAZANTOMBBo);
}
