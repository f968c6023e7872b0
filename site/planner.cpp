#include "planner.h"

#include <algorithm>
#include <map>
#include <set>

#include "description/channelnames.h"
#include "mergedentry.h"
#include "pvlist/names.h"
#include "sitechecks.h"
#include "states.h"

namespace site {

namespace {

std::set<std::string> recordsOf(const std::vector<Crate> &crates)
{
    std::set<std::string> records;
    for (const Crate &crate : crates)
        forEachList(crate, [&](const Parameters &parameters, auto...) {
            for (const Parameter &each : parameters) {
                records.insert({each.record, each.readBack()});
                if (each.isSetPoint())
                    records.insert(each.record + ":Sync");
            }
        });
    return records;
}

// The text with the number for its run of "#"; the text itself unless it has one run.
std::string numbered(const std::string &pattern, int number)
{
    return sim::NamePattern{pattern, 0}.nameOf(static_cast<size_t>(number)).value_or(pattern);
}

template <class Value, class Given> void set(Value &value, const Given &given)
{
    if (given)
        value = given->value;
}

ChannelRoles rolesOf(const std::vector<PlannedParameter> &parameters, const SiteFile &file)
{
    ChannelRoles roles;
    for (const RoleWords &words : roleWords)
        for (const PlannedParameter &each : parameters)
            if (each.parameter->name == file.parameters.at(words.key))
                roles.*words.role = &each;
    return roles;
}

// Whether the hardware knows such a value.
void checkValue(double value, const Parameter &parameter, int line, const MergedEntry &said)
{
    if (parameter.low && parameter.high && (value < *parameter.low || value > *parameter.high))
        said.report(line, "hardware limits " + numberText(*parameter.low) + " to " +
                              numberText(*parameter.high) + " of " + parameter.name + "; " +
                              numberText(value) + " is beyond them");
}

PlannedParameter planParameter(const Parameter &parameter, const MergedEntry &said)
{
    PlannedParameter planned;
    planned.parameter = &parameter;
    // What is said of all parameters need not fit each.
    const auto *limits = canHaveLimits(parameter) ? saidOf(parameter.name, said.limits) : nullptr;
    const auto *drive = canBeDriven(parameter) ? saidOf(parameter.name, said.drive) : nullptr;
    set(planned.limits, limits);
    set(planned.drive, drive);
    if (canBeRead(parameter))
        set(planned.archive, saidOf(parameter.name, said.archive));
    if (canBeWritten(parameter))
        set(planned.access, saidOf(parameter.name, said.access));
    for (const ThresholdWords &words : thresholdWords)
        if (const auto &threshold = planned.limits.*words.threshold)
            checkValue(threshold->limit, parameter, limits->line, said);
    if (drive != nullptr)
        for (const double value : {planned.drive->low, planned.drive->high})
            checkValue(value, parameter, drive->line, said);
    return planned;
}

void fill(PlannedPart &planned, const Parameters &parameters, const MergedEntry &said)
{
    for (const Parameter &each : parameters)
        planned.parameters.push_back(planParameter(each, said));
    set(planned.alarm.guidance, said.guidance);
    set(planned.alarm.delay, said.delay);
    set(planned.alarm.latching, said.latching);
    set(planned.alarm.annunciating, said.annunciating);
}

// Plans one crate after the other, and sees that no name is used twice.
class CratePlanner {
public:
    CratePlanner(const SiteFile &file, const std::vector<Crate> &crates, sim::Findings &findings,
                 std::vector<std::string> &notes)
        : m_file(file), m_findings(findings), m_notes(notes), m_records(recordsOf(crates))
    {
    }

    PlannedCrate plan(const Crate &crate, const CrateEntry &entry)
    {
        const auto said = merged(crate, EntryKind::System, -1, -1, crate.parameters);
        PlannedCrate planned;
        planned.name = crate.name;
        planned.description = entry.description;
        fill(planned, crate.parameters, said);
        for (const Board &board : crate.boards)
            planned.boards.push_back(planBoard(crate, board));
        if (planned.hasStates())
            checkSums(planned.name);
        return planned;
    }

private:
    MergedEntry merged(const Crate &crate, EntryKind kind, int slot, int channel,
                       const Parameters &parameters)
    {
        MergedEntry said(crate.recordOf(slot, channel), m_findings);
        said.number = channel;
        for (const Entry &entry : m_file.entries) {
            if (entry.kind != kind || !entry.isOf(crate.name) || !entry.covers(slot, channel))
                continue;
            said.add(entry);
            // Counts on through all the channels that the entry speaks of.
            if (entry.first)
                said.number = *entry.first + m_counted[&entry]++;
            for (const auto &[line, text] : missingParameters(entry, parameters))
                said.report(line, "no " + text);
        }
        return said;
    }

