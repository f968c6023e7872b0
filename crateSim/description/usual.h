// What a description need not say.
#pragma once

#include "../model/description.h"

namespace sim {

// Which members of a parameter mean something, by its type.
bool hasLimits(ParamType type); // minimum, maximum, unit, exponent
bool hasDecimals(ParamType type);
bool hasLabels(ParamType type);

// The start value of whatever says nothing about it: empty, or the number
// nearest to 0 within the limits.
Value usualStart(const ParameterDescription &parameter);
Value usualStart(PropertyType type);

// A parameter of the type with every member that means nothing to it as it is
// always described.
ParameterDescription blankParameter(ParamType type);

} // namespace sim
