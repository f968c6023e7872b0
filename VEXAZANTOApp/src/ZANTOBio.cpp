#include "ZANTOBio.h"

#include "ZANTOrecord.h"

#include <biRecord.h>
#include <boRecord.h>
#include <epicsExport.h>

ZANTOScanList ioscanpvt_bi("bi");

namespace {

struct Bi : ZANTOBitsTrait<biRecord> {
    static constexpr const char *badLink = "%s: bi INP field type should be INST_IO\n";
    static constexpr const char *noNode = nullptr;
    static constexpr const char *trace = "[BI] - READ %s = %d\n";
    static ZANTOScanList &list() { return ioscanpvt_bi; }
};

struct Bo : ZANTOBitsTrait<boRecord> {
    // The text of the bi record: both are reported in the same words.
    static constexpr const char *badLink = "%s: bi INP field type should be INST_IO\n";
    static constexpr const char *noNode = nullptr;
    static constexpr const char *request = nullptr;
    static constexpr const char *trace = "[BO] - WRITE %s = %d\n";
    static constexpr const char *failed = nullptr;
    // Only the server's own -1 counts as a failure; the mainframe's positive codes show in the
    // node's quality.
    static bool succeeded(int32_t result) { return result >= 0; }
};

constexpr auto init_record_bi = ZANTOInitInput<Bi>;
constexpr auto get_ioint_info = ZANTOGetScanList<Bi>;
constexpr auto read_bi = ZANTOReadNumber<Bi>;
constexpr auto init_record_bo = ZANTOInitOutput<Bo>;
constexpr auto write_bo = ZANTOWriteNumber<Bo>;

auto devVEXAZANTOBi = ZANTOInput<ZANTODset5, init_record_bi, get_ioint_info, read_bi>();
auto devVEXAZANTOBo = ZANTOOutput<ZANTODset5, init_record_bo, write_bo>();

} // namespace

extern "C" {
epicsExportAddress(dset, devVEXAZANTOBi);
epicsExportAddress(dset, devVEXAZANTOBo);
}
