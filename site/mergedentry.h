// What the entries of a site file say of one channel, board or crate together.
#pragma once

#include <string>

#include "sitefile.h"

namespace site {

// A finding for the first subject alone of which the same can be said because of one line.
void addOnce(sim::Findings &findings, int line, const std::string &subject,
             const std::string &text);

// Without lines, crate and ranges of its own.
class MergedEntry : public Entry {
public:
    // The place names it in findings: "HV:03:007".
    MergedEntry(std::string place, sim::Findings &findings)
        : m_place(std::move(place)), m_findings(findings)
    {
    }

    // Two entries must not say the same thing; what comes after these is passed over. Defaults
    // come last, and hold where no entry says anything.
    void add(const Entry &entry);

    // The number that the channel has in its name.
    int number = 0;

    // "HV:03:007 has TEXT", once.
    void report(int line, const std::string &text) const;

private:
    const std::string m_place;
    sim::Findings &m_findings;
    bool m_isTwice = false;
};

} // namespace site
