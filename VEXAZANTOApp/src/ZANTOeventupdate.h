// From the item that an event names to its node.
#pragma once

#include "vexahvwrapper.h"

#include <cstdint>

class ZANTONode;

// The node that an event is for.
struct ZANTOEventTarget {
    ZANTONode *node = nullptr;
    uint32_t tree = 0; // the generation of its tree
};

// Gives the node that the item names the value that an event connection brought (0: none), by
// the rule of ZANTONode::updateValue. The parameter type code, or -1 when there is no such node.
// Does not wait for a node in use, whose holder then takes the value over.
//
// `target` may be null. Before: its node is what ZANTOIndexedItemNode gave for the item during
// the caller's own use of the tree, or null. Afterwards: the node that has the value, only to be
// compared with others of its tree, which may be gone; a tree of 0 when none has.
int32_t ZANTOUpdateItem(int32_t boardIndex, int32_t channelIndex, const char *itemName,
                        const IDValue_t &value, uint64_t connection,
                        ZANTOEventTarget *target = nullptr);
