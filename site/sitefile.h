// A site file as it is written: what one group knows about the channels of its crates.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "description/field.h"
#include "description/findings.h"
#include "plan.h"

namespace site {

// What a channel's parameters do, whatever the crate calls them.
enum class Role {
    VoltageSet,
    CurrentSet,
    Voltage,
    Current,
    VoltageLimit,
    RampUp,
    RampDown,
    TripTime,
    Power,
    Status,
    TripCause,
    ClearTrip,
    Count_
};

constexpr size_t roleCount = static_cast<size_t>(Role::Count_);

// Something of the file and the line where it stands, from 1.
template <class Value> struct Placed {
    Value value{};
    int line = 0;
};

// By parameter name; "all" speaks of those that are not named.
template <class Value> using ByParameter = std::map<std::string, Placed<Value>>;

constexpr const char *allParameters = "all";

// Which positions an entry speaks of.
struct Range {
    int firstSlot = -1; // -1: the crate itself
    int lastSlot = -1;
    int firstChannel = -1; // -1: the board itself
    int lastChannel = -1;
};

// One entry of "channels", "boards" or "system".
struct Entry {
    int line = 0;
    Placed<std::string> crate; // empty: the only one
    Placed<std::vector<Range>> ranges;
    std::optional<Placed<std::string>> name; // pattern
    std::optional<int> first;                // number of the range's first channel
    std::optional<Placed<std::string>> description;
    ByParameter<AlarmLimits> limits;
    ByParameter<DriveLimits> drive;
    ByParameter<std::string> access;
    ByParameter<ArchivePolicy> archive;
    std::map<State, Placed<Severity>> states;
    std::optional<Placed<std::string>> guidance;
    std::optional<Placed<double>> delay;
    std::optional<Placed<bool>> latching;
    std::optional<Placed<bool>> annunciating;
};

struct CrateEntry {
    int line = 0;
    std::string name;
    std::string description;
};

struct SiteFile {
    std::string title;
    bool stale = false;
    std::array<std::string, roleCount> parameters; // the crate's names for the roles
    std::vector<CrateEntry> crates;
    NameLists users;
    NameLists hosts;
    std::map<std::string, Placed<AccessGroup>> groups;
    Entry defaults; // for every channel; no ranges and no name
    std::vector<Entry> channels;
    std::vector<Entry> boards;
    std::vector<Entry> system;
};

struct SiteReading {
    SiteFile file; // usable only without findings
    std::vector<sim::Finding> findings;
};

// Everything that is wrong in itself is found at once; nothing is known of a crate yet.
SiteReading readSite(const std::string &yaml);

} // namespace site
