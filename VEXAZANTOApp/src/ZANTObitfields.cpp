#include "ZANTObitfields.h"

#include "ZANTOepics.h"

#include <dbAccess.h>
#include <dbEvent.h>
#include <menuOmsl.h>
#include <recSup.h>

#include <mbboDirectRecord.h>

#include <type_traits>

namespace {

using RecordSupport = std::remove_pointer_t<decltype(dbCommon::rset)>;
using Routine = decltype(RecordSupport::process);

// Set while the records are initialised, by one thread; not changed once they process.
const RecordSupport *ofBase;
RecordSupport ours;

// A put to a bit has changed VAL by now, so VAL is right whatever was put.
void takeBitsFromValue(mbboDirectRecord *record)
{
    epicsUInt8 *bit = &record->b0;
    for (unsigned i = 0; i < 8 * sizeof(record->val); ++i, ++bit) {
        const epicsUInt8 wanted = (static_cast<epicsUInt32>(record->val) >> i) & 1;
        if (*bit == wanted)
            continue;
        *bit = wanted;
        db_post_events(record, bit, DBE_VALUE | DBE_LOG);
    }
}

// Instead of the record type's own routine, with the record locked.
long process(mbboDirectRecord *record)
{
    if (!record->pact && record->omsl == menuOmslsupervisory)
        takeBitsFromValue(record);
    const auto base = reinterpret_cast<void (*)()>(ofBase->process);
    return reinterpret_cast<long (*)(mbboDirectRecord *)>(base)(record);
}

} // namespace

void ZANTOKeepBits(mbboDirectRecord *record)
{
    if (!ZANTO_BASE_REBUILDS_BITS)
        return;
    if (ofBase == nullptr) {
        ofBase = record->rset;
        ours = *ofBase;
        ours.process = reinterpret_cast<Routine>(reinterpret_cast<void (*)()>(process));
    }
    record->rset = &ours;
}
