#include "ZANTOrecordfiles.h"

#include "ZANTOfile.h"
#include "ZANTOmessages.h"
#include "ZANTOrecordclaims.h"
#include "ZANTOtypes.h"

#include <cstddef>
#include <string>
#include <utility>

namespace {

// What goes into a file, written in large pieces.
class Text {
public:
    explicit Text(ZANTOOutputFile &file) : m_file(file) { m_text.reserve(2 * piece); }

    // To append to.
    std::string &end()
    {
        if (m_text.size() >= piece)
            flush();
        return m_text;
    }
    void flush()
    {
        m_file.write(m_text);
        m_text.clear();
    }

private:
    // Small enough to stay in the processor's cache.
    static constexpr std::size_t piece = 1 << 16;

    ZANTOOutputFile &m_file;
    std::string m_text;
};

} // namespace

void ZANTORecordFiles::add(const ZANTONode &node, int32_t bdIdx, int32_t chIdx)
{
    ZANTORecordPlan plan(node, bdIdx, chIdx);
    plan.reportNoRecords();
    plan.reportNoLine();
    if (plan.hasRecords())
        m_plans.push_back(std::move(plan));
}

std::vector<bool> ZANTORecordFiles::nodesLeftOut() const
{
    std::vector<ZANTORecordClaim> claims;
    claims.reserve(m_plans.size());
    for (const ZANTORecordPlan &plan : m_plans)
        claims.push_back(plan.claim());
    return ZANTONodesLeftOut(claims);
}

void ZANTORecordFiles::write(ZANTOOutputFile &database, ZANTOOutputFile &pvList) const
{
    const std::vector<bool> leftOut = nodesLeftOut();
    Text records(database);
    Text lines(pvList);
    for (std::size_t i = 0; i < m_plans.size(); ++i) {
        const ZANTORecordPlan &plan = m_plans[i];
        if (!leftOut[i]) {
            plan.appendRecords(records.end());
            plan.appendLine(lines.end());
        } else {
            ZANTO_TRACE(0, "Error creating string for [%s] record\n", plan.shortName().c_str());
        }
    }
    records.flush();
    lines.flush();
}
