#include "ZANTOdbtext.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::size_t longestRecordName = 60; // PVNAME_STRINGSZ of EPICS base, less the NUL

bool isControl(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
}

bool isContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

std::string withoutControls(std::string text)
{
    text.erase(std::remove_if(text.begin(), text.end(), isControl), text.end());
    return text;
}

void cut(std::string &text, std::size_t capacity)
{
    if (text.size() <= capacity)
        return;
    while (capacity > 0 && isContinuation(text[capacity]))
        --capacity;
    text.resize(capacity);
}

} // namespace

bool ZANTOIsRecordName(const std::string &name)
{
    return !name.empty() && name.size() <= longestRecordName &&
           std::none_of(name.begin(), name.end(), [](char c) {
               return isControl(c) || std::strchr(" \"'.$\\", c) != nullptr;
           });
}

std::string ZANTODbValue(const std::string &text, std::size_t capacity)
{
    std::string kept = withoutControls(text);
    cut(kept, capacity);
    std::string escaped;
    for (std::size_t i = 0; i < kept.size(); ++i) {
        const char c = kept[i];
        const char next = i + 1 < kept.size() ? kept[i + 1] : '\0';
        if (c == '"' || c == '\\' || (c == '$' && (next == '(' || next == '{')))
            escaped += '\\';
        escaped += c;
    }
    return escaped;
}
