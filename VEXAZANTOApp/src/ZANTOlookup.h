// From the name of a record or the item of an event to the node of the tree.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

class ZANTONode;

// The node that the record of this name serves, or null; the tree owns it. `crateName` is the
// name of the crate that `root` stands for. Makes no library call and takes no lock.
ZANTONode *ZANTOFindRecordNode(const ZANTONode *root, const std::string &crateName, const char *id);

// Has items of the tree under systemNode found through an index from now on, if there is memory
// for it, and by a walk if there is not; without a tree there is no index. Not while an event is
// being applied.
void ZANTOIndexTree() noexcept;
// The node as far as the index of the present tree tells it; null means nothing. Touches no node
// and prints nothing.
ZANTONode *ZANTOIndexedItemNode(const ZANTONode *root, std::string_view itemId, int32_t board,
                                int32_t channel) noexcept;
// The parameter node that an event names, or null; the tree owns it. Negative indexes: an item
// of the board, or of the system. Makes no library call and takes no lock.
ZANTONode *ZANTOFindItemNode(ZANTONode *root, std::string_view itemId, int32_t board,
                             int32_t channel);
