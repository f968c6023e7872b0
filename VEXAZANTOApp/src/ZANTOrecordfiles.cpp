#include "ZANTOrecordfiles.h"

#include "ZANTOdbtext.h"
#include "ZANTOfile.h"
#include "ZANTOmessages.h"
#include "ZANTOnode.h"
#include "ZANTOrecordclaims.h"
#include "ZANTOrecordtext.h"
#include "ZANTOtypes.h"
#include "ZANTOutils.h"

#include <string_view>

void ZANTORecordFiles::add(ZANTONode &node, int32_t bdIdx, int32_t chIdx)
{
    m_records += ZANTOUtils::ZANTOCreateStringForDbRecord(&node, bdIdx, chIdx);
    m_lines += ZANTOUtils::ZANTOCreateStringForItemExporting(&node, bdIdx, chIdx);
    m_entries.push_back({&node, m_records.size(), m_lines.size()});
}

std::vector<bool> ZANTORecordFiles::nodesLeftOut() const
{
    const std::string_view records = m_records;
    std::vector<ZANTORecordClaim> claims;
    std::vector<bool> holdsBlank;
    std::size_t begin = 0;
    for (const Entry &entry : m_entries) {
        const std::size_t node = holdsBlank.size();
        ZANTOForEachRecord(records.substr(begin, entry.recordsEnd - begin),
                           [&](std::string_view name, std::string_view type) {
                               claims.push_back({node, name, type});
                           });
        holdsBlank.push_back(entry.node->getNodeName().find(' ') != std::string::npos);
        begin = entry.recordsEnd;
    }
    return ZANTONodesLeftOut(claims, holdsBlank);
}

void ZANTORecordFiles::write(ZANTOOutputFile &database, ZANTOOutputFile &pvList) const
{
    const std::vector<bool> leftOut = nodesLeftOut();
    std::size_t records = 0;
    std::size_t line = 0;
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
        const Entry &entry = m_entries[i];
        if (!leftOut[i]) {
            database.write(std::string_view(m_records).substr(records, entry.recordsEnd - records));
            pvList.write(std::string_view(m_lines).substr(line, entry.lineEnd - line));
        } else if (DEBUG > 0) {
            ZANTOPrint("Error creating string for [%s] record\n",
                       ZANTOShortName(entry.node->getNodeName()).c_str());
        }
        records = entry.recordsEnd;
        line = entry.lineEnd;
    }
}
