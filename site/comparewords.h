// What two descriptions of one parameter or property disagree about.
#pragma once

#include <string>

#include "difference.h"
#include "model/description.h"
#include "model/words.h"

namespace site {

inline std::string quoted(const std::string &text) { return '"' + text + '"'; }

inline std::string arrow(const std::string &before, const std::string &after)
{
    return before + " -> " + after;
}

void compareParameter(const sim::ParameterDescription &before,
                      const sim::ParameterDescription &after, DifferenceCollector &found);
// Its values, if it can be read and written before and after.
void compareParameterValue(const sim::ParameterDescription &before, const sim::Value &one,
                           const sim::ParameterDescription &after, const sim::Value &other,
                           DifferenceCollector &found);

void compareProperty(const sim::PropertyDescription &before, const sim::PropertyDescription &after,
                     DifferenceCollector &found);
// Its values, unless the crate itself changes them or they cannot be read.
void comparePropertyValue(const sim::PropertyDescription &before,
                          const sim::PropertyDescription &after, DifferenceCollector &found);

} // namespace site
