#include "defaults.h"

#include <algorithm>
#include <cmath>

namespace sim {

namespace {

int32_t nearestToZero(float minimum, float maximum)
{
    const double low = std::max(std::ceil(static_cast<double>(minimum)), double{INT32_MIN});
    const double high = std::min(std::floor(static_cast<double>(maximum)), double{INT32_MAX});
    return low <= high ? static_cast<int32_t>(std::clamp(0.0, low, high)) : 0;
}

} // namespace

Value defaultStart(const ParameterDescription &parameter)
{
    const bool ordered = parameter.minimum <= parameter.maximum;
    switch (shapeOf(parameter.type)) {
    case Shape::Real:
        return ordered ? std::clamp(0.0f, parameter.minimum, parameter.maximum) : 0.0f;
    case Shape::Unsigned: return uint32_t{0};
    case Shape::Text: return std::string();
    case Shape::Signed: break;
    }
    const bool limited = hasLimits(parameter.type);
    return limited ? nearestToZero(parameter.minimum, parameter.maximum) : int32_t{0};
}

Value defaultStart(PropertyType type)
{
    return shapeOf(type) == Shape::Text ? Value(std::string()) : fromNumber(shapeOf(type), 0);
}

ParameterDescription blankParameter(ParamType type)
{
    ParameterDescription parameter;
    parameter.type = type;
    parameter.maximum = hasLabels(type) ? 1 : 0;
    parameter.start = defaultStart(parameter);
    return parameter;
}

} // namespace sim
