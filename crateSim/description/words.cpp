#include "words.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace sim {

namespace {

template <size_t Size>
using Table = std::array<std::string_view, Size>;

constexpr Table<7> paramTypes = {"numeric", "on-off", "channel-status", "board-status",
                                 "integer", "text",   "enumeration"};

constexpr Table<4> modes = {"read", "write", "read-write", "none"};

constexpr Table<11> units = {"none", "ampere", "volt", "watt", "celsius", "hertz", "bar",
                             "volt-per-second", "second", "rpm", "count"};

constexpr Table<18> roles = {
    "none",          "voltage-set", "current-set",         "ramp-up",    "ramp-down",
    "trip-time",     "voltage-limit", "power",             "power-down", "voltage",
    "current",       "status",      "trip-cause",          "clear-trip", "board-status",
    "temperature",   "board-voltage-limit", "board-enable",
};
static_assert(roles.size() == static_cast<size_t>(Role::Count_), "a role without a word");

constexpr Table<7> propertyTypes = {"text",      "real",      "unsigned-16", "unsigned-32",
                                    "signed-16", "signed-32", "boolean"};

constexpr Table<5> propertyRoles = {"none", "host-address", "output-power", "uptime-minutes",
                                    "trip-count"};

constexpr Table<4> actions = {"none", "kill-all", "switch-all-off", "clear-alarms"};

const auto &tableOf(ParamType) { return paramTypes; }
const auto &tableOf(Mode) { return modes; }
const auto &tableOf(Unit) { return units; }
const auto &tableOf(Role) { return roles; }
const auto &tableOf(PropertyType) { return propertyTypes; }
const auto &tableOf(PropertyRole) { return propertyRoles; }
const auto &tableOf(Action) { return actions; }

int32_t nearestToZero(float minimum, float maximum)
{
    const double low = std::max(std::ceil(static_cast<double>(minimum)), double{INT32_MIN});
    const double high = std::min(std::floor(static_cast<double>(maximum)), double{INT32_MAX});
    return low <= high ? static_cast<int32_t>(std::clamp(0.0, low, high)) : 0;
}

} // namespace

template <class Code>
std::string_view wordOf(Code code)
{
    const auto &table = tableOf(code);
    const auto index = static_cast<size_t>(code);
    return index < table.size() ? table[index] : std::string_view();
}

template <class Code>
std::optional<Code> findWord(std::string_view word)
{
    const auto &table = tableOf(Code());
    const auto found = std::find(table.begin(), table.end(), word);
    if (found == table.end())
        return std::nullopt;
    return static_cast<Code>(found - table.begin());
}

template <class Code>
std::string allWords()
{
    std::string all;
    for (const auto word : tableOf(Code()))
        all.append(all.empty() ? "" : ", ").append(word);
    return all;
}

#define INSTANTIATE(Code)                                          \
    template std::string_view wordOf(Code);                        \
    template std::optional<Code> findWord<Code>(std::string_view); \
    template std::string allWords<Code>();

INSTANTIATE(ParamType)
INSTANTIATE(Mode)
INSTANTIATE(Unit)
INSTANTIATE(Role)
INSTANTIATE(PropertyType)
INSTANTIATE(PropertyRole)
INSTANTIATE(Action)

#undef INSTANTIATE

bool hasLimits(ParamType type)
{
    return type == ParamType::Numeric || type == ParamType::Integer
           || type == ParamType::Enumeration;
}

bool hasDecimals(ParamType type)
{
    return type == ParamType::Numeric || type == ParamType::Integer;
}

bool hasLabels(ParamType type)
{
    return type == ParamType::OnOff;
}

Value usualStart(const ParameterDescription &parameter)
{
    const bool ordered = parameter.minimum <= parameter.maximum;
    switch (shapeOf(parameter.type)) {
    case Shape::Real:
        return ordered ? std::clamp(0.0f, parameter.minimum, parameter.maximum) : 0.0f;
    case Shape::Unsigned: return uint32_t{0};
    case Shape::Text: return std::string();
    case Shape::Signed: break;
    }
    const bool limited = hasLimits(parameter.type);
    return limited ? nearestToZero(parameter.minimum, parameter.maximum) : int32_t{0};
}

Value usualStart(PropertyType type)
{
    return shapeOf(type) == Shape::Text ? Value(std::string()) : fromNumber(shapeOf(type), 0);
}

ParameterDescription blankParameter(ParamType type)
{
    ParameterDescription parameter;
    parameter.type = type;
    parameter.maximum = hasLabels(type) ? 1 : 0;
    parameter.start = usualStart(parameter);
    return parameter;
}

} // namespace sim
