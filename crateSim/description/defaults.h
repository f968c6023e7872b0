// What a description need not say.
#pragma once

#include "../model/description.h"

namespace sim {

// The start value of whatever says nothing about it: empty, or the number
// nearest to 0 within the limits.
Value defaultStart(const ParameterDescription &parameter);
Value defaultStart(PropertyType type);

// A parameter of the type with every member that means nothing to it as it is
// always described.
ParameterDescription blankParameter(ParamType type);

} // namespace sim
