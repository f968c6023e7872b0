/// Device support of the bi and bo records.
#ifndef ZANTOBIO_H
#define ZANTOBIO_H

#include "ZANTOscanlist.h"

/// Scan list of all bi records.
extern ZANTOScanList ioscanpvt_bi;

#endif
