// Names of a board's channels after one pattern: a run of # stands for the
// channel's number, with at least as many digits.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "../model/description.h"

namespace sim {

struct NamePattern {
    std::string text;   // "CHANNEL##"
    uint32_t first = 0; // number of channel 0

    // Nothing when the text has not exactly one run of #.
    std::optional<std::string> nameOf(size_t channel) const;
};

// The pattern of all the names, if they have one.
std::optional<NamePattern> patternOf(const std::vector<ChannelDescription> &channels);

} // namespace sim
