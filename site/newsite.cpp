#include "newsite.h"

#include <algorithm>

#include "description/channelset.h"
#include "sitefile.h"

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
    for (const std::string name : {"VMon", "IMon", "Status"}) {
        bool exists = false;
        for (const Crate &crate : crates)
            forEachList(crate, [&](const Parameters &parameters, auto *, auto *channel) {
                exists = exists || (channel != nullptr && find(parameters, name) != nullptr);
            });
        if (exists)
            list += (list.empty() ? "" : ", ") + name + ": monitor 1";
    }
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
    std::string text = head;
    text += "site: " + site::text(crates.front().name) + "\n\ncrates:\n";
    for (const Crate &crate : crates)
        text += "  - {name: " + site::text(crate.name) + ", description: \"\"}\n";
    text += middle + archive(crates) + hints + "channels:\n";
    size_t entries = 0;
    for (const Crate &crate : crates)
        for (const Board &board : crate.boards)
            if (!board.channels.empty() && ++entries > 0)
                text += "  - crate: " + site::text(crate.name) + "\n    channels: \"" +
                        channelRanges(board) + "\"\n    # name: DC:S" + std::to_string(board.slot) +
                        ":W##\n";
    if (entries == 0)
        text.replace(text.size() - 1, 1, " []\n");
    text += "\nboards:\n";
    for (const Crate &crate : crates)
        text += "  - {crate: " + site::text(crate.name) + ", slots: all, access: OPERATE}\n";
    text += "\nsystem:\n";
    for (const Crate &crate : crates)
        text += "  - {crate: " + site::text(crate.name) + ", access: OPERATE}\n";
    return text;
}

} // namespace site
