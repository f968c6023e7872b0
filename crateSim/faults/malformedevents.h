// Events that no working crate sends, and bytes that are not events at all.
#pragma once

#include <functional>
#include <string>

#include "model/items.h"
#include "protocol/events.h"

namespace sim {

// Adds events for items that do not exist, with indexes and kinds at the ends
// of their range, and values of the wrong type for some of the items that are
// watched. Calls touched for each of those: what the subscriber makes of them
// is no longer true.
void addMalformedEvents(wire::BatchWriter &batch, const ItemStore &items,
                        const std::function<bool(ItemId)> &isWatched,
                        const std::function<void(ItemId)> &touched);

// The same bytes each time; a reader finds out at the first one.
std::string garbage(size_t bytes);

} // namespace sim
