// The lists of parameter names by which the mainframe is asked to report changes.
#pragma once

#include <cstdint>

class ZANTONode;

// Subscribes, or unsubscribes, every level of the tree at this event port; every level is
// attempted as long as `goesOn` says so before it. False when any name or any level failed.
// Blocks as long as the access library.
bool ZANTOWatchTree(const ZANTONode &root, bool subscribe, int16_t port, bool (*goesOn)());
