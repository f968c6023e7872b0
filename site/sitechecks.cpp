#include "sitechecks.h"

#include <algorithm>

#include "pvlist/names.h"

namespace site {

namespace {

std::string namesOf(const std::vector<Crate> &crates)
{
    std::string names;
    for (const Crate &crate : crates)
        names += (names.empty() ? "" : ", ") + crate.name;
    return names;
}

// Which crate the entry speaks of, and which groups.
void checkEntry(const Entry &entry, const SiteFile &file, sim::Findings &findings)
{
    const auto &name = entry.crate.value;
    if (entry.kind != EntryKind::Defaults && name.empty() && file.crates.size() > 1)
        findings.add(entry.line, "", "there are several crates: \"crate\" has to name one");
    if (!name.empty() && named(file.crates, name) == nullptr)
        findings.add(entry.crate.line, "", "no crate is called \"" + printable(name) + "\"");
    for (const auto &[parameter, group] : entry.access)
        if (file.groups.count(group.value) == 0)
            findings.add(group.line, "",
                         "no access group is called \"" + printable(group.value) + "\"");
}

// What of a range the crate does not have; empty: nothing. Of "all" slots one with each channel is
// enough.
std::string missing(const Range &range, const Crate &crate)
{
    const bool allSlots = range.slots.last == openEnd;
    for (int slot = range.slots.first; !allSlots && slot <= range.slots.last; ++slot)
        if (crate.find(slot) == nullptr)
            return "board in slot " + std::to_string(slot);
    const bool allChannels = range.channels.last == openEnd;
    for (int channel = range.channels.first; !allChannels && channel <= range.channels.last;
         ++channel) {
        const auto lacks = [&](const Board &board) {
            return range.slots.hold(board.slot) && board.find(channel) == nullptr;
        };
        const auto lacking = std::find_if(crate.boards.begin(), crate.boards.end(), lacks);
        if (!allSlots && lacking != crate.boards.end())
            return "channel " + crate.recordOf(lacking->slot, channel);
        if (allSlots && std::all_of(crate.boards.begin(), crate.boards.end(), lacks))
            return "channel " + std::to_string(channel);
    }
    return "";
}

void checkRanges(const Entry &entry, const Crate &crate, sim::Findings &findings)
{
    for (const Range &range : entry.ranges.value)
        if (const auto what = missing(range, crate); !what.empty())
            findings.add(entry.ranges.line, "", "crate \"" + crate.name + "\" has no " + what);
}

} // namespace

Parameters channelParameters(const std::vector<Crate> &crates)
{
    Parameters all;
    for (const Crate &crate : crates)
        for (const Board &board : crate.boards)
            for (const Channel &channel : board.channels)
                all.insert(all.end(), channel.parameters.begin(), channel.parameters.end());
    return all;
}

std::vector<sim::Finding> checkCrates(const SiteFile &file, const std::vector<Crate> &crates)
{
    sim::Findings findings;
    for (const CrateEntry &entry : file.crates)
        if (named(crates, entry.name) == nullptr)
            findings.add(entry.line, "",
                         "no PV list is that of crate \"" + entry.name +
                             "\"; given: " + namesOf(crates));
    for (const Crate &crate : crates) {
        if (named(file.crates, crate.name) == nullptr)
            findings.add(0, "",
                         "has no crate \"" + crate.name + "\", of which " + crate.file + " is");
        if (named(crates, crate.name) != &crate)
            findings.add(0, "",
                         "two lists are of a crate \"" + crate.name +
                             "\": " + named(crates, crate.name)->file + " and " + crate.file);
    }
    return findings.take();
}

void checkEntries(const SiteFile &file, const std::vector<Crate> &crates, sim::Findings &findings)
{
    forEachEntry(file, [&](const Entry &entry) {
        checkEntry(entry, file, findings);
        for (const Crate &crate : crates)
            if (entry.isOf(crate.name))
                checkRanges(entry, crate, findings);
    });
    for (const auto &[line, text] : missingParameters(file.defaults, channelParameters(crates)))
        findings.add(line, "", "no channel has a " + text);
}

std::vector<sim::Finding> missingParameters(const Entry &entry, const Parameters &parameters)
{
    std::vector<sim::Finding> found;
    const auto check = [&](const auto &said, auto fits, const char *wanted) {
        for (const auto &[name, placed] : said) {
            const auto isIt = [&, &wantedName = name](const Parameter &each) {
                return each.name == wantedName && fits(each);
            };
            if (name != allParameters && std::none_of(parameters.begin(), parameters.end(), isIt))
                found.push_back(
                    {placed.line, "parameter \"" + printable(name) + "\" that can " + wanted});
        }
    };
    check(entry.limits, canHaveLimits, "have alarm limits");
    check(entry.drive, canBeDriven, "have drive limits");
    check(entry.access, canBeWritten, "be written");
    check(entry.archive, canBeRead, "be read");
    return found;
}

} // namespace site
