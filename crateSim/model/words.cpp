#include "words.h"

namespace sim {

namespace {

template <size_t size, class Code>
std::string_view wordAt(const std::array<std::string_view, size> &words, Code code)
{
    const auto index = static_cast<size_t>(code);
    return index < size ? words[index] : std::string_view();
}

constexpr std::array<std::string_view, 7> paramTypes = {
    "numeric", "on-off", "channel-status", "board-status", "integer", "text", "enumeration",
};

constexpr std::array<std::string_view, 7> propertyTypes = {
    "text", "real", "uint16", "uint32", "int16", "int32", "boolean",
};

constexpr std::array<std::string_view, 4> modes = {"read", "write", "read-write", "none"};

constexpr std::array<std::string_view, static_cast<size_t>(Role::Count_)> roles = {
    "",
    "voltage-set",
    "current-set",
    "ramp-up",
    "ramp-down",
    "trip-time",
    "voltage-limit",
    "power",
    "power-down",
    "voltage",
    "current",
    "status",
    "trip-cause",
    "clear-trip",
    "board-status",
    "temperature",
    "board-voltage-limit",
    "board-enable",
};

} // namespace

std::string_view wordOf(ParamType type)
{
    return wordAt(paramTypes, type);
}

std::string_view wordOf(PropertyType type)
{
    return wordAt(propertyTypes, type);
}

std::string_view wordOf(Mode mode)
{
    return wordAt(modes, mode);
}

std::string_view wordOf(Role role)
{
    return wordAt(roles, role);
}

} // namespace sim
