#include "channelset.h"

#include <charconv>

namespace sim {

namespace {

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && text.front() == ' ')
        text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ')
        text.remove_suffix(1);
    return text;
}

std::optional<uint16_t> readChannel(std::string_view text)
{
    text = trimmed(text);
    uint16_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

std::optional<ChannelRange> readRange(std::string_view text)
{
    const auto dash = text.find('-');
    const auto first = readChannel(text.substr(0, dash));
    const auto last = dash == std::string_view::npos ? first : readChannel(text.substr(dash + 1));
    if (!first || !last || *last < *first)
        return std::nullopt;
    return ChannelRange{*first, *last};
}

} // namespace

std::optional<std::vector<ChannelRange>> readChannelRanges(std::string_view text)
{
    std::vector<ChannelRange> ranges;
    for (;;) {
        const auto comma = text.find(',');
        const auto range = readRange(text.substr(0, comma));
        if (!range)
            return std::nullopt;
        ranges.push_back(*range);
        if (comma == std::string_view::npos)
            return ranges;
        text.remove_prefix(comma + 1);
    }
}

std::vector<ChannelRange> foldChannels(const std::vector<uint16_t> &channels)
{
    std::vector<ChannelRange> ranges;
    for (const uint16_t channel : channels) {
        if (!ranges.empty() && ranges.back().last + 1 == channel)
            ranges.back().last = channel;
        else
            ranges.push_back({channel, channel});
    }
    return ranges;
}

std::string channelRangeText(const ChannelRange &range)
{
    const auto first = std::to_string(range.first);
    return range.first == range.last ? first : first + '-' + std::to_string(range.last);
}

} // namespace sim
