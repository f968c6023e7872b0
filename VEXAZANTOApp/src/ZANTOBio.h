// Device support of the bi and bo records.
#pragma once

#include "ZANTOscanlist.h"

// Scan list of all bi records.
extern ZANTOScanList ioscanpvt_bi;
