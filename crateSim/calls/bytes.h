// Values in the width and byte order in which a program gets them from the
// access library.
#pragma once

#include <optional>
#include <string>

#include "model/codes.h"
#include "model/value.h"

namespace sim::calls {

// The object representation of a number.
template <class Number> std::string bytesOf(Number number)
{
    static_assert(std::is_arithmetic_v<Number>);
    return std::string(reinterpret_cast<const char *>(&number), sizeof number);
}

// A system property's value; texts get their NUL.
std::string propertyBytes(PropertyType type, const Value &value);
// Nothing when the bytes have the wrong length.
std::optional<Value> propertyValue(PropertyType type, const std::string &bytes);

// A parameter's value in its 4-byte element. Texts have none.
std::string parameterBytes(const Value &value);
Value parameterValue(Shape shape, uint32_t word);

} // namespace sim::calls
