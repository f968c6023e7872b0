#include "plan.h"

#include <algorithm>
#include <functional>

namespace site {

const char *severityText(Severity severity)
{
    constexpr std::array<const char *, 4> texts{"NO_ALARM", "MINOR", "MAJOR", "INVALID"};
    return texts.at(static_cast<size_t>(severity));
}

const std::array<StateWords, stateCount> &stateWords()
{
    static constexpr std::array<StateWords, stateCount> words{{
        {"off", "Off", Severity::None},
        {"on", "On", Severity::None},
        {"ramping-up", "Ramping up", Severity::None},
        {"ramping-down", "Ramping down", Severity::None},
        {"over-current", "Over-current", Severity::Minor},
        {"over-voltage", "Over-voltage", Severity::Major},
        {"under-voltage", "Under-voltage", Severity::Minor},
        {"tripped", "Tripped", Severity::Major},
        {"external-trip", "External trip", Severity::Major},
        {"disabled", "Disabled", Severity::Minor},
        {"voltage-limit", "Voltage limit", Severity::Minor},
        {"under-current", "Under-current", Severity::Minor},
        {"power-failure", "Power failure", Severity::Major},
        {"over-temperature", "Over-temperature", Severity::Major},
        {"not-calibrated", "Not calibrated", Severity::Minor},
        {"unplugged", "Unplugged", Severity::Major},
    }};
    return words;
}

std::string PlannedParameter::shownReadBack() const
{
    return parameter->isSetPoint() ? shownName() + ":RBV" : shownName();
}

bool PlannedBoard::hasStates() const
{
    return std::any_of(channels.begin(), channels.end(), std::mem_fn(&PlannedChannel::hasState));
}

bool PlannedCrate::hasStates() const
{
    return std::any_of(boards.begin(), boards.end(), std::mem_fn(&PlannedBoard::hasStates));
}

} // namespace site
