// The scan lists of all record types.
#pragma once

#include "ZANTOscanlist.h"

#include <array>

// By the record types ai, bi, mbbi, mbbiDirect, stringin.
extern const std::array<ZANTOScanList *, 5> ZANTOScanLists;
