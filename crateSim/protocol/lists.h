// The two shapes of name lists that the access library hands out.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace sim::wire {

// Names one after another, each ended by a NUL.
inline void appendPacked(std::string &list, std::string_view name)
{
    list.append(name).push_back('\0');
}

// One slot of fixed size, NUL-filled; a longer name is cut so that the NUL
// stays.
inline void appendSlot(std::string &table, std::string_view name, size_t slotSize)
{
    const std::string_view kept = name.substr(0, slotSize - 1);
    table.append(kept).append(slotSize - kept.size(), '\0');
}

// The names of a subscription, joined by ":". A leading ":" is an empty first
// element and no name.
inline std::vector<std::string> splitNames(std::string_view joined)
{
    std::vector<std::string> names;
    while (!joined.empty()) {
        const size_t end = joined.find(':');
        if (end != 0)
            names.emplace_back(joined.substr(0, end));
        joined.remove_prefix(end == std::string_view::npos ? joined.size() : end + 1);
    }
    return names;
}

} // namespace sim::wire
