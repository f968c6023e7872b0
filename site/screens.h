// Operator screens as Phoebus display files, for the desktop and for the web.
#pragma once

#include "plan.h"

namespace site {

// All in the folder "screens/", each linked from "screens/index.bob". Needs the crates that the
// plan speaks of.
OutputFiles screens(const Plan &plan);

} // namespace site
