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

// From the end, so that what is left of "$$(" is no reference either.
std::string withoutMacros(std::string text)
{
    for (std::size_t i = text.size(); i-- > 1;) {
        if (text[i - 1] == '$' && (text[i] == '(' || text[i] == '{'))
            text.erase(i - 1, 1);
    }
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
    std::string kept = withoutMacros(withoutControls(text));
    cut(kept, capacity);
    std::string escaped;
    for (const char c : kept) {
        if (c == '"' || c == '\\')
            escaped += '\\';
        escaped += c;
    }
    return escaped;
}

// A header is the only line that begins with its keyword; the rest is indented.
std::vector<std::string> ZANTORecordNames(const std::string &records)
{
    std::vector<std::string> names;
    std::size_t line = 0;
    while (line < records.size()) {
        const std::size_t end = std::min(records.find('\n', line), records.size());
        const std::size_t open = records.find('"', line);
        if (records.compare(line, 7, "record(") == 0 && open < end)
            names.push_back(records.substr(open + 1, records.find('"', open + 1) - open - 1));
        line = end + 1;
    }
    return names;
}
