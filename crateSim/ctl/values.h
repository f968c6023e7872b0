// Values as the user writes and reads them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "json.h"

namespace sim::ctl {

// A finite number, the text as a whole.
std::optional<double> parseReal(std::string_view text);
// From 0 up, in digits.
std::optional<int32_t> parseWholeNumber(std::string_view text);

// The value for an item as "show" lists it: a text, a number, or for a switch
// also one of its labels. Throws Problem.
Json valueFor(const Json &item, const std::string &text);

// A value of unknown type: a number or true or false when it reads as one,
// otherwise a text.
Json plainValue(const std::string &text);

// Adds "FIELD=VALUE" to the request. Throws Problem.
void addField(Json &request, const std::string &text);

// "numeric=8,status=1" as an object. Throws Problem.
Json parseMix(const std::string &text);

// The value for people: without quotes, characters that could upset a terminal
// replaced.
std::string textOf(const Json &value);

// With that many decimals; anything but a number as textOf() has it.
std::string fixed(const Json &value, int decimals);

std::vector<std::string> splitAt(char separator, const std::string &text);
std::string joined(const Json &texts, std::string_view separator);

} // namespace sim::ctl
