// Places of the crate as the user writes them: "system", "3", "3:7".
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "json.h"

namespace sim::ctl {

struct Place {
    std::optional<int32_t> slot;
    std::optional<int32_t> channel; // only with a slot

    bool isSystem() const { return !slot; }
    bool isBoard() const { return slot && !channel; }
    bool isChannel() const { return channel.has_value(); }
};

// Numbers may have leading zeros. Nothing when the text is not a place.
std::optional<Place> parsePlace(std::string_view text);

// The request with "slot" and "channel" of the place.
Json withPlace(Json request, const Place &place);

} // namespace sim::ctl
