#include "plan.h"

#include <algorithm>
#include <functional>

namespace site {

const char *severityText(Severity severity)
{
    constexpr std::array<const char *, 4> texts{"NO_ALARM", "MINOR", "MAJOR", "INVALID"};
    return texts.at(static_cast<size_t>(severity));
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
