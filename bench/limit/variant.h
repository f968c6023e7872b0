// What serverBench and limitBench do each in its own way; all else is the same code.
#pragma once

#include "limitDevice.h"

// Reads the crate and writes the start-up files; false: it could not.
bool variantBuild();
// Before the records are loaded.
void variantBeforeRecords();
// Once the IOC runs.
void variantAfterRecords();

// Before the first batch.
void variantBeforeEvents();

IOSCANPVT variantList(ListKind kind);

// Takes one batch of events and applies it.
void variantNextBatch();
// From now on what a write changes is shown by the input records.
void variantShowWrites();
