#include "ZANTOdbtext.h"

#include <algorithm>

namespace {

constexpr std::size_t longestRecordName = 60; // PVNAME_STRINGSZ of EPICS base, less the NUL

bool isControl(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
}

bool endsTheLoad(char c)
{
    return isControl(c) || c == ' ' || c == '"' || c == '\'' || c == '.' || c == '$' || c == '\\';
}

bool needsCare(char c) { return isControl(c) || c == '"' || c == '$' || c == '\\'; }

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

} // namespace

bool ZANTOIsRecordName(std::string_view name, std::size_t more)
{
    return !name.empty() && name.size() + more <= longestRecordName &&
           std::none_of(name.begin(), name.end(), endsTheLoad);
}

void ZANTOAppendDbValue(std::string &text, std::string_view value)
{
    // As nearly all are.
    if (std::none_of(value.begin(), value.end(), needsCare)) {
        text.append(value);
        return;
    }
    for (const char c : withoutMacros(withoutControls(std::string(value)))) {
        if (c == '"' || c == '\\')
            text += '\\';
        text += c;
    }
}
