// Plans one crate after the other, and sees that no name is used twice.
#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "mergedentry.h"
#include "planner.h"

namespace site {

// Looks for parameters that the entry names and that none of these is, or that cannot be what is
// said of them. Calls complain(line, "parameter ...") for each.
void checkParameters(const Entry &entry, const Parameters &parameters,
                     const std::function<void(int, const std::string &)> &complain);

class CratePlanner {
public:
    CratePlanner(const SiteFile &file, const std::vector<Crate> &crates, sim::Findings &findings,
                 std::vector<std::string> &notes);

    PlannedCrate plan(const Crate &crate, const CrateEntry &entry);

private:
    PlannedBoard planBoard(const Crate &crate, const Board &board);
    PlannedChannel planChannel(const Crate &crate, const Board &board, const Channel &channel);
    void setState(PlannedChannel &planned, const Entry &said);
    void name(PlannedChannel &planned, const MergedEntry &said);
    void describe(PlannedChannel &planned, const MergedEntry &said);
    void claim(const std::string &alias, int line);
    MergedEntry merged(const Crate &crate, const std::vector<Entry> &entries, int slot, int channel,
                       const Parameters &parameters);

    const SiteFile &m_file;
    sim::Findings &m_findings;
    std::vector<std::string> &m_notes;
    std::set<std::string> m_records;      // of all crates
    std::map<std::string, int> m_aliases; // with their lines
    // What patterns have counted, by entry.
    std::map<const Entry *, int> m_counted;
};

} // namespace site
