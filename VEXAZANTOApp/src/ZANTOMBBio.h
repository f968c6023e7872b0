// Device support of the mbbi and mbbo records.
#pragma once

#include "ZANTOscanlist.h"

// Scan list of all mbbi records.
extern ZANTOScanList ioscanpvt_mbbi;
