// Lists of PVs for an archiver and for a directory of channels, as JSON.
#pragma once

#include <string>

#include "plan.h"

namespace site {

// archive.json: an archiver appliance's request to archive.
std::string archiveText(const Plan &plan);

// channelfinder.json: each record with where it comes from and what it is.
std::string channelFinderText(const Plan &plan);

} // namespace site
