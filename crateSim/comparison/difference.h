// Something that two descriptions of a crate disagree about, and where it is.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace sim {

struct Difference {
    enum class Kind {
        SlotEmptied,
        SlotFilled,
        BoardExchanged,
        ChannelsGone,
        ChannelName,
        ParameterGone, // or property
        Type,
        Mode,
        Unit,
        Minimum,
        Maximum,
        Other
    };

    Kind kind = Kind::Other;
    int slot = -1;                  // -1: the system
    std::vector<uint16_t> channels; // ascending; empty: the board or the system itself
    std::string parameter;          // or property; empty: it is about none
    std::string text;               // "maximum of VSet 500 -> 3000 V"
    double bound = 0;               // of Minimum and Maximum: the new one
};

// By slot, the system's first. Equal ones of several channels of a board are one.
using Differences = std::vector<Difference>;

// One line each, equal ones of several slots in one: "slots 0-3, channels 0-11: SVMax is gone".
// Control characters become question marks.
std::vector<std::string> differenceLines(const Differences &differences);

// Gathers differences of one place after the other.
class DifferenceCollector {
public:
    // To the board in the slot.
    void moveTo(int slot);
    // To channels of that board, `end` not included; none: to the board itself.
    void moveToChannels(size_t first, size_t end);

    // Of the place where it is.
    void add(Difference::Kind kind, const std::string &text, const std::string &parameter = "",
             double bound = 0);

    Differences take() { return std::move(m_found); }

private:
    int m_slot = -1;
    std::vector<uint16_t> m_channels;
    size_t m_begin = 0; // of the slot's
    Differences m_found;
};

} // namespace sim
