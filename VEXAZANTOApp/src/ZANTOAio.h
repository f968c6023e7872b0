// Device support of the ai and ao records.
#pragma once

#include "ZANTOscanlist.h"

// Scan list of all ai records.
extern ZANTOScanList ioscanpvt_ai;
