// site.db: what a site adds to the records that the server wrote.
#pragma once

#include <string>

#include "plan.h"

namespace site {

// How read-backs are disabled while the event connection is lost.
enum class StaleLink {
    State,   // base 7: a link to a state of the server, which joins no lock sets
    Database // every base: a link to the record HV:Health:Lost, which joins all of them
};

// Loaded behind the server's own database, before iocInit.
std::string databaseText(const PlannedCrate &crate, const Plan &plan, StaleLink link);

} // namespace site