    PlannedBoard planBoard(const Crate &crate, const Board &board)
    {
        const auto said = merged(crate, EntryKind::Boards, board.slot, -1, board.parameters);
        PlannedBoard planned;
        planned.slot = board.slot;
        planned.record = crate.recordOf(board.slot);
        fill(planned, board.parameters, said);
        set(planned.description, said.description);
        for (const Channel &channel : board.channels)
            planned.channels.push_back(planChannel(crate, board, channel));
        if (planned.hasStates())
            checkSums(planned.record);
        return planned;
    }

    PlannedChannel planChannel(const Crate &crate, const Board &board, const Channel &channel)
    {
        auto said =
            merged(crate, EntryKind::Channels, board.slot, channel.number, channel.parameters);
        said.add(m_file.defaults);
        PlannedChannel planned;
        planned.slot = board.slot;
        planned.number = channel.number;
        planned.record = crate.recordOf(board.slot, channel.number);
        fill(planned, channel.parameters, said);
        name(planned, said);
        describe(planned, said);
        planned.roles = rolesOf(planned.parameters, m_file);
        setState(planned, said);
        return planned;
    }

    void setState(PlannedChannel &planned, const MergedEntry &said)
    {
        for (size_t state = 0; state < stateCount; ++state)
            planned.severities.at(state) = stateWords[state].severity;
        for (const auto &[state, severity] : said.states)
            planned.severities.at(state) = severity.value;
        const auto *status = planned.roles.status;
        if (status == nullptr || status->parameter->type != "ai")
            return;
        const bool isTaken = m_records.count(planned.stateRecord()) != 0;
        planned.hasState = !isTaken && isRecordName(longestStateRecord(planned));
        if (!planned.hasState)
            m_notes.push_back(planned.record +
                              (isTaken ? " has a parameter called State" : " is too long a name") +
                              ": it gets no State record");
        else if (said.name)
            claim(planned.shownState(), said.name->line);
    }

    // A record of another type under the same name ends the loading of all that follow.
    void checkSums(const std::string &whole)
    {
        for (const char *name :
             {"Channels", channelsOn, channelsRamping, channelsTripped, worstSeverity})
            if (m_records.count(whole + ":" + name) != 0)
                m_findings.add(0, "",
                               whole + " has a parameter called " + name +
                                   ", as a sum over States is; without States (parameters: "
                                   "{status: \"\"}) there is none");
    }

    void name(PlannedChannel &planned, const MergedEntry &said)
    {
        const auto &pattern = said.name;
        if (!pattern)
            return;
        planned.name = numbered(pattern->value, said.number);
        for (PlannedParameter &each : planned.parameters) {
            each.alias = planned.name + ":" + each.parameter->name;
            claim(each.alias, pattern->line);
            if (each.parameter->isSetPoint())
                claim(each.shownReadBack(), pattern->line);
        }
    }

    void describe(PlannedChannel &planned, const MergedEntry &said)
    {
        const auto &pattern = said.description;
        if (!pattern)
            return;
        planned.description = numbered(pattern->value, said.number);
        if (planned.description.find('$') != std::string::npos)
            m_findings.add(pattern->line, "", "a description cannot hold a dollar");
        for (PlannedParameter &each : planned.parameters) {
            each.description = planned.description + " " + each.parameter->name;
            if (each.description.size() > longestDescription)
                addOnce(m_findings, pattern->line, "description \"" + each.description + "\"",
                        " is longer than " + std::to_string(longestDescription) + " bytes");
        }
    }

    void claim(const std::string &alias, int line)
    {
        const auto complain = [&](const std::string &text) {
            addOnce(m_findings, line, "name \"" + alias + "\"", " " + text);
        };
        if (alias.size() > longestRecordName)
            complain("is longer than " + std::to_string(longestRecordName) + " bytes");
        else if (!isRecordName(alias))
            complain(
                "holds what no record name can: a blank, a quote, a backslash, a dollar, a dot");
        if (m_records.count(alias) != 0)
            complain("is that of a record");
        const auto [taken, isNew] = m_aliases.emplace(alias, line);
        if (!isNew)
            complain("is taken twice" + (taken->second == line
                                             ? std::string()
                                             : ", first in line " + std::to_string(taken->second)));
    }

    const SiteFile &m_file;
    sim::Findings &m_findings;
    std::vector<std::string> &m_notes;
    const std::set<std::string> m_records; // of all crates
    std::map<std::string, int> m_aliases;  // with their lines
    // What patterns have counted, by entry.
    std::map<const Entry *, int> m_counted;
};

} // namespace

Planning makePlan(const SiteFile &file, const std::vector<Crate> &crates)
{
    Planning planning;
    planning.plan = {static_cast<const SiteSettings &>(file), {}};
    planning.findings = checkCrates(file, crates);
    if (!planning.findings.empty())
        return planning;
    sim::Findings findings;
    checkEntries(file, crates, findings);
    CratePlanner planner(file, crates, findings, planning.notes);
    for (const CrateEntry &entry : file.crates)
        planning.plan.crates.push_back(planner.plan(*named(crates, entry.name), entry));
    planning.findings = findings.take();
    return planning;
}

} // namespace site
