#include "names.h"

#include <algorithm>

#include "description/scalars.h"

namespace pvlist {

namespace {

bool isControl(char byte) { return static_cast<unsigned char>(byte) < ' ' || byte == 0x7f; }

} // namespace

bool isRecordName(std::string_view name)
{
    return !name.empty() && name.size() <= longestRecordName &&
           std::none_of(name.begin(), name.end(), isControl) &&
           name.find_first_of(" \"'\\$.") == std::string_view::npos;
}

bool isCrateName(std::string_view name)
{
    return isRecordName(name) && name.find('/') == std::string_view::npos;
}

std::string quotedForDatabase(std::string_view text)
{
    std::string quoted = "\"";
    for (const char byte : text) {
        if (byte == '"' || byte == '\\')
            quoted += '\\';
        if (!isControl(byte))
            quoted += byte;
    }
    return quoted + '"';
}

std::string printable(std::string_view text)
{
    constexpr size_t glance = 100;
    std::string shown(text.substr(0, glance));
    std::replace_if(shown.begin(), shown.end(), isControl, '?');
    return text.size() > glance ? shown + "..." : shown;
}

std::string numberText(double number) { return sim::realText(number); }

} // namespace pvlist
