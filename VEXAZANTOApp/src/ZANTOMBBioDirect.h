// Device support of the mbbiDirect and mbboDirect records.
#pragma once

#include "ZANTOscanlist.h"

// Scan list of all mbbiDirect records.
extern ZANTOScanList ioscanpvt_mbbiDirect;
