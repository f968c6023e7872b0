#include "scalars.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>

namespace sim {

namespace {

template <class Number> std::string shortest(Number number)
{
    if (std::isnan(number))
        return ".nan";
    if (std::isinf(number))
        return number > 0 ? ".inf" : "-.inf";
    // The longest fixed text that is still read at a glance
    constexpr size_t glance = 12;
    char buffer[512];
    const auto fixed =
        std::to_chars(buffer, buffer + sizeof buffer, number, std::chars_format::fixed);
    if (fixed.ec == std::errc() && fixed.ptr <= buffer + glance)
        return std::string(buffer, fixed.ptr);
    const auto end =
        std::to_chars(buffer, buffer + sizeof buffer, number, std::chars_format::scientific).ptr;
    std::string text(buffer, end);
    // Not every reader takes a number without a point for one.
    const auto exponent = text.find('e');
    return text.find('.') == std::string::npos ? text.insert(exponent, ".0") : text;
}

} // namespace

std::string realText(float number) { return shortest(number); }

std::string realText(double number) { return shortest(number); }

bool needsQuotes(const std::string &text)
{
    // What one version of YAML or another takes for something else than a text.
    constexpr std::string_view words[] = {"", "y", "n", "yes", "no", "on", "off", "true", "false"};
    std::string lower;
    for (const unsigned char letter : text)
        lower += static_cast<char>(std::tolower(letter));
    if (std::find(std::begin(words), std::end(words), lower) != std::end(words))
        return true;
    const auto isBeyondAscii = [](unsigned char letter) { return letter >= 0x80; };
    const auto first = static_cast<unsigned char>(text[0]);
    return (std::isalpha(first) == 0 &&
            (std::isdigit(first) == 0 || text.find(' ') == text.npos)) ||
           std::any_of(text.begin(), text.end(), isBeyondAscii);
}

bool holdsInvisible(const std::string &text)
{
    return text.find('\x7f') != text.npos || text.find("\u2028") != text.npos ||
           text.find("\u2029") != text.npos;
}

std::string commentLine(std::string text)
{
    const auto isControl = [](unsigned char letter) { return letter < ' ' || letter == 0x7f; };
    std::replace_if(text.begin(), text.end(), isControl, '?');
    return text;
}

} // namespace sim
