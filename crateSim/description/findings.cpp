#include "findings.h"

#include <algorithm>

namespace sim {

namespace {

constexpr size_t maxFindings = 1000;
constexpr size_t maxVisits = 500000;

} // namespace

void Findings::add(int line, const std::string &path, const std::string &text)
{
    m_reported.insert(path);
    // An alias would have everything found again.
    if (!m_known.emplace(line, text).second)
        return;
    if (m_findings.size() < maxFindings)
        m_findings.push_back({line, text});
    else
        ++m_more;
}

int Findings::lineOf(std::string path) const
{
    for (;;) {
        const auto found = m_lines.find(path);
        if (found != m_lines.end())
            return found->second;
        const auto slash = path.rfind('/');
        if (slash == std::string::npos)
            return 0;
        path.resize(slash);
    }
}

void Findings::visit()
{
    if (++m_visits > maxVisits)
        throw TooMuchToRead();
}

std::vector<Finding> Findings::take()
{
    std::stable_sort(m_findings.begin(), m_findings.end(),
                     [](const auto &a, const auto &b) { return a.line < b.line; });
    if (m_more > 0)
        m_findings.push_back({m_findings.back().line, "and " + std::to_string(m_more) +
                                                          " more findings, here or elsewhere"});
    return std::move(m_findings);
}

} // namespace sim
