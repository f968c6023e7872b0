// The items of one place of the crate, those of a pulled board included, and
// places in words.
#pragma once

#include <string>
#include <vector>

#include "model/crate.h"

namespace sim::control {

// In the order of the description; empty when there is no such place.
std::vector<ItemId> itemsAt(const Crate &crate, Address address);
std::vector<std::string_view> namesAt(const Crate &crate, Address address);

// Why an operation on the place, or on the item of that name there, ended as it
// did.
std::string reasonAt(const Crate &crate, Address address, Result result,
                     std::string_view name = {});

} // namespace sim::control
