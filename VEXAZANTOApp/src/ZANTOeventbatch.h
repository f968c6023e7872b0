// From a batch of events to the tree and to the scans that it asks for.
#pragma once

#include <cstdint>

struct ZANTOEventSource {
    int32_t socket;
    uint64_t connection; // its number, 0 for one that has none
    bool hasDelivered = false;
};

// Waits for the next batch of the source, applies it to the tree and requests the scans of the
// records: of all of a type, or of those that show what changed. True once the connection has
// failed.
bool ZANTOHandleNextBatch(ZANTOEventSource &source);
