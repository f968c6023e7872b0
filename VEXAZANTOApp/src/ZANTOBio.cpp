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

long init_record_bi(biRecord *record) { return ZANTOInitInput<Bi>(record); }
long get_ioint_info(int cmd, dbCommon *record, IOSCANPVT *list)
{
    return ZANTOGetScanList<Bi>(cmd, record, list);
}
long read_bi(biRecord *record) { return ZANTOReadNumber<Bi>(record); }
long init_record_bo(boRecord *record) { return ZANTOInitOutput<Bo>(record); }
long write_bo(boRecord *record) { return ZANTOWriteNumber<Bo>(record); }

ZANTODset5 devVEXAZANTOBi = {5,
                             nullptr,
                             nullptr,
                             ZANTODsetEntry<init_record_bi>(),
                             ZANTODsetEntry<get_ioint_info>(),
                             ZANTODsetEntry<read_bi>()};
ZANTODset5 devVEXAZANTOBo = {
    5, nullptr, nullptr, ZANTODsetEntry<init_record_bo>(), nullptr, ZANTODsetEntry<write_bo>()};

} // namespace

extern "C" {
epicsExportAddress(dset, devVEXAZANTOBi);
epicsExportAddress(dset, devVEXAZANTOBo);
}
