#include "sitefile.h"

#include "description/channelset.h"
#include "sitechecks.h"

namespace site {

namespace {

constexpr const char *head =
    R"(# Site file of zantosite: what the people of a detector know about its channels.
#
#   zantosite check SITE.yaml --pvlist FILE            tells what is wrong
#   zantosite make SITE.yaml --pvlist FILE --out DIR   writes records, rights, alarms, screens

)";

constexpr const char *middle = R"(
# Read-backs become INVALID while the crate's event connection is lost; "keep": they keep
# their last values.
stale: INVALID

# Lists of users and hosts, and groups that may write. A group without lists: everybody.
access:
  users: {}
  hosts: {}
  groups:
    OPERATE: {fields: values}

# What holds for each channel unless an entry below says otherwise.
defaults:
  access: OPERATE
)";

constexpr const char *hints = R"(
# What an entry may say:
#   name: DC:S1:W##              channel number for ##; "first: 1" counts on from 1
#   description: "Sense wire ##"   (in quotes: " #" begins a comment)
#   limits: {IMon: {hihi: [20, MAJOR], high: 15}}
#   drive: {VSet: [0, 1800]}
#   access: {Pw: EXPERT, all: OPERATE}
#   archive: {IMon: scan 60}
#   states: {off: MINOR}
#   guidance: What the shift does about an alarm
#   delay: 5
)";

// Without quotes a name may mean something else in YAML. It holds none itself.
std::string text(const std::string &value) { return "\"" + value + "\""; }

std::string archive(const std::vector<Crate> &crates)
{
    std::string list;
    const Parameters parameters = channelParameters(crates);
    for (const std::string name : {"VMon", "IMon", "Status"})
        if (find(parameters, name) != nullptr)
            list += (list.empty() ? "" : ", ") + name + ": monitor 1";
    return list.empty() ? "" : "  archive: {" + list + "}\n";
}

std::string channelRanges(const Board &board)
{
    std::vector<uint16_t> numbers;
    for (const Channel &channel : board.channels)
        numbers.push_back(static_cast<uint16_t>(channel.number));
    std::string ranges;
    for (const auto &range : sim::foldChannels(numbers))
        ranges += (ranges.empty() ? "" : ",") + sim::channelRangeText(range);
    return std::to_string(board.slot) + ":" + ranges;
}

} // namespace

std::string newSite(const std::vector<Crate> &crates)
{
    std::string names;
    std::string channels;
    std::string boards;
    std::string system;
    for (const Crate &crate : crates) {
        const std::string name = text(crate.name);
        names += "  - {name: " + name + ", description: \"\"}\n";
        boards += "  - {crate: " + name + ", slots: all, access: OPERATE}\n";
        system += "  - {crate: " + name + ", access: OPERATE}\n";
        for (const Board &board : crate.boards)
            if (!board.channels.empty())
                channels += "  - crate: " + name + "\n    channels: \"" + channelRanges(board) +
                            "\"\n    # name: DC:S" + std::to_string(board.slot) + ":W##\n";
    }
    return head + ("site: " + text(crates.front().name)) + "\n\ncrates:\n" + names + middle +
           archive(crates) + hints + "channels:" + (channels.empty() ? " []\n" : "\n" + channels) +
           "\nboards:\n" + boards + "\nsystem:\n" + system;
}

} // namespace site
