// Single values as YAML.
#pragma once

#include <string>
#include <string_view>

namespace sim {

// A text that every reader of YAML takes for this text, in quotes where without
// them it could be taken for anything else.
std::string scalarText(std::string_view text);

// The shortest number that reads back the same.
std::string realText(float number);
std::string realText(double number);

// A line of a comment: one line, whatever the text.
std::string commentText(std::string_view text);

} // namespace sim
