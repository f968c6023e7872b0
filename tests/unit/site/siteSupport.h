// Small sites for tests.
#pragma once

#include <string>
#include <vector>

#include "planner.h"
#include "pvlist/pvlist.h"

namespace siteTest {

constexpr const char *channelLines[] = {
    "VSet,  ao, x, x",    "ISet,  ao, x, x",  "VMon,  ai, x,  ",
    "Status,  ai, x,  ",  "Pw,  bo, x, x",    "RUp,  ao, x, x",
    "ClrTrip,  bo,  , x", "SVMax,  ao, x, x", "Label,  stringout, x, x"};

// The numbers by which clients know a channel's state.
enum State : size_t {
    Off,
    On,
    RampingUp,
    RampingDown,
    OverCurrent,
    OverVoltage,
    UnderVoltage,
    Tripped,
    ExternalTrip,
    Disabled,
    VoltageLimit,
    UnderCurrent,
    PowerFailure,
    OverTemperature,
    NotCalibrated,
    Unplugged
};

// The PV list of a crate with boards of so many channels each, in slots 0, 1, ...
inline std::string listOf(const std::string &name, const std::vector<int> &boards)
{
    std::string text = "-, -, " + name + ":ModelName,  stringin, x,  \n-, -, " + name +
                       ":OutputLevel,  ao, x, x\n-, -, " + name + ":ClearAlarm,  stringout,  , x\n";
    site::Crate names;
    names.name = name;
    for (int slot = 0; slot < static_cast<int>(boards.size()); ++slot) {
        text += std::to_string(slot) + ", -, " + names.recordOf(slot) + ":Temp,  ai, x,  \n";
        for (int channel = 0; channel < boards[static_cast<size_t>(slot)]; ++channel)
            for (const char *line : channelLines)
                text += std::to_string(slot) + ", " + std::to_string(channel) + ", " +
                        names.recordOf(slot, channel) + ":" + line + "\n";
    }
    return text;
}

inline site::Crate crateOf(const std::string &name, const std::vector<int> &boards)
{
    auto crate = site::readPvList(listOf(name, boards)).crate;
    crate.file = name + ".txt";
    return crate;
}

// "LINE: reason" of each.
inline std::vector<std::string> textsOf(const std::vector<sim::Finding> &findings)
{
    std::vector<std::string> texts;
    for (const auto &finding : findings)
        texts.push_back(std::to_string(finding.line) + ": " + finding.text);
    return texts;
}

// A site with its crates and its plan, which points into them.
class Planned {
public:
    Planned(const std::string &yaml, std::vector<site::Crate> given) : crates(std::move(given))
    {
        const auto reading = site::readSite(yaml);
        errors = textsOf(reading.findings);
        if (!errors.empty())
            return;
        auto planning = site::makePlan(reading.file, crates);
        errors = textsOf(planning.findings);
        notes = planning.notes;
        plan = std::move(planning.plan);
    }
    Planned(const Planned &) = delete;
    Planned &operator=(const Planned &) = delete;

    const site::PlannedChannel &channel(size_t slot, size_t number, size_t crate = 0) const
    {
        return plan.crates.at(crate).boards.at(slot).channels.at(number);
    }

    const std::vector<site::Crate> crates;
    site::Plan plan;
    std::vector<std::string> errors; // "LINE: reason"
    std::vector<std::string> notes;
};

inline const site::PlannedParameter &parameterOf(const site::PlannedChannel &channel,
                                                 const std::string &name)
{
    for (const auto &each : channel.parameters)
        if (each.parameter->name == name)
            return each;
    throw std::out_of_range(name);
}

// A site of the crate "HV" alone, with more lines behind it.
inline std::string siteOf(const std::string &more)
{
    return "site: Test\ncrates: [{name: HV}]\n" + more;
}

} // namespace siteTest
