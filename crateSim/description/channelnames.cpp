#include "channelnames.h"

#include <algorithm>

#include "field.h"

namespace sim {

std::optional<std::string> NamePattern::nameOf(size_t channel) const
{
    const auto begin = text.find('#');
    if (begin == std::string::npos)
        return std::nullopt;
    const auto end = std::min(text.find_first_not_of('#', begin), text.size());
    if (text.find('#', end) != std::string::npos)
        return std::nullopt;
    std::string number = std::to_string(first + channel);
    if (number.size() < end - begin)
        number.insert(0, end - begin - number.size(), '0');
    return text.substr(0, begin) + number + text.substr(end);
}

namespace {

bool isDigit(char letter) { return letter >= '0' && letter <= '9'; }

bool hold(const NamePattern &pattern, const std::vector<ChannelDescription> &channels)
{
    for (size_t index = 0; index < channels.size(); ++index)
        if (pattern.nameOf(index) != channels[index].name)
            return false;
    return true;
}

// Every number in the first name may be the channel's.
std::vector<NamePattern> candidates(const std::string &name)
{
    std::vector<NamePattern> found;
    for (size_t begin = 0; begin < name.size();) {
        if (!isDigit(name[begin])) {
            ++begin;
            continue;
        }
        const auto end =
            std::find_if_not(name.begin() + static_cast<ptrdiff_t>(begin), name.end(), isDigit) -
            name.begin();
        const size_t length = static_cast<size_t>(end) - begin;
        const auto number = parseInteger(name.substr(begin, std::min<size_t>(length, 9)));
        if (length <= 9 && number)
            found.push_back(
                {name.substr(0, begin) + std::string(length, '#') + name.substr(begin + length),
                 static_cast<uint32_t>(*number)});
        begin += length;
    }
    return found;
}

} // namespace

std::optional<NamePattern> patternOf(const std::vector<ChannelDescription> &channels)
{
    // One name is read more easily than a pattern.
    if (channels.size() < 2)
        return std::nullopt;
    for (const auto &pattern : candidates(channels.front().name))
        if (hold(pattern, channels))
            return pattern;
    return std::nullopt;
}

} // namespace sim
