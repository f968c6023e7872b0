#include <algorithm>

#include "crateplanner.h"

namespace site {

namespace {

// In the order of Role.
constexpr std::array<const PlannedParameter * ChannelRoles::*, roleCount> members{
    &ChannelRoles::voltageSet, &ChannelRoles::currentSet,   &ChannelRoles::voltage,
    &ChannelRoles::current,    &ChannelRoles::voltageLimit, &ChannelRoles::rampUp,
    &ChannelRoles::rampDown,   &ChannelRoles::tripTime,     &ChannelRoles::power,
    &ChannelRoles::status,     &ChannelRoles::tripCause,    &ChannelRoles::clearTrip,
};

} // namespace

ChannelRoles rolesOf(const std::vector<PlannedParameter> &parameters, const SiteFile &file)
{
    ChannelRoles roles;
    for (size_t role = 0; role < roleCount; ++role)
        for (const PlannedParameter &each : parameters)
            if (each.parameter->name == file.parameters.at(role))
                roles.*members.at(role) = &each;
    return roles;
}

} // namespace site
