/// From the item that an event names to its node.
#ifndef ZANTOEVENTUPDATE_H
#define ZANTOEVENTUPDATE_H

#include "vexahvwrapper.h"

#include <cstdint>

class ZANTONode;

/// Gives the node that the item names the value that an event connection brought (0: none), by
/// the rule of ZANTONode::updateValue. The parameter type code, or -1 when there is no such node.
/// Does not wait for a node in use, whose holder then takes the value over. `indexed` is what
/// ZANTOIndexedItemNode gave for the item during the caller's own use of the tree, or null.
int32_t ZANTOUpdateItem(int32_t boardIndex, int32_t channelIndex, const char *itemName,
                        const IDValue_t &value, uint64_t connection,
                        ZANTONode *indexed = nullptr);

#endif
