// What two descriptions of one parameter or property disagree about.
#pragma once

#include <string>

#include "difference.h"
#include "model/description.h"
#include "model/words.h"

namespace sim {

inline std::string quoted(const std::string &text) { return '"' + text + '"'; }

inline std::string arrow(const std::string &before, const std::string &after)
{
    return before + " -> " + after;
}

void compareParameter(const ParameterDescription &before, const ParameterDescription &after,
                      DifferenceCollector &found);
// Its values, if it can be read and written before and after.
void compareParameterValue(const ParameterDescription &before, const Value &one,
                           const ParameterDescription &after, const Value &other,
                           DifferenceCollector &found);

void compareProperty(const PropertyDescription &before, const PropertyDescription &after,
                     DifferenceCollector &found);
// Its values, unless the crate itself changes them or they cannot be read.
void comparePropertyValue(const PropertyDescription &before, const PropertyDescription &after,
                          DifferenceCollector &found);

} // namespace sim
