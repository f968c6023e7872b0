// Text that grows in one buffer, without texts in between.
#pragma once

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

template <typename... Parts> void ZANTOAppend(std::string &text, const Parts &...parts)
{
    (text.append(std::string_view(parts)), ...);
}

// As printf's "%0*d": zeros, behind a sign, fill up to `width`.
inline void ZANTOAppendNumber(std::string &text, int32_t number, std::size_t width = 1)
{
    char digits[16];
    const char *begin = digits;
    const char *const end = std::to_chars(digits, digits + sizeof(digits), number).ptr;
    const auto length = static_cast<std::size_t>(end - begin);
    if (number < 0)
        text += *begin++;
    if (length < width)
        text.append(width - length, '0');
    text.append(begin, end);
}
