/// Device support of the stringin and stringout records.
#ifndef ZANTOSTRINGIO_H
#define ZANTOSTRINGIO_H

#include "ZANTOscanlist.h"

/// Scan list of all stringin records.
extern ZANTOScanList ioscanpvt_stringin;

#endif
