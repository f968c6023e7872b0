// The text of a node's records and its line in the list of process variables.
#pragma once

#include "ZANTOrecordclaims.h"
#include "ZANTOtypes.h"

#include <cstddef>
#include <cstdint>
#include <string>

class ZANTONode;

// What the records of a node are called and made of: worked out once for its records, its line
// and the claim of its names. The node must outlive the plan, which reads its display attributes
// when it writes the records.
class ZANTORecordPlan {
public:
    // bdIdx and chIdx are the positions in the tree, -1 where they do not apply.
    ZANTORecordPlan(const ZANTONode &node, int32_t bdIdx, int32_t chIdx);

    // The node gets records and a line.
    bool hasRecords() const { return m_result == Result::ok; }
    // The node's name as its records have it: without blanks.
    std::string shortName() const { return m_name.substr(m_shortNameAt); }
    // Only for a plan with records; points into it.
    ZANTORecordClaim claim() const;

    // Tells at DEBUG 1 why the node has no records, but for one that cannot be read or written
    // and for "Name".
    void reportNoRecords() const;
    // The same for its line, if its type is the reason.
    void reportNoLine() const;

    // ---- only for a plan with records ----

    void appendRecords(std::string &text) const;
    void appendLine(std::string &text) const;

private:
    enum class Result { ok, noNodeType, noSystemType, noAccess, noKind, noName };

    Result makeName();
    Result plan();
    void reportType(const char *output) const;
    bool readWrite() const { return m_access == nodeAccessReadWrite; }
    const char *inputType() const;
    const char *outputType() const;
    const char *mainType() const;
    void appendNumericFields(std::string &text) const;
    void appendStateFields(std::string &text) const;
    void appendMainRecord(std::string &text) const;
    void appendCompanions(std::string &text) const;
    void appendLinks(std::string &text) const;

    const ZANTONode *m_node;
    std::string m_name; // of the main record
    std::size_t m_shortNameAt = 0;
    int32_t m_board;
    int32_t m_channel;
    uint32_t m_kind = 0;
    nodeAccessRights m_access = nodeAccessNone;
    bool m_onBoard = false;
    bool m_onChannel = false;
    bool m_holdsBlank = false;
    Result m_result;
};

// The records of a node, or an empty text if it gets none; tells why as its plan does.
std::string ZANTORecordText(const ZANTONode &node, int32_t bdIdx, int32_t chIdx);
// The node's line in the list of process variables, or an empty text.
std::string ZANTOPvListText(const ZANTONode &node, int32_t bdIdx, int32_t chIdx);
