// What the site file makes of its crates: everything that the written files say, looked up and
// checked. Writers only format it.
#pragma once

#include <array>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "pvlist/crate.h"

namespace site {

using namespace pvlist;

enum class Severity { None, Minor, Major, Invalid };

// As EPICS writes it: "NO_ALARM", "MINOR", ...
const char *severityText(Severity severity);

struct StateWords {
    const char *key;   // in the site file: "ramping-up"
    const char *text;  // in the record: "Ramping up"
    Severity severity; // unless the site file says otherwise
};

// What a channel's status word means. A state's number, by which everything else knows it, is its
// place here, and the value of the record.
inline constexpr StateWords stateWords[] = {
    {"off", "Off", Severity::None},
    {"on", "On", Severity::None},
    {"ramping-up", "Ramping up", Severity::None},
    {"ramping-down", "Ramping down", Severity::None},
    {"over-current", "Over-current", Severity::Minor},
    {"over-voltage", "Over-voltage", Severity::Major},
    {"under-voltage", "Under-voltage", Severity::Minor},
    {"tripped", "Tripped", Severity::Major},
    {"external-trip", "External trip", Severity::Major},
    {"disabled", "Disabled", Severity::Minor},
    {"voltage-limit", "Voltage limit", Severity::Minor},
    {"under-current", "Under-current", Severity::Minor},
    {"power-failure", "Power failure", Severity::Major},
    {"over-temperature", "Over-temperature", Severity::Major},
    {"not-calibrated", "Not calibrated", Severity::Minor},
    {"unplugged", "Unplugged", Severity::Major},
};

constexpr size_t stateCount = std::size(stateWords);

// One threshold of an analog record.
struct Threshold {
    double limit = 0;
    Severity severity = Severity::None;
};

struct AlarmLimits {
    std::optional<Threshold> hihi, high, low, lolo;
    std::optional<double> hysteresis;

    bool any() const { return hihi || high || low || lolo; }
};

struct ThresholdWords {
    const char *key;   // in the site file
    const char *limit; // the record's fields
    const char *severityField;
    Severity severity; // unless the site file says otherwise
    std::optional<Threshold> AlarmLimits::*threshold;
};

// From the highest to the lowest.
inline constexpr ThresholdWords thresholdWords[] = {
    {"hihi", "HIHI", "HHSV", Severity::Major, &AlarmLimits::hihi},
    {"high", "HIGH", "HSV", Severity::Minor, &AlarmLimits::high},
    {"low", "LOW", "LSV", Severity::Minor, &AlarmLimits::low},
    {"lolo", "LOLO", "LLSV", Severity::Major, &AlarmLimits::lolo},
};

struct DriveLimits {
    double low = 0;
    double high = 0;
};

struct ArchivePolicy {
    bool scan = false;   // or on change
    double period = 1.0; // seconds
};

// How the alarm server treats the alarms of a channel or board.
struct AlarmHandling {
    std::string guidance; // empty: none
    double delay = 0;     // seconds
    bool latching = true;
    bool annunciating = false;
};

// One parameter with what the site adds to it.
struct PlannedParameter {
    const Parameter *parameter = nullptr; // of the plan's crate
    std::string alias;                    // empty: none
    std::string description;              // empty: the record keeps its own
    AlarmLimits limits;                   // of the read-back
    std::optional<DriveLimits> drive;     // of the set-point
    std::string access;                   // access security group; empty: reading only
    std::optional<ArchivePolicy> archive;

