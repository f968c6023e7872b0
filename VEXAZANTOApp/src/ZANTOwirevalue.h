// Values in the shapes of the access library's buffers and events.
#pragma once

#include "ZANTOtypes.h"
#include "ZANTOvariant.h"
#include "vexahvwrapper.h"

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>

// Shape of a value in the access library's buffers; none: there is no call for it.
enum class ZANTOWire { none, text, real, u16, u32, s16, s32 };

// By system property type code. The write of a signed 32-bit property sets the low 16 bits
// alone, as does that of a boolean.
ZANTOWire ZANTOPropertyReadWire(uint32_t type);
ZANTOWire ZANTOPropertyWriteWire(uint32_t type);
// By parameter type code, read and write alike. A string parameter has no access call.
ZANTOWire ZANTOParameterWire(uint32_t type);

// The parameter type code that a system property type stands for: text, five numeric types,
// boolean. None for an unknown one.
std::optional<uint32_t> ZANTOParameterTypeOfProperty(uint32_t type);

// Room for any value of the library: zeroed, so that a value narrower than what the library
// reads is defined, and one byte longer than the longest text, so that a text always ends.
class ZANTOValueBuffer {
public:
    void *data() { return m_bytes; }

    variant decode(ZANTOWire wire) const;
    void encode(ZANTOWire wire, const variant &value);

private:
    template <typename T> T as() const
    {
        T v;
        std::memcpy(&v, m_bytes, sizeof(T));
        return v;
    }

    template <typename T> void put(T v) { std::memcpy(m_bytes, &v, sizeof(T)); }
    void putText(const std::string &text);

    alignas(8) char m_bytes[VEXAHV_TEXT_SIZE + 1] = {};
};

// The value that an event carries for an item of this data type. False for a data type that is
// none of the known ones.
bool ZANTODecodeEvent(nodeDataType dataType, const IDValue_t &item, variant &value);
