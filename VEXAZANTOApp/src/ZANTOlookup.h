/// From the name of a record or the item of an event to the node of the tree.
#ifndef ZANTOLOOKUP_H
#define ZANTOLOOKUP_H

#include <cstdint>
#include <string>

class ZANTONode;

/// The node that the record of this name serves, or null; the tree owns it. `crateName` is the
/// name of the crate that `root` stands for. Makes no library call and takes no lock.
ZANTONode *ZANTOFindRecordNode(const ZANTONode *root, const std::string &crateName,
                               const char *id);
/// The parameter node that an event names, or null; the tree owns it. Negative indexes: an item
/// of the board, or of the system. Makes no library call and takes no lock.
ZANTONode *ZANTOFindItemNode(ZANTONode *root, const std::string &itemId, int32_t board,
                             int32_t channel);

#endif
