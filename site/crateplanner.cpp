#include "crateplanner.h"

#include <algorithm>

#include "description/channelnames.h"
#include "names.h"
#include "states.h"

namespace site {

namespace {

std::set<std::string> recordsOf(const std::vector<Crate> &crates)
{
    std::set<std::string> records;
    for (const Crate &crate : crates)
        forEachList(crate, [&](const Parameters &parameters, auto...) {
            for (const Parameter &each : parameters) {
                records.insert(each.record);
                if (!each.isSetPoint())
                    continue;
                records.insert(each.record + ":RBV");
                records.insert(each.record + ":Sync");
            }
        });
    return records;
}

bool covers(const Entry &entry, const Crate &crate, int slot, int channel)
{
    if (!entry.crate.value.empty() && entry.crate.value != crate.name)
        return false;
    const auto &ranges = entry.ranges.value;
    return ranges.empty() || std::any_of(ranges.begin(), ranges.end(), [&](const Range &range) {
               return range.slots.hold(slot) && (channel < 0 || range.channels.hold(channel));
           });
}

// The text with the number for its run of "#"; the text itself without one.
std::optional<std::string> numbered(const std::string &pattern, int number)
{
    if (pattern.find('#') == std::string::npos)
        return pattern;
    return sim::NamePattern{pattern, 0}.nameOf(static_cast<size_t>(number));
}

// Explicit numbers of a range that the crate does not have.
void checkRange(const Entry &entry, const Range &range, const Crate &crate, bool ofChannels,
                sim::Findings &findings)
{
    const auto unknown = [&](const std::string &what) {
        findings.add(entry.ranges.line, "", "crate \"" + crate.name + "\" has no " + what);
    };
    const bool allSlots = range.slots.last == openEnd;
    const int lastSlot = allSlots ? -1 : range.slots.last;
    for (int slot = range.slots.first; slot <= lastSlot; ++slot) {
        const Board *board = crate.find(slot);
        if (board == nullptr)
            return unknown("board in slot " + std::to_string(slot));
        if (!ofChannels || range.channels.last == openEnd)
            continue;
        for (int channel = range.channels.first; channel <= range.channels.last; ++channel)
            if (board->find(channel) == nullptr)
                return unknown("channel " + crate.recordOf(slot, channel));
    }
}

template <class Value>
void checkNames(const ByParameter<Value> &given, const Parameters &parameters, const char *wanted,
                bool (*fits)(const Parameter &), const Choice &choice)
{
    for (const auto &[name, placed] : given) {
        if (name == allParameters)
            continue;
        const Parameter *parameter = find(parameters, name);
        if (parameter == nullptr)
            choice.report(placed.line, "has no parameter \"" + name + "\"");
        else if (!fits(*parameter))
            choice.report(placed.line, "has a parameter \"" + name + "\" that " + wanted);
    }
}

bool canHaveLimits(const Parameter &parameter)
{
    return parameter.type[0] == 'a' && parameter.readable;
}
bool canBeDriven(const Parameter &parameter) { return parameter.type == "ao"; }
bool canBeWritten(const Parameter &parameter) { return parameter.writable; }
bool canBeRead(const Parameter &parameter) { return parameter.readable; }

void checkParameters(const Entry &entry, const Parameters &parameters, const Choice &choice)
{
    checkNames(entry.limits, parameters, "has no alarm limits", canHaveLimits, choice);
    checkNames(entry.drive, parameters, "has no drive limits", canBeDriven, choice);
    checkNames(entry.access, parameters, "cannot be written", canBeWritten, choice);
    checkNames(entry.archive, parameters, "cannot be read", canBeRead, choice);
}

template <class Value> void set(Value &value, const Placed<Value> *given)
{
    if (given != nullptr)
        value = given->value;
}

AlarmHandling alarmOf(const Choice &choice)
{
    AlarmHandling alarm;
    set(alarm.guidance, choice.get(&Entry::guidance, "guidance"));
    set(alarm.delay, choice.get(&Entry::delay, "a delay"));
    set(alarm.latching, choice.get(&Entry::latching, "latching"));
    set(alarm.annunciating, choice.get(&Entry::annunciating, "annunciating"));
    return alarm;
}

// What is said of the parameter, or else of all of them if it fits.
template <class Value>
const Placed<Value> *given(const Choice &choice, ByParameter<Value> Entry::*member,
                           const Parameter &parameter, bool fits, const char *what)
{
    if (!fits)
        return nullptr;
    const auto *own = choice.get(member, parameter.name, what);
    return own != nullptr ? own : choice.get(member, allParameters, what);
}

} // namespace

CratePlanner::CratePlanner(const SiteFile &file, const std::vector<Crate> &crates,
                           sim::Findings &findings, std::vector<std::string> &notes)
    : m_file(file), m_findings(findings), m_notes(notes), m_records(recordsOf(crates))
{
}

PlannedCrate CratePlanner::plan(const Crate &crate, const CrateEntry &entry)
{
    for (const Entry &each : m_file.channels)
        for (const Range &range : each.ranges.value)
            if (covers(each, crate, range.slots.first, range.channels.first))
                checkRange(each, range, crate, true, m_findings);
    for (const Entry &each : m_file.boards)
        for (const Range &range : each.ranges.value)
            if (covers(each, crate, range.slots.first, -1))
                checkRange(each, range, crate, false, m_findings);
    PlannedCrate planned;
    planned.crate = &crate;
    planned.name = crate.name;
    planned.description = entry.description;
    planned.hasHealth = true;
    const Choice choice = chooseFor(crate, m_file.system, -1, -1, crate.parameters);
    planned.alarm = alarmOf(choice);
    planned.parameters = planParameters(crate.parameters, choice);
    for (const Board &board : crate.boards)
        planned.boards.push_back(planBoard(crate, board));
    return planned;
}

Choice CratePlanner::chooseFor(const Crate &crate, const std::vector<Entry> &entries, int slot,
                               int channel, const Parameters &parameters)
{
    Choice choice(crate.recordOf(slot, channel), channel < 0 ? nullptr : &m_file.defaults,
                  m_findings);
    for (const Entry &entry : entries)
        if (covers(entry, crate, slot, channel)) {
            choice.add(entry);
            checkParameters(entry, parameters, choice);
        }
    return choice;
}

PlannedBoard CratePlanner::planBoard(const Crate &crate, const Board &board)
{
    const Choice choice = chooseFor(crate, m_file.boards, board.slot, -1, board.parameters);
    PlannedBoard planned;
    planned.slot = board.slot;
    planned.record = crate.recordOf(board.slot);
    planned.alarm = alarmOf(choice);
    set(planned.description, choice.get(&Entry::description, "a description"));
    planned.parameters = planParameters(board.parameters, choice);
    for (const Channel &channel : board.channels)
        planned.channels.push_back(planChannel(
            crate, board, channel,
            chooseFor(crate, m_file.channels, board.slot, channel.number, channel.parameters)));
    return planned;
}

PlannedChannel CratePlanner::planChannel(const Crate &crate, const Board &board,
                                         const Channel &channel, const Choice &choice)
{
    PlannedChannel planned;
    planned.slot = board.slot;
    planned.number = channel.number;
    planned.record = crate.recordOf(board.slot, channel.number);
    planned.alarm = alarmOf(choice);
    planned.parameters = planParameters(channel.parameters, choice);
    name(planned, choice);
    const auto *description = choice.get(&Entry::description, "a description");
    if (description != nullptr)
        planned.description =
            numbered(description->value, channel.number).value_or(description->value);
    if (description != nullptr)
        describe(planned.parameters, planned.description, description->line);
    planned.roles = rolesOf(planned.parameters, m_file);
    setState(planned, choice);
    return planned;
}

std::vector<PlannedParameter> CratePlanner::planParameters(const Parameters &parameters,
                                                           const Choice &choice)
{
    std::vector<PlannedParameter> all;
    for (const Parameter &parameter : parameters) {
        PlannedParameter planned;
        planned.parameter = &parameter;
        set(planned.limits,
            given(choice, &Entry::limits, parameter, canHaveLimits(parameter), "alarm limits"));
        const auto *drive =
            given(choice, &Entry::drive, parameter, canBeDriven(parameter), "drive limits");
        if (drive != nullptr)
            planned.drive = drive->value;
        const auto *archive =
            given(choice, &Entry::archive, parameter, canBeRead(parameter), "an archive policy");
        if (archive != nullptr)
            planned.archive = archive->value;
        const auto *access =
            given(choice, &Entry::access, parameter, parameter.writable, "an access group");
        set(planned.access, access);
        if (access != nullptr && m_file.groups.count(access->value) == 0)
            m_findings.add(access->line, "", "no access group is called \"" + access->value + "\"");
        checkThresholds(planned, choice);
        checkDrive(planned, choice);
        all.push_back(std::move(planned));
    }
    return all;
}

// In findings a limit is told with what the hardware says.
void CratePlanner::checkThresholds(const PlannedParameter &planned, const Choice &choice)
{
    const Parameter &parameter = *planned.parameter;
    const auto *placed = choice.get(&Entry::limits, parameter.name, "alarm limits");
    if (placed == nullptr || !parameter.low || !parameter.high)
        return;
    const AlarmLimits &limits = planned.limits;
    for (const auto *each : {&limits.lolo, &limits.low, &limits.high, &limits.hihi})
        if (*each && ((*each)->limit < *parameter.low || (*each)->limit > *parameter.high))
            choice.report(placed->line, "has hardware limits " + numberText(*parameter.low) +
                                            " to " + numberText(*parameter.high) + " of " +
                                            parameter.name + ", and the alarm limit " +
                                            numberText((*each)->limit) + " is beyond them");
}

void CratePlanner::checkDrive(const PlannedParameter &planned, const Choice &choice)
{
    const Parameter &parameter = *planned.parameter;
    if (!planned.drive || !parameter.low || !parameter.high)
        return;
    if (planned.drive->low < *parameter.low || planned.drive->high > *parameter.high)
        choice.report(choice.get(&Entry::drive, parameter.name, "drive limits")->line,
                      "has hardware limits " + numberText(*parameter.low) + " to " +
                          numberText(*parameter.high) + " of " + parameter.name +
                          ", and the drive limits are beyond them");
}

void CratePlanner::setState(PlannedChannel &planned, const Choice &choice)
{
    for (size_t state = 0; state < stateCount; ++state) {
        const auto *severity = choice.severity(static_cast<State>(state));
        planned.severities.at(state) =
            severity != nullptr ? severity->value : stateWords().at(state).severity;
    }
    const auto *status = planned.roles.status;
    if (status == nullptr || status->parameter->type != "ai")
        return;
    const bool isTaken = m_records.count(planned.stateRecord()) != 0;
    planned.hasState = !isTaken && isRecordName(longestStateRecord(planned));
    if (!planned.hasState)
        m_notes.push_back(planned.record +
                          (isTaken ? " has a parameter called State" : " is too long a name") +
                          ": it gets no State record");
    else if (!planned.name.empty())
        claim(planned.shownState(), choice.nameEntry()->name->line);
}

// The pattern counts on through all the channels that its entry speaks of.
void CratePlanner::name(PlannedChannel &planned, const Choice &choice)
{
    const Entry *entry = choice.nameEntry();
    if (entry == nullptr)
        return;
    const int number = entry->first ? *entry->first + m_counted[entry]++ : planned.number;
    planned.name = numbered(entry->name->value, number).value_or(entry->name->value);
    for (PlannedParameter &each : planned.parameters) {
        each.alias = planned.name + ":" + each.parameter->name;
        claim(each.alias, entry->name->line);
        if (each.parameter->isSetPoint())
            claim(each.shownReadBack(), entry->name->line);
    }
}

void CratePlanner::describe(std::vector<PlannedParameter> &parameters,
                            const std::string &description, int line)
{
    for (PlannedParameter &each : parameters) {
        each.description = description + " " + each.parameter->name;
        if (each.description.size() > longestDescription)
            m_findings.add(line, "",
                           "description \"" + each.description + "\" is longer than " +
                               std::to_string(longestDescription) + " bytes");
    }
    if (description.find('$') != std::string::npos)
        m_findings.add(line, "", "a description cannot hold a dollar");
}

void CratePlanner::claim(const std::string &alias, int line)
{
    const auto complain = [&](const std::string &text) {
        m_findings.add(line, "", "name \"" + alias + "\" " + text);
    };
    if (alias.size() > longestRecordName)
        complain("is longer than " + std::to_string(longestRecordName) + " bytes");
    else if (!isRecordName(alias))
        complain("holds what no record name can: a blank, a quote, a backslash, a dollar, a dot");
    if (m_records.count(alias) != 0)
        complain("is that of a record");
    const auto [taken, isNew] = m_aliases.emplace(alias, line);
    if (!isNew)
        complain("is taken twice" + (taken->second == line
                                         ? std::string()
                                         : ", first in line " + std::to_string(taken->second)));
}

} // namespace site
