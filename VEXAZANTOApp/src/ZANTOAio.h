/// Device support of the ai and ao records.
#ifndef ZANTOAIO_H
#define ZANTOAIO_H

#include "ZANTOscanlist.h"

/// Scan list of all ai records.
extern ZANTOScanList ioscanpvt_ai;

#endif
