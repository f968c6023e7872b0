// save-set.csv: the set-points that are saved and restored.
#pragma once

#include <string>

#include "plan.h"

namespace site {

// When a set-point is restored: limits and rates first, voltages last. 0: never, as for anything
// that switches. Boards and crates have no roles.
int saveOrder(const PlannedParameter &planned, const ChannelRoles &roles);

// Read by Phoebus' save and restore. Rows stand in the order of restoring.
std::string saveSetText(const Plan &plan);

} // namespace site
