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
    constexpr const char *digits = "0123456789";
    constexpr size_t mostDigits = 9;
    std::vector<NamePattern> found;
    auto begin = name.find_first_of(digits);
    while (begin != std::string::npos) {
        const auto end = std::min(name.find_first_not_of(digits, begin), name.size());
        const auto number = parseInteger(name.substr(begin, end - begin));
        if (number && end - begin <= mostDigits)
            found.push_back(
                {name.substr(0, begin) + std::string(end - begin, '#') + name.substr(end),
                 static_cast<uint32_t>(*number)});
        begin = name.find_first_of(digits, end);
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
