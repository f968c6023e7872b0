#include "ZANTOvariant.h"

#include <cstring>

variant::variant()
{
    value.valUInt = 0;
}

// Reading a union through another member than the one written is undefined in C++; the bytes
// are therefore copied in and out.
template <typename T> void variant::put(T v)
{
    static_assert(sizeof(T) <= sizeof(value), "the slot has four bytes");
    std::memcpy(&value, &v, sizeof(T));
}

template <typename T> T variant::get() const
{
    T v;
    std::memcpy(&v, &value, sizeof(T));
    return v;
}

void variant::setValue(int32_t v) { put(v); }
void variant::setValue(int16_t v) { put(v); }
void variant::setValue(long v) { put(static_cast<int32_t>(v)); }
void variant::setValue(uint32_t v) { put(v); }
void variant::setValue(uint16_t v) { put(v); }
void variant::setValue(unsigned long v) { put(static_cast<uint32_t>(v)); }
void variant::setValue(bool v) { put(static_cast<uint8_t>(v ? 1 : 0)); }
void variant::setValue(float v) { put(v); }
void variant::setValue(const std::string &v) { valString = v; }
void variant::setValue(const char *v) { valString = v != nullptr ? v : ""; }

int32_t variant::toInt() const { return get<int32_t>(); }
int16_t variant::toShort() const { return get<int16_t>(); }
int32_t variant::toLong() const { return get<int32_t>(); }
uint32_t variant::toUInt() const { return get<uint32_t>(); }
uint16_t variant::toUShort() const { return get<uint16_t>(); }
uint32_t variant::toULong() const { return get<uint32_t>(); }
bool variant::toBool() const { return get<uint8_t>() != 0; }
float variant::toFloat() const { return get<float>(); }
std::string variant::toString() const { return valString; }

void variant::clear()
{
    value.valUInt = 0;
    valString.clear();
}
