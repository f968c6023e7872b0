#include "sitefile.h"

#include <algorithm>
#include <cmath>
#include <sstream>

#include "description/channelnames.h"
#include "description/channelset.h"
#include "pvlist/names.h"

namespace site {

namespace {

using sim::Field;
using sim::Fields;

std::optional<std::string> readText(const Field &field) { return field.text(); }

// A number that can be a limit.
std::optional<double> finite(const Field &field)
{
    const auto number = field.real<double>();
    if (!number || std::isfinite(*number))
        return number;
    field.report("\"" + field.name() + "\" is not a finite number");
    return std::nullopt;
}

std::optional<bool> readFlag(const Field &field)
{
    if (!field.isPresent())
        return std::nullopt;
    const auto value = field.scalar();
    if (const bool *flag = std::get_if<bool>(&value))
        return *flag;
    field.report("\"" + field.name() + "\" is neither true nor false");
    return std::nullopt;
}

// "0-11,14" or "all"; empty for what cannot be understood.
std::vector<Numbers> numbers(const std::string &text)
{
    if (text == "all")
        return {Numbers()};
    std::vector<Numbers> all;
    if (const auto ranges = sim::readChannelRanges(text))
        for (const auto &range : *ranges)
            all.push_back({range.first, range.last});
    return all;
}

// "3:0-11", "3:all", "3" or "all"; slots stand before the colon.
void readRanges(const Field &field, bool ofChannels, std::vector<Range> &all)
{
    const auto text = field.text();
    if (!text)
        return;
    const auto colon = ofChannels ? text->find(':') : std::string::npos;
    const auto slots = numbers(text->substr(0, colon));
    const auto channels = numbers(colon == std::string::npos ? "all" : text->substr(colon + 1));
    if (slots.empty() || channels.empty())
        return field.report("\"" + printable(*text) + "\" is not a range like " +
                            (ofChannels ? "3:0-11" : "0-15"));
    for (const auto &slot : slots)
        for (const auto &channel : channels) {
            field.findings().visit();
            all.push_back({slot, channel});
        }
}

// One range or a list of them.
Placed<std::vector<Range>> readPositions(const Field &field, bool ofChannels)
{
    Placed<std::vector<Range>> all;
    all.line = field.line();
    const auto items = field.isList() ? field.items() : std::vector<Field>{field};
    if (items.empty())
        field.report("\"" + field.name() + "\" holds no range");
    for (const auto &item : items)
        readRanges(item, ofChannels, all.value);
    return all;
}

// A run of # stands for a number.
std::optional<std::string> readName(const Field &field)
{
    auto name = field.text();
    if (name && name->empty())
        field.report("\"name\" is empty");
    if (name && name->find('#') != std::string::npos && !sim::NamePattern{*name, 0}.nameOf(0))
        field.report("name \"" + printable(*name) + "\" has more than one run of #");
    return name;
}

std::optional<Severity> readSeverity(const Field &field)
{
    const auto word = field.text();
    for (const Severity severity :
         {Severity::None, Severity::Minor, Severity::Major, Severity::Invalid})
        if (word == severityText(severity))
            return severity;
    if (word)
        field.report("\"" + printable(*word) + "\" is not one of NO_ALARM, MINOR, MAJOR, INVALID");
    return std::nullopt;
}

// Two items, or none after the reason has been reported.
std::vector<Field> readPair(const Field &field, const std::string &wanted)
{
    auto items = field.isList() ? field.items() : std::vector<Field>();
    if (items.size() == 2)
        return items;
    field.report("\"" + field.name() + "\" is not " + wanted);
    return {};
}

// A number, or a number and its severity: [1900, MAJOR].
std::optional<Threshold> readThreshold(const Field &field, Severity usual)
{
    const auto items = field.isList()
                           ? readPair(field, "a limit with its severity, as in [100, MAJOR]")
                           : std::vector<Field>{field};
    if (items.empty())
        return std::nullopt;
    const auto limit = finite(items[0]);
    const auto severity = items.size() > 1 ? readSeverity(items[1]) : usual;
    return limit && severity ? std::optional(Threshold{*limit, *severity}) : std::nullopt;
}

std::optional<AlarmLimits> readLimits(const Field &field)
{
    AlarmLimits limits;
    Fields fields(field, "alarm limits");
    std::vector<double> given;
    for (const ThresholdWords &words : thresholdWords) {
        const auto threshold = readThreshold(fields.optional(words.key), words.severity);
        if (threshold)
            given.push_back(threshold->limit);
        limits.*words.threshold = threshold;
    }
    const Field hysteresis = fields.optional("hysteresis");
    limits.hysteresis = finite(hysteresis);
    fields.finish();
    if (limits.hysteresis && *limits.hysteresis < 0)
        hysteresis.report("\"hysteresis\" is negative");
    if (!std::is_sorted(given.rbegin(), given.rend()))
        field.report("the limits of \"" + field.name() +
                     "\" are not in the order lolo, low, high, hihi");
    return limits;
}

std::optional<DriveLimits> readDrive(const Field &field)
{
    const auto items = readPair(field, "two drive limits, as in [0, 1800]");
    const auto low = items.empty() ? std::nullopt : finite(items[0]);
    const auto high = items.empty() ? std::nullopt : finite(items[1]);
    if (!low || !high)
        return std::nullopt;
    // To EPICS two equal limits are none.
    if (*low >= *high)
        field.report("the drive limits of \"" + field.name() + "\" are not in ascending order");
    return DriveLimits{*low, *high};
}

// "monitor", "monitor 0.5", "scan 60": seconds behind the word.
std::optional<ArchivePolicy> readPolicy(const Field &field)
{
    const auto text = field.text();
    if (!text)
        return std::nullopt;
    std::istringstream words(*text);
    std::string way;
    ArchivePolicy policy;
    words >> way;
    if (!words.eof())
        words >> policy.period;
    policy.scan = way == "scan";
    const bool isPeriod = policy.period >= 0.1 && policy.period <= 86400;
    if (words.eof() && !words.fail() && isPeriod && (policy.scan || way == "monitor"))
        return policy;
    field.report("\"" + printable(*text) +
                 "\" is not an archive policy like \"monitor\", \"monitor 1\" or \"scan 60\"");
    return std::nullopt;
}

// A single value stands for all parameters, where it may.
template <class Value>
void take(Fields &fields, const char *key, ByParameter<Value> &into,
          std::optional<Value> (*read)(const Field &), bool orOne)
{
    const Field field = fields.optional(key);
    const bool isOne = orOne && field.isScalar();
    for (const auto &entry : isOne ? std::vector<Field>{field} : field.entries())
        if (auto value = read(entry))
            into[isOne ? allParameters : entry.name()] = {std::move(*value), entry.line()};
}

std::map<size_t, Placed<Severity>> readStates(const Field &field)
{
    std::map<size_t, Placed<Severity>> all;
    Fields fields(field, "the states' severities");
    for (size_t state = 0; state < stateCount; ++state) {
        const Field one = fields.optional(stateWords[state].key);
        if (const auto severity = readSeverity(one))
            all[state] = {*severity, one.line()};
    }
    fields.finish();
    return all;
}

// Seconds.
std::optional<double> readDelay(const Field &field)
{
    const auto delay = finite(field);
    if (delay && (*delay < 0 || *delay > 3600))
        field.report("\"delay\" is not from 0 to 3600 s");
    return delay;
}

// What stands under the key of the map, and where.
template <class Value>
void take(Fields &fields, const char *key, std::optional<Placed<Value>> &into,
          std::optional<Value> (*read)(const Field &))
{
    const Field field = fields.optional(key);
    if (auto value = read(field))
        into = {std::move(*value), field.line()};
}

void readWhere(Fields &fields, Entry &entry)
{
    if (entry.kind == EntryKind::Defaults)
        return;
    const Field crate = fields.optional("crate");
    entry.crate = {crate.text().value_or(""), crate.line()};
    if (entry.kind == EntryKind::Boards)
        entry.ranges = readPositions(fields.required("slots"), false);
    if (entry.kind != EntryKind::Channels)
        return;
    entry.ranges = readPositions(fields.required("channels"), true);
    take(fields, "name", entry.name, readName);
    const Field first = fields.optional("first");
    entry.first = first.integer<int32_t>(0, 1000000);
    if (first.isPresent() && !entry.name)
        first.report("\"first\" counts the channels of a name, and there is none");
}

} // namespace

bool Entry::covers(int slot, int channel) const
{
    return ranges.value.empty() ||
           std::any_of(ranges.value.begin(), ranges.value.end(), [&](const Range &range) {
               return range.slots.hold(slot) && (channel < 0 || range.channels.hold(channel));
           });
}

Entry readEntry(const Field &field, EntryKind kind)
{
    const char *kinds[] = {"the defaults", "an entry for channels", "an entry for boards",
                           "an entry for the crate"};
    Entry entry;
    entry.kind = kind;
    entry.line = field.line();
    Fields fields(field, kinds[static_cast<size_t>(kind)]);
    readWhere(fields, entry);
    if (kind != EntryKind::System)
        take(fields, "description", entry.description, readText);
    take(fields, "limits", entry.limits, readLimits, false);
    take(fields, "drive", entry.drive, readDrive, false);
    take(fields, "access", entry.access, readText, true);
    take(fields, "archive", entry.archive, readPolicy, true);
    if (kind == EntryKind::Channels || kind == EntryKind::Defaults)
        entry.states = readStates(fields.optional("states"));
    take(fields, "guidance", entry.guidance, readText);
    take(fields, "delay", entry.delay, readDelay);
    take(fields, "latching", entry.latching, readFlag);
    take(fields, "annunciating", entry.annunciating, readFlag);
    fields.finish();
    return entry;
}

} // namespace site
