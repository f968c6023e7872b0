// The value type of the tree: four bytes shared by all numeric types, and a text beside them.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

// Holds a number and a text at the same time and knows the type of neither. A getter reads
// the bytes of the slot as its type and never converts: whoever reads knows what was stored.
// A narrow setter leaves the upper bytes of the slot alone. No lock; copied freely.
class variant {
public:
    variant() { value.valUInt = 0; }

    void setValue(int32_t v) { put(v); }
    void setValue(int16_t v) { put(v); }
    // Keeps the low 32 bits: the slot has four bytes whatever the platform's "long" is.
    void setValue(long v) { put(static_cast<int32_t>(v)); }
    void setValue(uint32_t v) { put(v); }
    void setValue(uint16_t v) { put(v); }
    void setValue(unsigned long v) { put(static_cast<uint32_t>(v)); }
    void setValue(bool v) { put(static_cast<uint8_t>(v ? 1 : 0)); }
    void setValue(float v) { put(v); }
    void setValue(const std::string &v) { valString = v; }
    // Without this a string literal would pick the bool overload.
    void setValue(const char *v) { valString = v != nullptr ? v : ""; }

    int32_t toInt() const { return get<int32_t>(); }
    int16_t toShort() const { return get<int16_t>(); }
    int32_t toLong() const { return get<int32_t>(); }
    uint32_t toUInt() const { return get<uint32_t>(); }
    uint16_t toUShort() const { return get<uint16_t>(); }
    uint32_t toULong() const { return get<uint32_t>(); }
    // True for any low byte but 0.
    bool toBool() const { return get<uint8_t>() != 0; }
    float toFloat() const { return get<float>(); }
    // The text member alone; a number is never formatted.
    std::string toString() const { return valString; }
    // As toString, without a copy; valid as long as the variant is and does not change.
    const std::string &text() const { return valString; }
    // Leaves the variant without a text.
    std::string takeText() { return std::exchange(valString, std::string()); }

    void clear()
    {
        value.valUInt = 0;
        valString.clear();
    }

private:
    // Reading a union through another member than the one written is undefined in C++; the bytes
    // are therefore copied in and out.
    template <typename T> void put(T v)
    {
        static_assert(sizeof(T) <= sizeof(value), "the slot has four bytes");
        std::memcpy(&value, &v, sizeof(T));
    }
    template <typename T> T get() const
    {
        T v;
        std::memcpy(&v, &value, sizeof(T));
        return v;
    }

    union {
        int32_t valInt;
        int16_t valShort;
        int32_t valLong;
        uint32_t valUInt;
        uint16_t valUShort;
        uint32_t valULong;
        float valFloat;
        uint8_t valBool; // a byte, since a C++ bool may not hold what another type left there
    } value;
    std::string valString;
};
