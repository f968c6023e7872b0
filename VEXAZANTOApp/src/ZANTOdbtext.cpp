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

bool ZANTOIsRecordName(const std::string &name)
{
    return !name.empty() && name.size() <= longestRecordName &&
           std::none_of(name.begin(), name.end(), [](char c) {
               return isControl(c) || std::strchr(" \"'.$\\", c) != nullptr;
           });
}

std::string ZANTODbValue(const std::string &text)
{
    std::string escaped;
    for (const char c : withoutMacros(withoutControls(text))) {
        if (c == '"' || c == '\\')
            escaped += '\\';
        escaped += c;
    }
    return escaped;
}

// A header is the only line that begins with its keyword; the rest is indented.
void ZANTOForEachRecord(
    std::string_view records,
    const std::function<void(std::string_view name, std::string_view type)> &use)
{
    constexpr std::string_view keyword = "record(";
    while (!records.empty()) {
        const std::string_view line = records.substr(0, records.find('\n'));
        const std::size_t comma = line.find(',');
        const std::size_t open = line.find('"');
        const std::size_t close = line.find('"', open == line.npos ? open : open + 1);
        if (line.substr(0, keyword.size()) == keyword && comma < open && close != line.npos) {
            const std::size_t type = line.find_first_not_of(' ', keyword.size());
            use(line.substr(open + 1, close - open - 1), line.substr(type, comma - type));
        }
        records.remove_prefix(std::min(line.size() + 1, records.size()));
    }
}
