// The crate that is simulated when no other is described.
#pragma once

#include <string_view>

#include "../model/description.h"

namespace sim {

// The text of crates/default.yaml.
std::string_view defaultCrateText();

// The crate it describes, which is read only once.
CrateDescription defaultCrate();

} // namespace sim
