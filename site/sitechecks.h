// Whether what a site file says fits the crates.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "sitefile.h"

namespace site {

// Whether the file's crates are those that are given, each once.
bool checkCrates(const SiteFile &file, const std::vector<Crate> &crates, sim::Findings &findings);

// Crates, positions and groups that entries name. The crates fit.
void checkEntries(const SiteFile &file, const std::vector<Crate> &crates, sim::Findings &findings);

// Looks for parameters that the entry names and that none of these is, or that cannot be what is
// said of them. Calls complain(line, "parameter ...") for each.
void checkParameters(const Entry &entry, const Parameters &parameters,
                     const std::function<void(int, const std::string &)> &complain);

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

// Whether the entry is one of that crate's.
bool isOf(const Entry &entry, const Crate &crate);

} // namespace site
