#include "shown.h"

#include <utility>

namespace sim {

const Value &ShownValues::value(ItemId id) const
{
    if (m_overrides.empty())
        return items().value(id);
    const auto found = m_overrides.find(id);
    return found == m_overrides.end() ? items().value(id) : found->second;
}

Result ShownValues::read(Address address, std::string_view name, Value &value) const
{
    const Result result = m_crate.read(address, name, value);
    ItemId id = 0;
    if (result == Result::Ok && !m_overrides.empty() &&
        m_crate.find(address, name, id) == Result::Ok)
        value = this->value(id);
    return result;
}

void ShownValues::override(ItemId id, Value value)
{
    m_overrides.insert_or_assign(id, std::move(value));
    m_changed.push_back(id);
}

void ShownValues::clear()
{
    for (const auto &[id, value] : std::exchange(m_overrides, {}))
        if (value != items().value(id))
            m_changed.push_back(id);
}

Changes ShownValues::takeChanges()
{
    Changes changes = m_crate.takeChanges();
    for (const ItemId id : changes.items)
        m_overrides.erase(id);
    changes.items.insert(changes.items.end(), m_changed.begin(), m_changed.end());
    m_changed.clear();
    return changes;
}

} // namespace sim
