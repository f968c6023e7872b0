// Equality of descriptions, member by member: a member that is added does not
// compile until it is compared.
#pragma once

#include <tuple>

#include "model/description.h"

namespace sim {

inline auto tied(const ParameterDescription &each)
{
    const auto &[name, type, mode, role, minimum, maximum, unit, exponent, decimals, on, off,
                 start] = each;
    return std::tie(name, type, mode, role, minimum, maximum, unit, exponent, decimals, on, off,
                    start);
}

inline auto tied(const Load &each)
{
    const auto &[ohm, farad, noise] = each;
    return std::tie(ohm, farad, noise);
}

inline auto tied(const ModelDescription &each)
{
    const auto &[key, name, board, channel] = each;
    return std::tie(key, name, board, channel);
}

inline auto tied(const ChannelDescription &each)
{
    const auto &[name, load, model, start] = each;
    return std::tie(name, load, model, start);
}

inline auto tied(const BoardDescription &each)
{
    const auto &[model, description, serial, major, minor, start, channels] = each;
    return std::tie(model, description, serial, major, minor, start, channels);
}

inline auto tied(const PropertyDescription &each)
{
    const auto &[name, type, mode, role, start] = each;
    return std::tie(name, type, mode, role, start);
}

inline auto tied(const CommandDescription &each)
{
    const auto &[name, action] = each;
    return std::tie(name, action);
}

inline auto tied(const User &each)
{
    const auto &[name, password] = each;
    return std::tie(name, password);
}

inline auto tied(const CrateDescription &each)
{
    const auto &[name, properties, commands, users, models, slots] = each;
    return std::tie(name, properties, commands, users, models, slots);
}

template <class Described, class = decltype(tied(std::declval<const Described &>()))>
bool operator==(const Described &one, const Described &other)
{
    return tied(one) == tied(other);
}

} // namespace sim
