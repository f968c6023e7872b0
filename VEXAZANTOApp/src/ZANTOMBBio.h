/// Device support of the mbbi and mbbo records.
#ifndef ZANTOMBBIO_H
#define ZANTOMBBIO_H

#include "ZANTOscanlist.h"

/// Scan list of all mbbi records.
extern ZANTOScanList ioscanpvt_mbbi;

#endif
