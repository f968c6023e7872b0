#include "comparefiles.h"

#include <algorithm>
#include <map>

#include "description/scalars.h"

namespace site {

namespace {

using Kind = sim::Difference::Kind;

// By the line to look at.
using Reasons = std::map<int, sim::Differences>;

bool isOneOf(Kind kind, std::initializer_list<Kind> kinds)
{
    return std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
}

// Calls add(line, text) for each limit that is beyond the parameter's new bound.
template <class Add>
void checkBounds(const Entry &entry, const sim::Difference &difference, const Add &add)
{
    const bool isMaximum = difference.kind == Kind::Maximum;
    const auto check = [&](int line, const std::string &what, double limit) {
        if (isMaximum ? limit <= difference.bound : limit >= difference.bound)
            return;
        add(line, what + " of " + difference.parameter + ", " + sim::realText(limit) + ", is " +
                      (isMaximum ? "above the new maximum " : "below the new minimum ") +
                      sim::realText(difference.bound));
    };
    if (const auto *limits = saidOf(difference.parameter, entry.limits))
        for (const ThresholdWords &words : thresholdWords)
            if (const auto &threshold = limits->value.*words.threshold)
                check(limits->line, std::string("limit ") + words.limit, threshold->limit);
    // Those of all parameters are for set-points, which this one need not be.
    if (const auto *drive = saidOf(difference.parameter, entry.drive, false)) {
        check(drive->line, "lower drive limit", drive->value.low);
        check(drive->line, "upper drive limit", drive->value.high);
    }
}

// Looks at one entry for one difference that concerns it.
void examine(const Entry &entry, const sim::Difference &difference, Reasons &reasons)
{
    const auto add = [&](int line, const std::string &text) {
        reasons[line].push_back(difference);
        reasons[line].back().text = text;
    };
    const auto check = [&](const auto &placed, const std::string &what) {
        if (placed)
            add(placed->line, difference.text + "; check " + what);
    };
    const Kind kind = difference.kind;
    const std::string &parameter = difference.parameter;
    if (isOneOf(kind, {Kind::SlotEmptied, Kind::ChannelsGone}))
        add(entry.line, difference.text);
    if (isOneOf(kind, {Kind::BoardExchanged, Kind::ChannelName})) {
        check(entry.name, "the name");
        check(entry.description, "the description");
    }
    if (isOneOf(kind, {Kind::ParameterGone, Kind::Type, Kind::Mode, Kind::Unit}))
        check(saidOf(parameter, entry.drive, false), "its drive limits");
    if (isOneOf(kind, {Kind::ParameterGone, Kind::Type, Kind::Unit}))
        check(saidOf(parameter, entry.limits, kind == Kind::Unit), "its alarm limits");
    if (isOneOf(kind, {Kind::ParameterGone, Kind::Type, Kind::Mode}))
        check(saidOf(parameter, entry.access, false), "its access group");
    if (isOneOf(kind, {Kind::ParameterGone, Kind::Type}))
        check(saidOf(parameter, entry.archive, false), "its archive policy");
    if (isOneOf(kind, {Kind::Minimum, Kind::Maximum}))
        checkBounds(entry, difference, add);
}

// An entry for channels has to do with what becomes of their board too. The defaults are for
// whatever channels there are.
bool concerns(EntryKind of, const sim::Difference &difference)
{
    if (of == EntryKind::System || difference.slot < 0)
        return of == EntryKind::System && difference.slot < 0;
    if (of == EntryKind::Defaults &&
        isOneOf(difference.kind, {Kind::SlotEmptied, Kind::ChannelsGone}))
        return false;
    if (!difference.channels.empty())
        return of != EntryKind::Boards;
    return of == EntryKind::Boards ||
           isOneOf(difference.kind, {Kind::SlotEmptied, Kind::BoardExchanged});
}

// Leaves of the difference what the entry speaks of; false when that is nothing.
bool narrow(sim::Difference &difference, const Entry &entry)
{
    auto &channels = difference.channels;
    const auto isOther = [&](int channel) { return !entry.covers(difference.slot, channel); };
    if (channels.empty())
        return !isOther(-1);
    channels.erase(std::remove_if(channels.begin(), channels.end(), isOther), channels.end());
    return !channels.empty();
}

} // namespace

std::vector<sim::Finding> attention(const SiteFile &site, const std::string &crate,
                                    const sim::Differences &differences)
{
    Reasons reasons;
    forEachEntry(site, [&](const Entry &entry) {
        if (site.crates.size() > 1 && !entry.isOf(crate))
            return;
        for (const auto &difference : differences)
            if (concerns(entry.kind, difference))
                if (auto part = difference; narrow(part, entry))
                    examine(entry, part, reasons);
    });
    std::vector<sim::Finding> found;
    for (const auto &[line, all] : reasons)
        for (const auto &text : sim::differenceLines(all))
            found.push_back({line, text});
    return found;
}

} // namespace site
