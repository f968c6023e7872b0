// What the YAML emitter leaves to its users about single values.
#pragma once

#include <string>

namespace sim {

// The shortest number that reads back the same; the emitter knows a number of
// digits only.
std::string realText(float number);
std::string realText(double number);

// Whether a text could be taken for something else without quotes. One that
// begins with a digit is a number to no reader once it holds a blank.
bool needsQuotes(const std::string &text);

// What the emitter writes as it is although nobody sees it.
bool holdsInvisible(const std::string &text);

// A line of a comment, in which nothing can be escaped.
std::string commentLine(std::string text);

} // namespace sim
