#include "items.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace sim {

ItemId ItemStore::add(const Item &item, Value start)
{
    m_items.push_back(item);
    m_values.push_back(std::move(start));
    m_changed.push_back(false);
    return static_cast<ItemId>(m_items.size() - 1);
}

void ItemStore::assign(ItemId id, Value value)
{
    if (m_values[id] == value)
        return;
    m_values[id] = std::move(value);
    if (m_changed[id])
        return;
    m_changed[id] = true;
    m_changes.push_back(id);
}

std::vector<ItemId> ItemStore::takeChanges()
{
    for (const ItemId id : m_changes)
        m_changed[id] = false;
    return std::exchange(m_changes, {});
}

namespace {

// Far beyond what a float can tell apart; products of a few such stay finite.
double tenTo(int16_t power) { return std::pow(10.0, std::clamp<int>(power, -60, 60)); }

} // namespace

double stepsPerUnit(const ParameterDescription &parameter)
{
    return shapeOf(parameter.type) == Shape::Real ? tenTo(parameter.decimals) : 1;
}

Value quantised(const ParameterDescription &parameter, double number)
{
    const double steps = stepsPerUnit(parameter);
    return fromNumber(shapeOf(parameter.type), std::round(number * steps) / steps);
}

double unitFactor(const ParameterDescription &parameter) { return tenTo(parameter.exponent); }

} // namespace sim
