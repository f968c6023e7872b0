// Every item of the crate (system property, board or channel parameter,
// channel name) with its present value, under one dense number.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "description.h"
#include "value.h"

namespace sim {

using ItemId = uint32_t;

// Where an item lives: -1 in channel means the board's own, -1 in both the
// system's.
struct Address {
    int32_t slot = -1;
    int32_t channel = -1;
};

struct Item {
    Address address;
    std::string_view name;
    Mode mode = Mode::None;
    Shape shape = Shape::Real;
    // Exactly one of the two is set, but for a channel's name: neither.
    const ParameterDescription *parameter = nullptr;
    const PropertyDescription *property = nullptr;
};

class ItemStore {
public:
    // References to names stay with the description, which must outlive this.
    ItemId add(const Item &item, Value start);

    size_t size() const { return m_items.size(); }
    const Item &item(ItemId id) const { return m_items[id]; }
    const Value &value(ItemId id) const { return m_values[id]; }

    // Notes a change unless the value is the one already there.
    void assign(ItemId id, Value value);

    // The items that changed since the last call, each once, oldest first.
    std::vector<ItemId> takeChanges();

private:
    std::vector<Item> m_items;
    std::vector<Value> m_values;
    std::vector<bool> m_changed;
    std::vector<ItemId> m_changes;
};

// How many steps of the parameter's resolution make one of its unit. What
// counts in whole numbers moves by whole numbers.
double stepsPerUnit(const ParameterDescription &parameter);

// The nearest whole step.
Value quantised(const ParameterDescription &parameter, double number);

// Ten to the parameter's exponent.
double unitFactor(const ParameterDescription &parameter);

} // namespace sim
