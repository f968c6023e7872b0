// The words that a description uses for codes.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "../model/description.h"

namespace sim {

// One table for each of ParamType, Mode, Unit, Role, PropertyType, PropertyRole
// and Action; there is no other instance. Codes without a word give an empty
// word.
template <class Code>
std::string_view wordOf(Code code);
template <class Code>
std::optional<Code> findWord(std::string_view word);
// All of them, separated by commas, for messages.
template <class Code>
std::string allWords();

// Which members of a parameter mean something, by its type.
bool hasLimits(ParamType type);    // minimum, maximum, unit, exponent
bool hasDecimals(ParamType type);
bool hasLabels(ParamType type);

// The start value of whatever says nothing about it: empty, or the number
// nearest to 0 within the limits.
Value usualStart(const ParameterDescription &parameter);
Value usualStart(PropertyType type);

// A parameter of the type with every member that means nothing to it as it is
// always described.
ParameterDescription blankParameter(ParamType type);

} // namespace sim
