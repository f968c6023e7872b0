/// The record database and the list of process variables, from the walk to the files.
#ifndef ZANTORECORDFILES_H
#define ZANTORECORDFILES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class ZANTONode;
class ZANTOOutputFile;

/// Gathers the texts of the nodes while they are made: which of them may stand in the files shows
/// only when all are known. For one thread.
class ZANTORecordFiles {
public:
    /// The node must outlive this object. bdIdx and chIdx are the positions in the tree, -1 where
    /// they do not apply.
    void add(ZANTONode &node, int32_t bdIdx, int32_t chIdx);
    /// Writes the texts in the order of the nodes. Tells at DEBUG 1 which nodes get none because
    /// a name of theirs has another record type already.
    void write(ZANTOOutputFile &database, ZANTOOutputFile &pvList) const;

private:
    struct Entry {
        const ZANTONode *node;
        // Ends of its texts; each begins where that of the node before it ends.
        std::size_t recordsEnd;
        std::size_t lineEnd;
    };

    std::vector<bool> nodesLeftOut() const;

    std::string m_records;
    std::string m_lines;
    std::vector<Entry> m_entries;
};

#endif
