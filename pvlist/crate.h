// A crate as its records show it: what a PV list or a captured crate tells.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace pvlist {

// The server's record types, for what can only be read and for the others.
struct RecordTypes {
    const char *input;
    const char *output;
};

inline constexpr RecordTypes recordTypes[] = {
    {"ai", "ao"}, {"bi", "bo"}, {"mbbiDirect", "mbboDirect"}, {"stringin", "stringout"}};

// One line of a PV list, with what the record database says of it when that is at hand.
struct Parameter {
    std::string record; // "HV:03:007:VSet"
    std::string name;   // "VSet"
    std::string type;   // "ai"
    bool readable = false;
    bool writable = false;
    std::optional<double> low; // the hardware's limits; nothing: unknown or without limits
    std::optional<double> high;
    std::string unit;
    // How values are shown, as the server's record has it: "field(EGU, \"Volt\")".
    std::vector<std::string> display;

    bool isNumeric() const { return type == "ai" || type == "ao"; }
    bool isSetPoint() const { return readable && writable; }
    // The record that follows the hardware: ":RBV" of what can be written too. Empty when
    // nothing can be read.
    std::string readBack() const;
    // That record's type: "ai" of an "ao".
    std::string readBackType() const;
};

using Parameters = std::vector<Parameter>;

// The one of that name, or null.
const Parameter *find(const Parameters &parameters, const std::string &name);

struct Channel {
    int number = 0;
    Parameters parameters;
};

struct Board {
    int slot = 0;
    Parameters parameters;
    std::vector<Channel> channels; // ascending; there may be gaps

    const Channel *find(int number) const;
};

struct Crate {
    std::string name; // with which every record begins
    std::string file; // from which it was read, for messages
    Parameters parameters;
    std::vector<Board> boards; // ascending; there may be gaps

    const Board *find(int slot) const;

    // "HV", "HV:03" or "HV:03:007": what is below 0 is left out.
    std::string recordOf(int slot, int channel = -1) const;
};

// Calls act(parameters, board, channel) for a crate, planned or not, with its own list, its
// boards' and their channels'. Board and channel are null where the list belongs to none.
template <class AnyCrate, class Act> void forEachList(AnyCrate &crate, const Act &act)
{
    using BoardPlace = decltype(&crate.boards.front());
    using ChannelPlace = decltype(&crate.boards.front().channels.front());
    act(crate.parameters, BoardPlace(), ChannelPlace());
    for (auto &board : crate.boards) {
        act(board.parameters, &board, ChannelPlace());
        for (auto &channel : board.channels)
            act(channel.parameters, &board, &channel);
    }
}

} // namespace pvlist
