#include "names.h"

#include <algorithm>
#include <cstdio>

#include "description/scalars.h"

namespace site {

namespace {

bool isControl(char byte) { return static_cast<unsigned char>(byte) < ' ' || byte == 0x7f; }

} // namespace

bool isRecordName(std::string_view name)
{
    return !name.empty() && name.size() <= longestRecordName &&
           std::none_of(name.begin(), name.end(), isControl) &&
           name.find_first_of(" \"'\\$.") == std::string_view::npos;
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
    std::string shown(text);
    std::replace_if(shown.begin(), shown.end(), isControl, '?');
    return shown;
}

std::string numberText(double number) { return sim::realText(number); }

std::string placeText(int slot, int channel)
{
    char text[32];
    if (channel < 0)
        std::snprintf(text, sizeof text, "%02d", slot);
    else
        std::snprintf(text, sizeof text, "%02d:%03d", slot, channel);
    return text;
}

} // namespace site
