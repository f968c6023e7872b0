#include "ZANTOscanlists.h"

#include "ZANTOAio.h"
#include "ZANTOBio.h"
#include "ZANTOMBBio.h"
#include "ZANTOMBBioDirect.h"
#include "ZANTOStringio.h"

const std::array<ZANTOScanList *, 5> ZANTOScanLists = {
    &ioscanpvt_ai, &ioscanpvt_bi, &ioscanpvt_mbbi, &ioscanpvt_mbbiDirect, &ioscanpvt_stringin};
