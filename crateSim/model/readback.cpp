#include "readback.h"

#include <algorithm>
#include <cmath>

namespace sim {

ReadBack::ReadBack(ItemId id, const ParameterDescription &parameter)
    : m_id(id), m_shape(shapeOf(parameter.type)), m_factor(unitFactor(parameter)),
      m_stepsPerUnit(stepsPerUnit(parameter))
{
    const auto [low, high] = rangeOf(m_shape);
    m_minimum = std::clamp(static_cast<double>(parameter.minimum), low, high);
    m_maximum = std::clamp(static_cast<double>(parameter.maximum), low, high);
}

ReadBack::ReadBack(ItemId id, const PropertyDescription &property, double resolution)
    : m_id(id), m_shape(shapeOf(property.type)),
      m_stepsPerUnit(m_shape == Shape::Real ? 1 / resolution : 1),
      m_minimum(rangeOf(property.type).first), m_maximum(rangeOf(property.type).second)
{
}

void ReadBack::follow(ItemStore &items, double value) const
{
    constexpr double wholeStep = 1 - 1e-6;
    const double shown = std::round(toNumber(items.value(m_id)) * m_stepsPerUnit);
    if (std::abs(value / m_factor * m_stepsPerUnit - shown) >= wholeStep)
        settle(items, value);
}

void ReadBack::settle(ItemStore &items, double value) const
{
    const double steps = std::round(value / m_factor * m_stepsPerUnit);
    const double number = std::clamp(steps / m_stepsPerUnit, m_minimum, m_maximum);
    items.assign(m_id, fromNumber(m_shape, number));
}

} // namespace sim
