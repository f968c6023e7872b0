/// Device support of the mbbiDirect and mbboDirect records.
#ifndef ZANTOMBBIODIRECT_H
#define ZANTOMBBIODIRECT_H

#include "ZANTOscanlist.h"

/// Scan list of all mbbiDirect records.
extern ZANTOScanList ioscanpvt_mbbiDirect;

#endif
