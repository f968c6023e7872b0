#include "ZANTOscanhooks.h"

#include "ZANTOAio.h"
#include "ZANTOBio.h"
#include "ZANTOMBBio.h"
#include "ZANTOMBBioDirect.h"
#include "ZANTOStringio.h"

#include <initHooks.h>

namespace {

ZANTOScanList *const lists[] = {&ioscanpvt_ai, &ioscanpvt_bi, &ioscanpvt_mbbi,
                                &ioscanpvt_mbbiDirect, &ioscanpvt_stringin};

void onInit(initHookState state)
{
    if (state == initHookAfterInitDatabase) {
        for (ZANTOScanList *list : lists)
            list->watchPasses();
    }
    // What changed between the records' first processing and the start of the scans is in the
    // tree and in no record yet.
    if (state == initHookAfterIocRunning) {
        for (ZANTOScanList *list : lists)
            list->request();
    }
}

} // namespace

void ZANTORegisterScanHooks()
{
    static const int registered = initHookRegister(onInit);
    (void)registered;
}
