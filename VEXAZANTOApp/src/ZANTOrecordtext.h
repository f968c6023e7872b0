/// The text of a node's records and its line in the list of process variables.
#ifndef ZANTORECORDTEXT_H
#define ZANTORECORDTEXT_H

#include <cstdint>
#include <string>

class ZANTONode;

/// A node's name as its records have it: without blanks.
std::string ZANTOShortName(std::string nodeName);
/// The records of a node, or an empty text if it gets none. bdIdx and chIdx are the positions
/// in the tree, -1 where they do not apply. Reports at DEBUG 1 why a node gets none.
std::string ZANTORecordText(const ZANTONode &node, int32_t bdIdx, int32_t chIdx);
/// The node's line in the list of process variables, or an empty text.
std::string ZANTOPvListText(const ZANTONode &node, int32_t bdIdx, int32_t chIdx);

#endif
