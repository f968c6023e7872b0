// What became of a crate between two descriptions of it, in words.
#pragma once

#include "difference.h"
#include "model/description.h"

namespace sim {

// What the crate consists of. Users, roles, actions and loads are left out: in a captured
// description these are guesses.
Differences compareCrates(const CrateDescription &before, const CrateDescription &after);

// The start values, which are those that were captured: of the system's properties, and of what
// can be read and written of boards and channels. Only of what both crates have.
Differences compareValues(const CrateDescription &before, const CrateDescription &after);

} // namespace sim