    // The name that people use: the alias or the record's.
    std::string shownName() const { return alias.empty() ? parameter->record : alias; }
    std::string shownReadBack() const;
};

// The parameters by what they do, whatever the crate calls them. Null: the crate has none.
struct ChannelRoles {
    const PlannedParameter *voltageSet = nullptr;
    const PlannedParameter *currentSet = nullptr;
    const PlannedParameter *voltage = nullptr;
    const PlannedParameter *current = nullptr;
    const PlannedParameter *voltageLimit = nullptr;
    const PlannedParameter *rampUp = nullptr;
    const PlannedParameter *rampDown = nullptr;
    const PlannedParameter *tripTime = nullptr;
    const PlannedParameter *power = nullptr;
    const PlannedParameter *status = nullptr;
    const PlannedParameter *tripCause = nullptr;
    const PlannedParameter *clearTrip = nullptr;
};

struct RoleWords {
    const char *key;   // in the site file
    const char *usual; // what the crate calls it unless the site file says otherwise
    const char *label; // on screens
    const PlannedParameter *ChannelRoles::*role;
    int columnWidth = 0; // in the table of a board, pixels; 0: not there
};

// In the order of the screens.
inline constexpr RoleWords roleWords[] = {
    {"power", "Pw", "Power", &ChannelRoles::power, 80},
    {"voltage-set", "VSet", "Voltage set", &ChannelRoles::voltageSet, 90},
    {"voltage", "VMon", "Voltage", &ChannelRoles::voltage, 100},
    {"current-set", "ISet", "Current set", &ChannelRoles::currentSet, 90},
    {"current", "IMon", "Current", &ChannelRoles::current, 100},
    {"voltage-limit", "SVMax", "Voltage limit", &ChannelRoles::voltageLimit},
    {"ramp-up", "RUp", "Ramp up", &ChannelRoles::rampUp},
    {"ramp-down", "RDwn", "Ramp down", &ChannelRoles::rampDown},
    {"trip-time", "Trip", "Trip time", &ChannelRoles::tripTime},
    {"status", "Status", "Status word", &ChannelRoles::status},
    {"trip-cause", "LastTrip", "Trip cause", &ChannelRoles::tripCause, 200},
    {"clear-trip", "ClrTrip", "Clear trip", &ChannelRoles::clearTrip},
};

// What a crate, a board and a channel have alike.
struct PlannedPart {
    std::string description; // empty: none
    std::vector<PlannedParameter> parameters;
    AlarmHandling alarm;
};

struct PlannedChannel : PlannedPart {
    int slot = 0;
    int number = 0;
    std::string record; // "HV:03:007"
    std::string name;   // "DC:S1:W07"; empty: the site has none for it
    ChannelRoles roles; // into parameters
    bool hasState = false;
    std::array<Severity, stateCount> severities{}; // by the states' numbers

    const std::string &shownName() const { return name.empty() ? record : name; }
    std::string stateRecord() const { return record + ":State"; }
    // By the name that people use. Meaningless unless hasState.
    std::string shownState() const { return shownName() + ":State"; }
};

struct PlannedBoard : PlannedPart {
    int slot = 0;
    std::string record; // "HV:03"
    std::vector<PlannedChannel> channels;

    bool hasStates() const;
};

// Summary records of a board or crate stand under these names: "HV:03:ChannelsOn".
// They exist where hasStates() holds.
constexpr const char *channelsOn = "ChannelsOn";
constexpr const char *channelsRamping = "ChannelsRamping";
constexpr const char *channelsTripped = "ChannelsTripped";
constexpr const char *worstSeverity = "WorstSeverity"; // of all States: NO_ALARM, MINOR, ...

struct PlannedCrate : PlannedPart {
    std::string name; // "HV"
    std::vector<PlannedBoard> boards;

    bool hasStates() const;
};

// A list of people or of hosts, by name.
using NameLists = std::map<std::string, std::vector<std::string>>;

struct AccessGroup {
    std::vector<std::string> users; // names of lists; empty: whoever it is
    std::vector<std::string> hosts;
    bool allFields = false; // or only values
};

// What holds for the site as a whole.
struct SiteSettings {
    std::string title;
    bool stale = false; // read-backs become INVALID when the event connection is lost
    NameLists users;
    NameLists hosts;
    std::map<std::string, AccessGroup> groups;
};

struct Plan : SiteSettings {
    std::vector<PlannedCrate> crates;
};

// A file of the folder that is written.
struct OutputFile {
    std::string path; // relative, with "/"
    std::string text;
};

using OutputFiles = std::vector<OutputFile>;

} // namespace site
