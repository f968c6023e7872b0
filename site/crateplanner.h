// Plans one crate after the other, and sees that no name is used twice.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "choice.h"
#include "planner.h"

namespace site {

// Which of the parameters have the site's names for the roles.
ChannelRoles rolesOf(const std::vector<PlannedParameter> &parameters, const SiteFile &file);

class CratePlanner {
public:
    CratePlanner(const SiteFile &file, const std::vector<Crate> &crates, sim::Findings &findings,
                 std::vector<std::string> &notes);

    PlannedCrate plan(const Crate &crate, const CrateEntry &entry);

private:
    PlannedBoard planBoard(const Crate &crate, const Board &board);
    PlannedChannel planChannel(const Crate &crate, const Board &board, const Channel &channel,
                               const Choice &choice);
    std::vector<PlannedParameter> planParameters(const Parameters &parameters,
                                                 const Choice &choice);
    void checkThresholds(const PlannedParameter &planned, const Choice &choice);
    void checkDrive(const PlannedParameter &planned, const Choice &choice);
    void setState(PlannedChannel &planned, const Choice &choice);
    void name(PlannedChannel &planned, const Choice &choice);
    void describe(std::vector<PlannedParameter> &parameters, const std::string &description,
                  int line);
    void claim(const std::string &alias, int line);
    Choice chooseFor(const Crate &crate, const std::vector<Entry> &entries, int slot, int channel,
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
