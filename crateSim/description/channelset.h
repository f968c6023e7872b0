// Channels of a board as people write them: 3, 0-11, or several of these
// separated by commas.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

struct ChannelRange {
    uint16_t first = 0;
    uint16_t last = 0; // included
};

// Nothing for what cannot be understood or runs backwards.
std::optional<std::vector<ChannelRange>> readChannelRanges(std::string_view text);

// Folds ascending numbers.
std::vector<ChannelRange> foldChannels(const std::vector<uint16_t> &channels);

// "3" or "0-11".
std::string channelRangeText(const ChannelRange &range);

} // namespace sim
