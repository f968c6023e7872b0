// Lists of PVs: for an archiver, for a directory of channels, and to be saved and restored.
#pragma once

#include <string>

#include "plan.h"

namespace site {

// archive.json: an archiver appliance's request to archive.
std::string archiveText(const Plan &plan);

// channelfinder.json: each record with where it comes from and what it is.
std::string channelFinderText(const Plan &plan);

// When a set-point is restored: limits and rates first, voltages last. 0: never, as for anything
// that switches. Boards and crates have no roles.
int saveOrder(const PlannedParameter &planned, const ChannelRoles &roles);

// save-set.csv: the set-points that Phoebus' save and restore reads, in the order of restoring.
std::string saveSetText(const Plan &plan);

} // namespace site
