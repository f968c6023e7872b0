// site.acf: who may write what.
#pragma once

#include <string>

#include "plan.h"

namespace site {

// Everybody may read everything; what no group is given to can be written by nobody.
std::string accessText(const Plan &plan);

} // namespace site
