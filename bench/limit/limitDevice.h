// The limit's device support: a record's read or write copies a number, and nothing else.
#pragma once

#include <dbScan.h>

enum class ListKind { ai, bi, mbbi, mbbiDirect, stringin, count };

IOSCANPVT limitList(ListKind kind);
// From now on each write asks for a scan of the input records of its kind.
void limitScanAfterWrites();
