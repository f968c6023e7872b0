// The crate that is simulated when no other is described.
#pragma once

#include "description.h"

namespace sim {

CrateDescription defaultCrate();

} // namespace sim
