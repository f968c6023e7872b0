// Whether what a site file says fits the crates.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "sitefile.h"

namespace site {

// The one of that name, or null.
template <class List> auto named(const List &list, const std::string &name)
{
    const auto found =
        std::find_if(list.begin(), list.end(), [&](const auto &each) { return each.name == name; });
    return found == list.end() ? nullptr : &*found;
}

// The file's crates have to be those that are given, each once.
std::vector<sim::Finding> checkCrates(const SiteFile &file, const std::vector<Crate> &crates);

// Crates, positions and groups that entries name. The crates fit.
void checkEntries(const SiteFile &file, const std::vector<Crate> &crates, sim::Findings &findings);

// Parameters that the entry names and that none of these is, or that cannot be what is said of
// them: "parameter ...".
std::vector<sim::Finding> missingParameters(const Entry &entry, const Parameters &parameters);

// What can be said of a parameter.
inline bool canHaveLimits(const Parameter &parameter)
{
    return parameter.isNumeric() && parameter.readable;
}
inline bool canBeDriven(const Parameter &parameter) { return parameter.type == "ao"; }
inline bool canBeWritten(const Parameter &parameter) { return parameter.writable; }
inline bool canBeRead(const Parameter &parameter) { return parameter.readable; }

// The parameters of all channels.
Parameters channelParameters(const std::vector<Crate> &crates);

} // namespace site
