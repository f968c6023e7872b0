#include "words.h"

#include <algorithm>
#include <iterator>

namespace sim {

namespace {

// The words of each kind of code by its number: all of them count from 0.
constexpr std::string_view paramTypes[] = {"numeric", "on-off", "channel-status", "board-status",
                                           "integer", "text",   "enumeration"};
constexpr std::string_view modes[] = {"read", "write", "read-write", "none"};
constexpr std::string_view units[] = {"none",    "ampere", "volt", "watt",
                                      "celsius", "hertz",  "bar",  "volt-per-second",
                                      "second",  "rpm",    "count"};
constexpr std::string_view unitSymbols[] = {"",    "A",   "V", "W",   "\u00b0C", "Hz",
                                            "bar", "V/s", "s", "rpm", "counts"};
constexpr std::string_view roles[] = {"none",          "voltage-set", "current-set",
                                      "ramp-up",       "ramp-down",   "trip-time",
                                      "voltage-limit", "power",       "power-down",
                                      "voltage",       "current",     "status",
                                      "trip-cause",    "clear-trip",  "current-minimum",
                                      "board-status",  "temperature", "board-voltage-limit",
                                      "board-enable"};
constexpr std::string_view propertyTypes[] = {"text",  "real",  "uint16", "uint32",
                                              "int16", "int32", "boolean"};
constexpr std::string_view propertyRoles[] = {"none", "host-address", "output-power",
                                              "uptime-minutes", "trip-count"};
constexpr std::string_view actions[] = {"none", "kill-all", "switch-all-off", "clear-alarms"};

static_assert(std::size(paramTypes) == static_cast<size_t>(ParamType::Enumeration) + 1);
static_assert(std::size(modes) == static_cast<size_t>(Mode::None) + 1);
static_assert(std::size(units) == static_cast<size_t>(Unit::Count) + 1);
static_assert(std::size(unitSymbols) == std::size(units));
static_assert(std::size(roles) == static_cast<size_t>(Role::Count_));
static_assert(std::size(propertyTypes) == static_cast<size_t>(PropertyType::Boolean) + 1);
static_assert(std::size(propertyRoles) == static_cast<size_t>(PropertyRole::TripCount) + 1);
static_assert(std::size(actions) == static_cast<size_t>(Action::ClearAlarms) + 1);

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
    const auto &words = tableOf(code);
    const auto number = static_cast<size_t>(code);
    return number < std::size(words) ? words[number] : std::string_view();
}

template <class Code> std::optional<Code> findWord(std::string_view word)
{
    const auto &words = tableOf(Code());
    const auto found = std::find(std::begin(words), std::end(words), word);
    return found == std::end(words) ? std::nullopt
                                    : std::optional(static_cast<Code>(found - std::begin(words)));
}

template <class Code> std::string allWords()
{
    std::string all;
    for (const auto word : tableOf(Code()))
        all.append(all.empty() ? "" : ", ").append(word);
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
    const auto number = static_cast<size_t>(unit);
    std::string symbol(number < std::size(unitSymbols) ? unitSymbols[number] : "");
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
