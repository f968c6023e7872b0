#include "scalartext.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "utf8.h"

namespace sim {

namespace {

// What one version of YAML or another takes for something else than a text.
constexpr std::array<std::string_view, 10> words = {"y",   "n",    "yes",   "no",   "on",
                                                    "off", "true", "false", "null", "~"};

bool isLetter(char letter)
{
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z');
}

bool isDigit(char letter) { return letter >= '0' && letter <= '9'; }

char lowered(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool isWord(std::string_view text)
{
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), lowered);
    return std::find(words.begin(), words.end(), lower) != words.end();
}

// A text that begins with a digit is a number to no reader once it holds a blank.
bool goesPlain(std::string_view text)
{
    constexpr std::string_view inside = "_-./+()% #";
    if (text.empty() || text.back() == ' ' || isWord(text) || text.find(" #") != text.npos)
        return false;
    if (!isLetter(text[0]) && !(isDigit(text[0]) && text.find(' ') != text.npos))
        return false;
    return std::all_of(text.begin(), text.end(), [&](char letter) {
        return isLetter(letter) || isDigit(letter) || inside.find(letter) != inside.npos;
    });
}

uint32_t codeOf(std::string_view character)
{
    uint32_t code = static_cast<unsigned char>(character[0]);
    if (character.size() > 1)
        code &= 0xffu >> (character.size() + 1);
    for (size_t index = 1; index < character.size(); ++index)
        code = code << 6 | (character[index] & 0x3f);
    return code;
}

// Control characters, separators of lines and paragraphs, the byte order mark.
bool isSilent(uint32_t code)
{
    return code < ' ' || (code >= 0x7f && code < 0xa0) || code == 0x2028 || code == 0x2029 ||
           code == 0xfeff || code == 0xfffe || code == 0xffff;
}

std::string escaped(std::string_view character)
{
    if (character == "\"" || character == "\\")
        return "\\" + std::string(character);
    const uint32_t code = codeOf(character);
    if (!isSilent(code))
        return std::string(character);
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, code < 0x100 ? "\\x%02x" : "\\u%04x", code);
    return buffer;
}

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

std::string scalarText(std::string_view text)
{
    if (goesPlain(text))
        return std::string(text);
    const std::string harmless = harmlessUtf8(text);
    std::string result = "\"";
    for (std::string_view rest = harmless; !rest.empty();) {
        const size_t length = utf8Length(rest);
        result += escaped(rest.substr(0, length));
        rest.remove_prefix(length);
    }
    return result + "\"";
}

std::string realText(float number) { return shortest(number); }

std::string realText(double number) { return shortest(number); }

std::string commentText(std::string_view text)
{
    std::string result;
    const std::string harmless = harmlessUtf8(text);
    for (std::string_view rest = harmless; !rest.empty();) {
        const size_t length = utf8Length(rest);
        const auto character = rest.substr(0, length);
        if (isSilent(codeOf(character)))
            result += '?';
        else
            result += character;
        rest.remove_prefix(length);
    }
    return result;
}

} // namespace sim
