// A site file as it is written: what one group knows about the channels of its crates.
#pragma once

#include <algorithm>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "description/field.h"
#include "description/findings.h"
#include "plan.h"

namespace site {

// Something of the file and the line where it stands, from 1.
template <class Value> struct Placed {
    Value value{};
    int line = 0;
};

// By parameter name; "all" speaks of those that are not named.
template <class Value> using ByParameter = std::map<std::string, Placed<Value>>;

constexpr const char *allParameters = "all";

// What is said of the parameter by its name or, where that counts, of all; null: nothing.
template <class Value>
const Placed<Value> *saidOf(const std::string &parameter, const ByParameter<Value> &values,
                            bool allCount = true)
{
    auto found = values.find(parameter);
    if (found == values.end() && allCount)
        found = values.find(allParameters);
    return found == values.end() ? nullptr : &found->second;
}

// The last number of "all".
constexpr int openEnd = std::numeric_limits<int>::max();

// Numbers in ascending order, both ends included.
struct Numbers {
    int first = 0;
    int last = openEnd;

    bool hold(int number) const { return number >= first && number <= last; }
};

// Positions that an entry speaks of. Of entries for boards the channels mean nothing.
struct Range {
    Numbers slots;
    Numbers channels;
};

// Where an entry stands.
enum class EntryKind { Defaults, Channels, Boards, System };

// What is said of channels, boards or the crate.
struct Entry {
    EntryKind kind = EntryKind::Defaults;
    int line = 0;
    Placed<std::string> crate;               // empty: the only one
    Placed<std::vector<Range>> ranges;       // none in "system" and "defaults"
    std::optional<Placed<std::string>> name; // pattern
    // What the pattern gives the first channel of the ranges, counting on through all of them;
    // nothing: each channel its own number.
    std::optional<int> first;
    std::optional<Placed<std::string>> description;
    ByParameter<AlarmLimits> limits;
    ByParameter<DriveLimits> drive;
    ByParameter<std::string> access;
    ByParameter<ArchivePolicy> archive;
    std::map<size_t, Placed<Severity>> states; // by number
    std::optional<Placed<std::string>> guidance;
    std::optional<Placed<double>> delay;
    std::optional<Placed<bool>> latching;
    std::optional<Placed<bool>> annunciating;

    // Whether it is one of that crate's.
    bool isOf(const std::string &name) const { return crate.value.empty() || crate.value == name; }
    // Whether it speaks of the channel or, below 0, of anything in the slot.
    bool covers(int slot, int channel) const;
};

struct CrateEntry {
    int line = 0;
    std::string name;
    std::string description;
};

struct SiteFile : SiteSettings {
    std::map<std::string, std::string> parameters; // by the role's key; empty: none does that
    std::vector<CrateEntry> crates;
    Entry defaults;             // for every channel; no ranges and no name
    std::vector<Entry> entries; // of the other kinds
};

// Calls act(entry) for the defaults and each of the others.
template <class Act> void forEachEntry(const SiteFile &file, const Act &act)
{
    act(file.defaults);
    std::for_each(file.entries.begin(), file.entries.end(), act);
}

struct SiteReading {
    SiteFile file; // usable only without findings
    std::vector<sim::Finding> findings;
};

// One of the entries. Its keys are those of the kind.
Entry readEntry(const sim::Field &field, EntryKind kind);

// Everything that is wrong in itself is found at once; nothing is known of a crate yet.
SiteReading readSite(const std::string &yaml);

// The first site file of the crates, to be completed by the people who know the detector. Accepted
// as it is by check and make.
std::string newSite(const std::vector<Crate> &crates);

} // namespace site
