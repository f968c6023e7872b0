// A value of any item of the crate.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <variant>

#include "codes.h"

namespace sim {

using Value = std::variant<float, int32_t, uint32_t, std::string>;

// Which alternative of Value an item of a given type holds.
enum class Shape : uint8_t { Real = 0, Signed = 1, Unsigned = 2, Text = 3 };

Shape shapeOf(ParamType type);
Shape shapeOf(PropertyType type);

inline Shape shapeOf(const Value &value) { return static_cast<Shape>(value.index()); }

// The lowest and the highest number that fits.
std::pair<double, double> rangeOf(Shape shape);
std::pair<double, double> rangeOf(PropertyType type);

// The value as a number; a text counts as 0.
double toNumber(const Value &value);

// The value for people: shortest decimal text that reads back the same.
std::string toText(const Value &value);

// The number in the given shape, rounded for the integer shapes. The number
// must lie in the range of the shape.
Value fromNumber(Shape shape, double number);

} // namespace sim
