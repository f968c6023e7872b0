// Values in the width and byte order in which a program gets them from the
// access library.
#pragma once

#include <optional>
#include <string>

#include "model/codes.h"
#include "model/value.h"

namespace sim::calls {

// A system property's value; texts get their NUL.
std::string propertyBytes(PropertyType type, const Value &value);
// Nothing when the bytes have the wrong length.
std::optional<Value> propertyValue(PropertyType type, const std::string &bytes);

// A parameter's value in its 4-byte element. Texts have none.
std::string parameterBytes(const Value &value);
Value parameterValue(Shape shape, uint32_t word);

} // namespace sim::calls
