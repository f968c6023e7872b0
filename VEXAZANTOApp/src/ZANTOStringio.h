// Device support of the stringin and stringout records.
#pragma once

#include "ZANTOscanlist.h"

// Scan list of all stringin records.
extern ZANTOScanList ioscanpvt_stringin;
