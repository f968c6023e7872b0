#include "compare.h"

#include <algorithm>

#include "comparewords.h"

namespace sim {

namespace {

using Kind = Difference::Kind;
using Parameters = std::vector<ParameterDescription>;

// ---- what the crates have in common ----

const BoardDescription *boardAt(const CrateDescription &crate, size_t slot)
{
    return slot < crate.slots.size() && crate.slots[slot] ? &*crate.slots[slot] : nullptr;
}

// Calls it with both boards of each slot, null for none; the collector is there.
template <class Compare>
void forEachSlot(const CrateDescription &before, const CrateDescription &after,
                 DifferenceCollector &found, Compare compare)
{
    const size_t slots = std::max(before.slots.size(), after.slots.size());
    for (size_t slot = 0; slot < slots; ++slot) {
        found.moveTo(static_cast<int>(slot));
        compare(boardAt(before, slot), boardAt(after, slot));
    }
}

// Parameters of a board or channel and what they start with.
struct Level {
    const Parameters &parameters;
    const StartValues &start;
};

Level levelOf(const ModelDescription *model, Parameters ModelDescription::*parameters,
              const StartValues &start)
{
    static const Parameters none;
    return {model == nullptr ? none : model->*parameters, start};
}

Level boardLevel(const CrateDescription &crate, const BoardDescription &board)
{
    return levelOf(crate.findModel(board.model), &ModelDescription::board, board.start);
}

Level channelLevel(const CrateDescription &crate, const BoardDescription &board, size_t channel)
{
    const auto &described = board.channels[channel];
    return levelOf(crate.channelModel(board, described), &ModelDescription::channel,
                   described.start);
}

// A board with its crate.
struct Board {
    const CrateDescription &crate;
    const BoardDescription &described;
};

// Calls it with both levels of the board and of each channel; the collector is there.
template <class Compare>
void forEachLevel(const Board &before, const Board &after, DifferenceCollector &found,
                  Compare compare)
{
    found.moveToChannels(0, 0);
    compare(boardLevel(before.crate, before.described), boardLevel(after.crate, after.described));
    const size_t channels =
        std::min(before.described.channels.size(), after.described.channels.size());
    for (size_t channel = 0; channel < channels; ++channel) {
        found.moveToChannels(channel, channel + 1);
        compare(channelLevel(before.crate, before.described, channel),
                channelLevel(after.crate, after.described, channel));
    }
}

template <class Named> const Named *find(const std::vector<Named> &list, const std::string &name)
{
    const auto found =
        std::find_if(list.begin(), list.end(), [&](const auto &each) { return each.name == name; });
    return found == list.end() ? nullptr : &*found;
}

// Tells those that only one list has, and calls it with each pair that both have.
template <class Named, class Compare>
void compareLists(const std::vector<Named> &before, const std::vector<Named> &after,
                  const std::string &what, DifferenceCollector &found, Compare compare)
{
    for (const auto &old : before) {
        if (const Named *now = find(after, old.name))
            compare(old, *now);
        else
            found.add(Kind::ParameterGone, what + ' ' + old.name + " is gone", old.name);
    }
    for (const auto &now : after)
        if (find(before, now.name) == nullptr)
            found.add(Kind::Other, what + ' ' + now.name + " is new", now.name);
}

void compareSystem(const CrateDescription &before, const CrateDescription &after,
                   DifferenceCollector &found)
{
    if (before.name != after.name)
        found.add(Kind::Other,
                  "name of the crate " + arrow(quoted(before.name), quoted(after.name)));
    if (before.slots.size() != after.slots.size())
        found.add(Kind::Other, "number of slots " + arrow(std::to_string(before.slots.size()),
                                                          std::to_string(after.slots.size())));
    compareLists(before.properties, after.properties, "property", found,
                 [&](const auto &old, const auto &now) { compareProperty(old, now, found); });
    compareLists(before.commands, after.commands, "command", found,
                 [](const auto &, const auto &) {});
}

// ---- boards ----

std::string identity(const Board &board)
{
    const auto *model = board.crate.findModel(board.described.model);
    const bool isNamed = model != nullptr && !model->name.empty();
    return (isNamed ? model->name : "no model name") + ", serial number " +
           std::to_string(board.described.serialNumber);
}

// Of the only board with that identity; -1 when there is none or another one too. Boards that
// tell no serial number cannot be known again.
int slotOf(const CrateDescription &crate, const std::string &wanted)
{
    int found = -1;
    for (size_t slot = 0; slot < crate.slots.size(); ++slot) {
        const auto *board = boardAt(crate, slot);
        if (board == nullptr || board->serialNumber == 0 || identity({crate, *board}) != wanted)
            continue;
        if (found >= 0)
            return -1;
        found = static_cast<int>(slot);
    }
    return found;
}

// The identity, and where the other crate has that board.
std::string movedText(const Board &board, const CrateDescription &other, const std::string &verb)
{
    const std::string text = identity(board);
    const int slot = slotOf(board.crate, text) >= 0 ? slotOf(other, text) : -1;
    return slot < 0 ? text : text + " (" + verb + " in slot " + std::to_string(slot) + ')';
}

std::string firmwareText(const BoardDescription &board)
{
    const std::string minor = std::to_string(board.firmwareMinor);
    return std::to_string(board.firmwareMajor) + '.' + (minor.size() < 2 ? "0" : "") + minor;
}

std::string filledText(const Board &board, const CrateDescription &before)
{
    const size_t channels = board.described.channels.size();
    return "filled: " + movedText(board, before, "was") + ", " + std::to_string(channels) +
           (channels == 1 ? " channel" : " channels");
}

void compareIdentity(const Board &before, const Board &after, DifferenceCollector &found)
{
    if (identity(before) != identity(after))
        found.add(Kind::BoardExchanged,
                  "board exchanged: " + arrow(movedText(before, after.crate, "now"),
                                              movedText(after, before.crate, "was")));
    const std::string firmware = firmwareText(after.described);
    if (firmwareText(before.described) != firmware)
        found.add(Kind::Other, "firmware " + arrow(firmwareText(before.described), firmware));
    const std::string &description = after.described.description;
    if (before.described.description != description)
        found.add(Kind::Other, "description " + arrow(quoted(before.described.description),
                                                      quoted(description)));
}

void compareChannels(const BoardDescription &before, const BoardDescription &after,
                     DifferenceCollector &found)
{
    const size_t fewer = std::min(before.channels.size(), after.channels.size());
    found.moveToChannels(fewer, std::max(before.channels.size(), after.channels.size()));
    if (fewer < before.channels.size())
        found.add(Kind::ChannelsGone, "gone");
    if (fewer < after.channels.size())
        found.add(Kind::Other, "new");
    for (size_t channel = 0; channel < fewer; ++channel) {
        const auto &one = before.channels[channel].name;
        const auto &other = after.channels[channel].name;
        found.moveToChannels(channel, channel + 1);
        if (one != other)
            found.add(Kind::ChannelName, "name " + arrow(quoted(one), quoted(other)));
    }
}

void compareBoards(const Board &before, const Board &after, DifferenceCollector &found)
{
    compareIdentity(before, after, found);
    compareChannels(before.described, after.described, found);
    forEachLevel(before, after, found, [&](const Level &old, const Level &now) {
        compareLists(
            old.parameters, now.parameters, "parameter", found,
            [&](const auto &one, const auto &other) { compareParameter(one, other, found); });
    });
}

} // namespace

Differences compareCrates(const CrateDescription &before, const CrateDescription &after)
{
    DifferenceCollector found;
    compareSystem(before, after, found);
    forEachSlot(before, after, found, [&](const auto *old, const auto *now) {
        if (old != nullptr && now != nullptr)
            compareBoards({before, *old}, {after, *now}, found);
        else if (old != nullptr)
            found.add(Kind::SlotEmptied, "emptied: " + movedText({before, *old}, after, "now"));
        else if (now != nullptr)
            found.add(Kind::SlotFilled, filledText({after, *now}, before));
    });
    return found.take();
}

Differences compareValues(const CrateDescription &before, const CrateDescription &after)
{
    DifferenceCollector found;
    for (const auto &now : after.properties)
        if (const auto *old = find(before.properties, now.name))
            comparePropertyValue(*old, now, found);
    const auto compareLevels = [&](const Level &old, const Level &now) {
        for (const auto &other : now.parameters)
            if (const auto *one = find(old.parameters, other.name))
                compareParameterValue(*one, startOf(*one, old.start), other,
                                      startOf(other, now.start), found);
    };
    forEachSlot(before, after, found, [&](const auto *old, const auto *now) {
        if (old != nullptr && now != nullptr)
            forEachLevel({before, *old}, {after, *now}, found, compareLevels);
    });
    return found.take();
}

} // namespace sim
