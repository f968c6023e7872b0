/// The properties of a parameter by its type, and the shapes of their values.
#ifndef ZANTOPROPERTYREADER_H
#define ZANTOPROPERTYREADER_H

#include "ZANTOnodevalue.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// The properties that a parameter of this type code has, in the order in which they are read.
std::vector<const char *> ZANTOPropertyNames(uint32_t type);

/// A library call that reads a property into the buffer it is given: 0 or the error code.
using ZANTOPropertyCall = std::function<int32_t(void *)>;

/// The property's value, or 0 with quality Bad and a message at DEBUG 1 when it is unknown or
/// cannot be read. `level` is "board" or "channel", for the message.
ZANTONodeValue ZANTOReadProperty(const std::string &propName, const std::string &paramName,
                                 const char *level, const ZANTOPropertyCall &get);

#endif
