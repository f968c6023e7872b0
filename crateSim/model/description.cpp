#include "description.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace sim {

const ModelDescription *CrateDescription::findModel(const std::string &model) const
{
    const auto found = std::find_if(models.begin(), models.end(),
                                    [&](const auto &each) { return each.name == model; });
    return found == models.end() ? nullptr : &*found;
}

namespace {

class Checker {
public:
    explicit Checker(const CrateDescription &description) : m_description(description) {}

    std::vector<std::string> run()
    {
        checkProperties();
        checkCommands();
        checkModels();
        checkSlots();
        return std::move(m_problems);
    }

private:
    void report(const std::string &where, const std::string &what)
    {
        m_problems.push_back(where + ": " + what);
    }

    // ":" separates the names of a subscription.
    void checkName(const std::string &where, const std::string &name, size_t limit,
                   std::set<std::string> &seen)
    {
        if (name.empty())
            report(where, "name is empty");
        if (name.size() > limit)
            report(where, "name is longer than " + std::to_string(limit) + " characters");
        if (name.find(':') != std::string::npos || name.find('\0') != std::string::npos)
            report(where, "name holds a colon or a NUL");
        if (!seen.insert(name).second)
            report(where, "name is used twice");
    }

    void checkProperties()
    {
        std::set<std::string> seen;
        for (const auto &property : m_description.properties) {
            const auto where = "property \"" + property.name + "\"";
            checkName(where, property.name, maxPropertyName, seen);
            if (shapeOf(property.type) != shapeOf(property.start))
                report(where, "start value does not fit the type");
        }
    }

    void checkCommands()
    {
        std::set<std::string> seen;
        for (const auto &command : m_description.commands)
            checkName("command \"" + command.name + "\"", command.name, maxText, seen);
    }

    void checkModels()
    {
        std::set<std::string> seen;
        for (const auto &model : m_description.models) {
            const auto where = "model \"" + model.name + "\"";
            checkName(where, model.name, maxText, seen);
            checkParameters(where + ", board", model.board, false);
            checkParameters(where + ", channel", model.channel, true);
        }
    }

    void checkParameters(const std::string &where,
                         const std::vector<ParameterDescription> &parameters, bool ofChannel)
    {
        std::set<std::string> seen;
        if (ofChannel)
            seen.insert("Name"); // every channel has its name as an item
        std::set<Role> roles;
        for (const auto &parameter : parameters) {
            const auto place = where + " parameter \"" + parameter.name + "\"";
            checkName(place, parameter.name, maxParameterName, seen);
            checkParameter(place, parameter);
            const bool channelRole = parameter.role < Role::BoardStatus;
            if (parameter.role != Role::None && channelRole != ofChannel)
                report(place, "role belongs to the other level");
            if (parameter.role != Role::None && !roles.insert(parameter.role).second)
                report(place, "role is used twice");
        }
    }

    void checkParameter(const std::string &place, const ParameterDescription &parameter)
    {
        if (shapeOf(parameter.type) != shapeOf(parameter.start))
            report(place, "start value does not fit the type");
        if (parameter.minimum > parameter.maximum)
            report(place, "limits are reversed");
        if (parameter.type == ParamType::OnOff
            && (parameter.onLabel.size() > maxText || parameter.offLabel.size() > maxText))
            report(place, "label is too long");
    }

    void checkSlots()
    {
        if (m_description.slots.size() > UINT16_MAX)
            report("slots", "more than 65535");
        for (size_t slot = 0; slot < m_description.slots.size(); ++slot)
            if (m_description.slots[slot])
                checkBoard("slot " + std::to_string(slot), *m_description.slots[slot]);
    }

    void checkBoard(const std::string &where, const BoardDescription &board)
    {
        if (!m_description.findModel(board.model))
            report(where, "model \"" + board.model + "\" is not described");
        if (board.channels.empty() || board.channels.size() > UINT16_MAX)
            report(where, "number of channels is not within 1 and 65535");
        for (size_t channel = 0; channel < board.channels.size(); ++channel)
            checkChannel(where + ", channel " + std::to_string(channel), board.channels[channel]);
    }

    void checkChannel(const std::string &where, const ChannelDescription &channel)
    {
        if (channel.name.size() > maxChannelName)
            report(where, "name is longer than " + std::to_string(maxChannelName) + " characters");
        if (!(channel.load.ohm > 0))
            report(where, "load is not above 0 ohm");
        if (!(channel.load.noise >= 0) || std::isinf(channel.load.noise))
            report(where, "noise is not a number from 0 up");
    }

    const CrateDescription &m_description;
    std::vector<std::string> m_problems;
};

} // namespace

std::vector<std::string> findProblems(const CrateDescription &description)
{
    return Checker(description).run();
}

} // namespace sim
