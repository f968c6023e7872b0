/// Which nodes go without records because a name can have one record type only.
#ifndef ZANTORECORDCLAIMS_H
#define ZANTORECORDCLAIMS_H

#include <cstddef>
#include <string_view>
#include <vector>

/// A record that the text of a node defines.
struct ZANTORecordClaim {
    std::size_t node; // its position in the order of the nodes
    std::string_view name;
    std::string_view type;
};

/// True at the position of each node that must be left out whole, so that no name is left with
/// two record types: such a name would end the load of the database and lose all that follows.
/// Records of one name and one type may stay, the IOC merges them.
///
/// Nodes whose name holds a blank give way, since no record of theirs can find its node; among
/// equals the later gives way. `claims` are in the order of the nodes, `holdsBlank` has an entry
/// for each node.
std::vector<bool> ZANTONodesLeftOut(const std::vector<ZANTORecordClaim> &claims,
                                    const std::vector<bool> &holdsBlank);

#endif
