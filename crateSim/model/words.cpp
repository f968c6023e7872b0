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

struct RoleWord {
    Role role;
    std::string_view word;
};

constexpr RoleWord roles[] = {
    {Role::None, ""},
    {Role::VoltageSet, "voltage-set"},
    {Role::CurrentSet, "current-set"},
    {Role::RampUp, "ramp-up"},
    {Role::RampDown, "ramp-down"},
    {Role::TripTime, "trip-time"},
    {Role::VoltageLimit, "voltage-limit"},
    {Role::Power, "power"},
    {Role::PowerDown, "power-down"},
    {Role::Voltage, "voltage"},
    {Role::Current, "current"},
    {Role::Status, "status"},
    {Role::TripCause, "trip-cause"},
    {Role::ClearTrip, "clear-trip"},
    {Role::CurrentMinimum, "current-minimum"},
    {Role::BoardStatus, "board-status"},
    {Role::Temperature, "temperature"},
    {Role::BoardVoltageLimit, "board-voltage-limit"},
    {Role::BoardEnable, "board-enable"},
};

constexpr bool hasEveryRole()
{
    size_t index = 0;
    for (const auto &[role, word] : roles)
        if (static_cast<size_t>(role) != index++)
            return false;
    return index == static_cast<size_t>(Role::Count_);
}

static_assert(hasEveryRole(), "a word for each role, in their order");

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
    const auto index = static_cast<size_t>(role);
    return index < std::size(roles) ? roles[index].word : std::string_view();
}

} // namespace sim
