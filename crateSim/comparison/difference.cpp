#include "difference.h"

#include <algorithm>
#include <iterator>

#include "description/channelset.h"
#include "description/scalars.h"

namespace sim {

void DifferenceCollector::moveTo(int slot)
{
    m_slot = slot;
    m_channels.clear();
    m_begin = m_found.size();
}

void DifferenceCollector::moveToChannels(size_t first, size_t end)
{
    m_channels.clear();
    for (; first < end; ++first)
        m_channels.push_back(static_cast<uint16_t>(first));
}

void DifferenceCollector::add(Difference::Kind kind, const std::string &text,
                              const std::string &parameter, double bound)
{
    const auto begin = m_found.begin() + static_cast<std::ptrdiff_t>(m_begin);
    const auto same = std::find_if(begin, m_found.end(), [&](const auto &each) {
        return !each.channels.empty() && !m_channels.empty() && each.kind == kind &&
               each.parameter == parameter && each.text == text;
    });
    if (same == m_found.end())
        m_found.push_back({kind, m_slot, m_channels, parameter, text, bound});
    else
        same->channels.insert(same->channels.end(), m_channels.begin(), m_channels.end());
}

namespace {

// "slot 3", "slots 0-3 and 7"
std::string placesText(const std::string &what, const std::vector<uint16_t> &numbers)
{
    const auto ranges = foldChannels(numbers);
    std::string text = what + (numbers.size() > 1 ? "s " : " ");
    for (size_t index = 0; index < ranges.size(); ++index) {
        if (index > 0)
            text += index + 1 == ranges.size() ? " and " : ", ";
        text += channelRangeText(ranges[index]);
    }
    return text;
}

std::string lineOf(const Difference &difference, const std::vector<uint16_t> &slots)
{
    std::string place = slots.empty() ? "system" : placesText("slot", slots);
    if (!difference.channels.empty())
        place += ", " + placesText("channel", difference.channels);
    return commentLine(place + ": " + difference.text);
}

bool differInSlotOnly(const Difference &one, const Difference &other)
{
    return (one.slot < 0) == (other.slot < 0) && one.text == other.text &&
           one.channels == other.channels;
}

} // namespace

std::vector<std::string> differenceLines(const Differences &differences)
{
    std::vector<std::pair<const Difference *, std::vector<uint16_t>>> folded;
    for (const auto &each : differences) {
        auto same = std::find_if(folded.begin(), folded.end(), [&](const auto &known) {
            return differInSlotOnly(*known.first, each);
        });
        if (same == folded.end())
            same = folded.insert(folded.end(), {&each, {}});
        if (each.slot >= 0)
            same->second.push_back(static_cast<uint16_t>(each.slot));
    }
    std::vector<std::string> lines;
    lines.reserve(folded.size());
    for (const auto &[difference, slots] : folded)
        lines.push_back(lineOf(*difference, slots));
    return lines;
}

} // namespace sim
