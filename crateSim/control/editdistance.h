// What a user may have meant by a name that does not exist.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace sim::control {

// Edit distance: letters to insert, drop or replace on the way from one name to the other; a
// letter's case does not count.
size_t editDistance(std::string_view one, std::string_view other);

// The candidate most like the name; empty when none is like it.
std::string closestName(std::string_view name, const std::vector<std::string_view> &candidates);

// "; did you mean "..."?", or nothing.
std::string suggestion(std::string_view name, const std::vector<std::string_view> &candidates);

} // namespace sim::control
