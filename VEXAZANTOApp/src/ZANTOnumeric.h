// Float to integer conversions that are defined for every input.
#pragma once

#include <cstdint>
#include <limits>

// Truncates toward zero; NaN gives 0, a value beyond the range of T its nearest bound. The
// plain C++ conversion is undefined for these, and limits and values come from the mainframe
// and from network clients.
template <typename T> T ZANTOTruncate(double value)
{
    static_assert(std::numeric_limits<T>::is_integer && sizeof(T) <= sizeof(int64_t),
                  "for integers");
    // The upper bound as a double may round up to the first value that no longer fits.
    constexpr auto lowest = static_cast<double>(std::numeric_limits<T>::min());
    constexpr T half = std::numeric_limits<T>::max() / 2 + 1;
    constexpr double beyond = 2.0 * static_cast<double>(half);
    if (value != value)
        return 0;
    if (value <= lowest)
        return std::numeric_limits<T>::min();
    if (value >= beyond)
        return std::numeric_limits<T>::max();
    return static_cast<T>(value);
}

// Narrows to the nearest float; what lies beyond the floats becomes infinite, which the plain
// C++ conversion leaves undefined.
inline float ZANTONarrow(double value)
{
    constexpr auto largest = static_cast<double>(std::numeric_limits<float>::max());
    if (value > largest)
        return std::numeric_limits<float>::infinity();
    if (value < -largest)
        return -std::numeric_limits<float>::infinity();
    return static_cast<float>(value);
}
