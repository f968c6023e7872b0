// The properties of a parameter by its type, and the shapes of their values.
#pragma once

#include "ZANTOnodevalue.h"
#include "ZANTOparameterreader.h"

#include <cstddef>
#include <cstdint>
#include <string>

// Names of properties in the order in which they are read, for a loop over them; fixed texts.
struct ZANTOPropertyNames {
    const char *const *first;
    const char *const *last;

    const char *const *begin() const { return first; }
    const char *const *end() const { return last; }
    std::size_t size() const { return static_cast<std::size_t>(last - first); }
};

// Those that a parameter of this type code has.
ZANTOPropertyNames ZANTOPropertyNamesOf(uint32_t type);

// The property's value, or 0 with quality Bad and a message at DEBUG 1 when it is unknown or
// cannot be read.
ZANTONodeValue ZANTOReadProperty(const ZANTOParameterSource &source, const char *propName,
                                 const std::string &paramName);
