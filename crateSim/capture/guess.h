// What a mainframe does not tell: the meaning of its items, by their common names.
#pragma once

#include <string>

#include "../model/description.h"

namespace sim::capture {

// Role::None unless name and type are those of the only common meaning.
Role guessRole(const ParameterDescription &parameter, bool ofChannel);
PropertyRole guessRole(const PropertyDescription &property);
Action guessAction(const std::string &command);

// Whether the crate decides the value itself, so that it is nobody's start value.
bool isLive(Role role);
bool isLive(PropertyRole role);

} // namespace sim::capture
