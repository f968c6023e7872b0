#include "place.h"

#include "values.h"

namespace sim::ctl {

std::optional<Place> parsePlace(std::string_view text)
{
    if (text == "system")
        return Place();
    const size_t colon = text.find(':');
    Place place{parseWholeNumber(text.substr(0, colon)), std::nullopt};
    if (!place.slot)
        return std::nullopt;
    if (colon == std::string_view::npos)
        return place;
    place.channel = parseWholeNumber(text.substr(colon + 1));
    if (!place.channel)
        return std::nullopt;
    return place;
}

Json withPlace(Json request, const Place &place)
{
    if (place.slot)
        request["slot"] = *place.slot;
    if (place.channel)
        request["channel"] = *place.channel;
    return request;
}

} // namespace sim::ctl
