// A view that is brought up to date on the terminal until the user has seen
// enough.
#pragma once

#include <functional>

#include "views.h"

namespace sim::ctl {

// Calls for a view several times a second. Returns the number of the signal that ended it, 0 for
// the user's key; throws Problem when there is no usable terminal, and whatever the call throws.
// The terminal is restored in every case.
int runLive(const std::function<View()> &look);

} // namespace sim::ctl
