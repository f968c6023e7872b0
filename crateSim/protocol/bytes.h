// Numbers in the width and byte order in which a program gets them from the access library.
#pragma once

#include <cstring>
#include <optional>
#include <string>
#include <type_traits>

namespace sim::wire {

// The object representation of a number.
template <class Number> std::string bytesOf(Number number)
{
    static_assert(std::is_arithmetic_v<Number>);
    return std::string(reinterpret_cast<const char *>(&number), sizeof number);
}

// Nothing when the bytes have the wrong length.
template <class Number> std::optional<Number> numberOf(const std::string &bytes)
{
    Number number;
    if (bytes.size() != sizeof number)
        return std::nullopt;
    std::memcpy(&number, bytes.data(), sizeof number);
    return number;
}

} // namespace sim::wire
