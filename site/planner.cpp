#include "planner.h"

#include <algorithm>
#include <set>

#include "crateplanner.h"
#include "pvlist/names.h"

namespace site {

namespace {

// The one of that name, or null.
template <class List> auto named(const List &list, const std::string &name)
{
    const auto found =
        std::find_if(list.begin(), list.end(), [&](const auto &each) { return each.name == name; });
    return found == list.end() ? nullptr : &*found;
}

std::string namesOf(const std::vector<Crate> &crates)
{
    std::string names;
    for (const Crate &crate : crates)
        names += (names.empty() ? "" : ", ") + crate.name;
    return names;
}

void checkCrates(const SiteFile &file, const std::vector<Crate> &crates, sim::Findings &findings)
{
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
}

// Which crate the entry speaks of, and which groups.
void checkEntry(const Entry &entry, EntryKind kind, const SiteFile &file, sim::Findings &findings)
{
    const auto &name = entry.crate.value;
    if (kind != EntryKind::Defaults && name.empty() && file.crates.size() > 1)
        findings.add(entry.line, "", "there are several crates: \"crate\" has to name one");
    if (!name.empty() && named(file.crates, name) == nullptr)
        findings.add(entry.crate.line, "", "no crate is called \"" + printable(name) + "\"");
    for (const auto &[parameter, group] : entry.access)
        if (file.groups.count(group.value) == 0)
            findings.add(group.line, "",
                         "no access group is called \"" + printable(group.value) + "\"");
}

// The parameters of all channels, those that are alike once.
Parameters channelParameters(const std::vector<Crate> &crates)
{
    Parameters all;
    std::set<std::string> seen;
    for (const Crate &crate : crates)
        forEachList(crate, [&](const Parameters &list, auto *, auto *channel) {
            for (const Parameter &each : list)
                if (channel != nullptr &&
                    seen.insert(each.name + "/" + each.type + "/" + (each.readable ? "r" : ""))
                        .second)
                    all.push_back(each);
        });
    return all;
}

void checkEntries(const SiteFile &file, const std::vector<Crate> &crates, sim::Findings &findings)
{
    forEachEntry(
        file, [&](const Entry &entry, EntryKind kind) { checkEntry(entry, kind, file, findings); });
    checkParameters(file.defaults, channelParameters(crates),
                    [&](int line, const std::string &text) {
                        findings.add(line, "", "no channel has a " + text);
                    });
}

} // namespace

Planning makePlan(const SiteFile &file, const std::vector<Crate> &crates)
{
    Planning planning;
    sim::Findings findings;
    checkCrates(file, crates, findings);
    checkEntries(file, crates, findings);
    planning.plan.title = file.title;
    planning.plan.stale = file.stale;
    planning.plan.users = file.users;
    planning.plan.hosts = file.hosts;
    for (const auto &[name, group] : file.groups)
        planning.plan.groups[name] = group.value;
    planning.findings = findings.take();
    if (!planning.findings.empty())
        return planning;
    sim::Findings more;
    CratePlanner planner(file, crates, more, planning.notes);
    for (const CrateEntry &entry : file.crates)
        planning.plan.crates.push_back(planner.plan(*named(crates, entry.name), entry));
    planning.findings = more.take();
    return planning;
}

} // namespace site
