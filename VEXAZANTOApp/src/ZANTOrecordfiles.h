// The record database and the list of process variables, from the walk to the files.
#pragma once

#include "ZANTOrecordtext.h"

#include <cstdint>
#include <vector>

class ZANTONode;
class ZANTOOutputFile;

// Gathers the plans of the nodes while these are made: which of them may stand in the files
// shows only when all are known. For one thread.
class ZANTORecordFiles {
public:
    // The node must be complete and outlive this object. bdIdx and chIdx are the positions in
    // the tree, -1 where they do not apply. Tells at DEBUG 1 why a node gets no records.
    void add(const ZANTONode &node, int32_t bdIdx, int32_t chIdx);
    // Writes the texts in the order of the nodes. Tells at DEBUG 1 which nodes get none because
    // a name of theirs has another record type already.
    void write(ZANTOOutputFile &database, ZANTOOutputFile &pvList) const;

private:
    std::vector<bool> nodesLeftOut() const;

    std::vector<ZANTORecordPlan> m_plans; // with records
};
