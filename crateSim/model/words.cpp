#include "words.h"

#include <iterator>

namespace sim {

namespace {

template <class Code> struct Row {
    Code code;
    std::string_view word;
};

constexpr Row<ParamType> paramTypes[] = {
    {ParamType::Numeric, "numeric"},
    {ParamType::OnOff, "on-off"},
    {ParamType::ChannelStatus, "channel-status"},
    {ParamType::BoardStatus, "board-status"},
    {ParamType::Integer, "integer"},
    {ParamType::Text, "text"},
    {ParamType::Enumeration, "enumeration"},
};

constexpr Row<Mode> modes[] = {
    {Mode::Read, "read"},
    {Mode::Write, "write"},
    {Mode::ReadWrite, "read-write"},
    {Mode::None, "none"},
};

struct UnitRow {
    Unit code;
    std::string_view word;
    const char *symbol;
};

constexpr UnitRow units[] = {
    {Unit::None, "none", ""},
    {Unit::Ampere, "ampere", "A"},
    {Unit::Volt, "volt", "V"},
    {Unit::Watt, "watt", "W"},
    {Unit::Celsius, "celsius", "\u00b0C"},
    {Unit::Hertz, "hertz", "Hz"},
    {Unit::Bar, "bar", "bar"},
    {Unit::VoltPerSecond, "volt-per-second", "V/s"},
    {Unit::Second, "second", "s"},
    {Unit::Rpm, "rpm", "rpm"},
    {Unit::Count, "count", "counts"},
};

constexpr Row<Role> roles[] = {
    {Role::None, "none"},
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
static_assert(std::size(roles) == static_cast<size_t>(Role::Count_), "a role without a word");

constexpr Row<PropertyType> propertyTypes[] = {
    {PropertyType::Text, "text"},       {PropertyType::Real, "real"},
    {PropertyType::UInt16, "uint16"},   {PropertyType::UInt32, "uint32"},
    {PropertyType::Int16, "int16"},     {PropertyType::Int32, "int32"},
    {PropertyType::Boolean, "boolean"},
};

constexpr Row<PropertyRole> propertyRoles[] = {
    {PropertyRole::None, "none"},
    {PropertyRole::HostAddress, "host-address"},
    {PropertyRole::OutputPower, "output-power"},
    {PropertyRole::UptimeMinutes, "uptime-minutes"},
    {PropertyRole::TripCount, "trip-count"},
};

constexpr Row<Action> actions[] = {
    {Action::None, "none"},
    {Action::KillAll, "kill-all"},
    {Action::SwitchAllOff, "switch-all-off"},
    {Action::ClearAlarms, "clear-alarms"},
};

const auto &tableOf(ParamType) { return paramTypes; }
const auto &tableOf(Mode) { return modes; }
const auto &tableOf(Unit) { return units; }
const auto &tableOf(Role) { return roles; }
const auto &tableOf(PropertyType) { return propertyTypes; }
const auto &tableOf(PropertyRole) { return propertyRoles; }
const auto &tableOf(Action) { return actions; }

} // namespace

template <class Code> std::string_view wordOf(Code code)
{
    for (const auto &row : tableOf(code))
        if (row.code == code)
            return row.word;
    return {};
}

template <class Code> std::optional<Code> findWord(std::string_view word)
{
    for (const auto &row : tableOf(Code()))
        if (row.word == word)
            return row.code;
    return std::nullopt;
}

template <class Code> std::string allWords()
{
    std::string all;
    for (const auto &row : tableOf(Code()))
        all.append(all.empty() ? "" : ", ").append(row.word);
    return all;
}

#define INSTANTIATE(Code)                                                                          \
    template std::string_view wordOf(Code);                                                        \
    template std::optional<Code> findWord<Code>(std::string_view);                                 \
    template std::string allWords<Code>();

INSTANTIATE(ParamType)
INSTANTIATE(Mode)
INSTANTIATE(Unit)
INSTANTIATE(Role)
INSTANTIATE(PropertyType)
INSTANTIATE(PropertyRole)
INSTANTIATE(Action)

#undef INSTANTIATE

std::string unitSymbol(Unit unit, int16_t exponent)
{
    std::string symbol;
    for (const auto &row : units)
        if (row.code == unit)
            symbol = row.symbol;
    switch (exponent) {
    case 0: return symbol;
    case 6: return "M" + symbol;
    case 3: return "k" + symbol;
    case -3: return "m" + symbol;
    case -6: return "u" + symbol;
    case -9: return "n" + symbol;
    default: return "e" + std::to_string(exponent) + " " + symbol;
    }
}

} // namespace sim
