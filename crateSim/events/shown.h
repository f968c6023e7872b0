// What the crate shows of its items: their values, or those by which a storm overrides them. The
// physics know nothing of it.
#pragma once

#include <unordered_map>
#include <vector>

#include "model/crate.h"

namespace sim {

class ShownValues {
public:
    // The crate has to outlive this.
    explicit ShownValues(Crate &crate) : m_crate(crate) {}

    const ItemStore &items() const { return m_crate.items(); }
    const Value &value(ItemId id) const;
    // As Crate::read.
    Result read(Address address, std::string_view name, Value &value) const;

    // Holds until a change of the item itself is taken, or until all overrides are cleared.
    void override(ItemId id, Value value);
    void clear();

    // What changed since the last call, in the crate or by overrides; an item may be named twice.
    Changes takeChanges();

private:
    Crate &m_crate;
    std::unordered_map<ItemId, Value> m_overrides;
    std::vector<ItemId> m_changed; // by overrides, or because they ended
};

} // namespace sim
