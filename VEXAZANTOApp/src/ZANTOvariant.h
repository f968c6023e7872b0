/// The value type of the tree: four bytes shared by all numeric types, and a text beside them.
#ifndef ZANTOVARIANT_H
#define ZANTOVARIANT_H

#include <cstdint>
#include <string>

/// Holds a number and a text at the same time and knows the type of neither. A getter reads
/// the bytes of the slot as its type and never converts: whoever reads knows what was stored.
/// A narrow setter leaves the upper bytes of the slot alone. No lock; copied freely.
class variant {
public:
    variant();

    void setValue(int32_t v);
    void setValue(int16_t v);
    /// Keeps the low 32 bits: the slot has four bytes whatever the platform's "long" is.
    void setValue(long v);
    void setValue(uint32_t v);
    void setValue(uint16_t v);
    void setValue(unsigned long v);
    void setValue(bool v);
    void setValue(float v);
    void setValue(const std::string &v);
    /// Without this a string literal would pick the bool overload.
    void setValue(const char *v);

    int32_t toInt() const;
    int16_t toShort() const;
    int32_t toLong() const;
    uint32_t toUInt() const;
    uint16_t toUShort() const;
    uint32_t toULong() const;
    /// True for any low byte but 0.
    bool toBool() const;
    float toFloat() const;
    /// The text member alone; a number is never formatted.
    std::string toString() const;

    void clear();

private:
    template <typename T> void put(T v);
    template <typename T> T get() const;

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

#endif
