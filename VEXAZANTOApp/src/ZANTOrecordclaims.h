// Which nodes go without records because a name can have one record type only.
#pragma once

#include <string_view>
#include <vector>

// The records that a node asks for: one, or a set of three, whose other two have the name with
// ":RBV" and ":Sync" behind it.
struct ZANTORecordClaim {
    std::string_view name;
    std::string_view type;         // also that of ":Sync"
    std::string_view readBackType; // of ":RBV"; empty for a single record
    bool holdsBlank;               // the node's name

    bool isSet() const { return !readBackType.empty(); }
};

// True at the position of each node that must be left out whole, so that no name is left with
// two record types: such a name would end the load of the database and lose all that follows.
// Records of one name and one type may stay, the IOC merges them.
//
// Nodes whose name holds a blank give way, since no record of theirs can find its node; among
// equals the later gives way. `claims` are in the order of the nodes, one for each.
std::vector<bool> ZANTONodesLeftOut(const std::vector<ZANTORecordClaim> &claims);
