#include "guess.h"

#include <algorithm>
#include <string_view>

namespace sim::capture {

namespace {

template <class Meaning, class Type> struct CommonName {
    std::string_view name; // in small letters, without blanks
    Type type;
    Meaning meaning;
};

using P = ParamType;
using R = Role;

constexpr CommonName<Role, ParamType> ofChannels[] = {
    {"vset", P::Numeric, R::VoltageSet},
    {"v0set", P::Numeric, R::VoltageSet},
    {"iset", P::Numeric, R::CurrentSet},
    {"i0set", P::Numeric, R::CurrentSet},
    {"rup", P::Numeric, R::RampUp},
    {"rdwn", P::Numeric, R::RampDown},
    {"rdown", P::Numeric, R::RampDown},
    {"trip", P::Numeric, R::TripTime},
    {"svmax", P::Numeric, R::VoltageLimit},
    {"vmax", P::Numeric, R::VoltageLimit},
    {"pw", P::OnOff, R::Power},
    {"pdwn", P::OnOff, R::PowerDown},
    {"vmon", P::Numeric, R::Voltage},
    {"imon", P::Numeric, R::Current},
    {"status", P::ChannelStatus, R::Status},
    {"chstatus", P::ChannelStatus, R::Status},
    {"lasttrip", P::Text, R::TripCause},
    {"clrtrip", P::OnOff, R::ClearTrip},
    {"imin", P::Numeric, R::CurrentMinimum},
};

constexpr CommonName<Role, ParamType> ofBoards[] = {
    {"bdstatus", P::BoardStatus, R::BoardStatus}, {"status", P::BoardStatus, R::BoardStatus},
    {"temp", P::Numeric, R::Temperature},         {"hvmax", P::Numeric, R::BoardVoltageLimit},
    {"bdenable", P::OnOff, R::BoardEnable},
};

using T = PropertyType;
using S = PropertyRole;

constexpr CommonName<PropertyRole, PropertyType> ofSystem[] = {
    {"ipaddr", T::Text, S::HostAddress},
    {"outpower", T::Real, S::OutputPower},
    {"uptime", T::UInt32, S::UptimeMinutes},
    {"tripcount", T::UInt16, S::TripCount},
};

struct CommonCommand {
    std::string_view name;
    Action action;
};

constexpr CommonCommand commands[] = {
    {"kill", Action::KillAll},
    {"alloff", Action::SwitchAllOff},
    {"clearalarm", Action::ClearAlarms},
    {"clearalarms", Action::ClearAlarms},
};

std::string plain(const std::string &name)
{
    std::string result;
    for (const char letter : name)
        if (letter != ' ')
            result +=
                letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    return result;
}

template <class Table, class Type>
auto meaningOf(const Table &table, const std::string &name, Type type)
{
    const std::string wanted = plain(name);
    for (const auto &row : table)
        if (row.name == wanted && row.type == type)
            return row.meaning;
    return decltype(table[0].meaning)::None;
}

} // namespace

Role guessRole(const ParameterDescription &parameter, bool ofChannel)
{
    // A parameter that is nobody's is not the one of that name.
    if (parameter.mode > Mode::ReadWrite)
        return Role::None;
    return ofChannel ? meaningOf(ofChannels, parameter.name, parameter.type)
                     : meaningOf(ofBoards, parameter.name, parameter.type);
}

PropertyRole guessRole(const PropertyDescription &property)
{
    return meaningOf(ofSystem, property.name, property.type);
}

Action guessAction(const std::string &command)
{
    const std::string wanted = plain(command);
    for (const auto &row : commands)
        if (row.name == wanted)
            return row.action;
    return Action::None;
}

bool isLive(Role role)
{
    return role == Role::Voltage || role == Role::Current || role == Role::Status ||
           role == Role::TripCause || role == Role::BoardStatus;
}

bool isLive(PropertyRole role)
{
    return role == PropertyRole::OutputPower || role == PropertyRole::UptimeMinutes ||
           role == PropertyRole::TripCount;
}

} // namespace sim::capture
