#include "place.h"

#include <charconv>

namespace sim::ctl {

namespace {

std::optional<int32_t> parseNumber(std::string_view text)
{
    int32_t number = 0;
    const char *end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || rest != end || number < 0)
        return std::nullopt;
    return number;
}

} // namespace

std::optional<Place> parsePlace(std::string_view text)
{
    if (text == "system")
        return Place();
    const size_t colon = text.find(':');
    Place place{parseNumber(text.substr(0, colon)), std::nullopt};
    if (!place.slot)
        return std::nullopt;
    if (colon == std::string_view::npos)
        return place;
    place.channel = parseNumber(text.substr(colon + 1));
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
