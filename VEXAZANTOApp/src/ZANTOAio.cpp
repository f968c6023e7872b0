#include "ZANTOAio.h"

#include "ZANTOrecord.h"

#include <aiRecord.h>
#include <aoRecord.h>
#include <epicsExport.h>

ZANTOScanList ioscanpvt_ai("ai");

namespace {

struct Ai {
    using Record = aiRecord;
    static constexpr const char *badLink = "%s: ai INP field type should be INST_IO\n";
    static constexpr const char *noNode = "[AI] - error getting node from id\n";
    static constexpr const char *trace = "[AI] - READ %s = %lf\n";
    static ZANTOScanList &list() { return ioscanpvt_ai; }
    template <typename Number> static void store(Record *record, Number number)
    {
        record->val = static_cast<double>(number);
    }
    static double shown(const Record *record) { return record->val; }
};

struct Ao {
    using Record = aoRecord;
    static constexpr const char *badLink = "%s: ao OUT field type should be INST_IO\n";
    static constexpr const char *noNode = "[AO] - error getting node %s from id\n";
    static constexpr const char *request = "[AO] - request write %s = %f\n";
    static constexpr const char *trace = "[AO] - WRITE %s = %lf\n";
    static constexpr const char *failed = "[AO] - error setting node value for [%s] - res=%d\n";
    static double number(const Record *record) { return record->val; }
    static double shown(const Record *record) { return record->val; }
    static bool succeeded(int32_t result) { return result == 0; }
};

constexpr auto init_record_ai = ZANTOInitInput<Ai>;
constexpr auto get_ioint_info = ZANTOGetScanList<Ai>;
constexpr auto read_ai = ZANTOReadNumber<Ai>;
constexpr auto init_record_ao = ZANTOInitOutput<Ao>;
constexpr auto write_ao = ZANTOWriteNumber<Ao>;

auto devVEXAZANTOAi = ZANTOInput<ZANTODset6, init_record_ai, get_ioint_info, read_ai>();
auto devVEXAZANTOAo = ZANTOOutput<ZANTODset6, init_record_ao, write_ao>();

} // namespace

extern "C" {
epicsExportAddress(dset, devVEXAZANTOAi);
epicsExportAddress(dset, devVEXAZANTOAo);
}
