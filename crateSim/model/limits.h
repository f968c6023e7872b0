// Which values an item accepts.
#pragma once

#include "items.h"
#include "result.h"

namespace sim {

// OutOfRange for a value beyond the item's limits or type, BadRequest for one
// of the wrong shape.
Result checkValue(const Item &item, const Value &value);

} // namespace sim
