#include "problems.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "limits.h"

namespace sim {

namespace {

// Where something stands: for the machine and for people.
struct Place {
    std::string path;
    std::string text;

    Place at(const std::string &member) const { return {path + "/" + member, text}; }
    Place at(size_t position, const std::string &name) const
    {
        return {path + "/" + std::to_string(position), text + name};
    }
};

// What the physics reads and writes there.
bool fits(Role role, Shape shape)
{
    switch (role) {
    case Role::None: return true;
    case Role::Power:
    case Role::PowerDown:
    case Role::ClearTrip:
    case Role::BoardEnable: return shape == Shape::Unsigned;
    case Role::Status:
    case Role::BoardStatus: return shape == Shape::Signed;
    case Role::TripCause: return shape == Shape::Text;
    default: return shape == Shape::Real;
    }
}

bool fits(PropertyRole role, Shape shape)
{
    return role == PropertyRole::None ||
           (role == PropertyRole::HostAddress) == (shape == Shape::Text);
}

class Checker {
public:
    explicit Checker(const CrateDescription &description) : m_description(description) {}

    std::vector<Problem> run()
    {
        checkProperties();
        checkCommands();
        checkUsers();
        checkModels();
        checkSlots();
        return std::move(m_problems);
    }

private:
    void report(const Place &place, const std::string &what)
    {
        m_problems.push_back({place.path, place.text + ": " + what});
    }

    // ":" separates the names of a subscription.
    void checkName(const Place &place, const std::string &name, size_t limit,
                   std::set<std::string> &seen)
    {
        const Place named = place.at("name");
        if (name.empty())
            report(named, "name is empty");
        if (name.size() > limit)
            report(named, "name is longer than " + std::to_string(limit) + " characters");
        if (name.find(':') != std::string::npos || name.find('\0') != std::string::npos)
            report(named, "name contains a colon or a NUL");
        if (!seen.insert(name).second)
            report(named, "name is used twice");
    }

    // Texts that travel in a list of texts, each ended by its NUL.
    void checkText(const Place &place, const std::string &text)
    {
        if (text.size() > maxText)
            report(place, "text is longer than " + std::to_string(maxText) + " bytes");
        if (text.find('\0') != std::string::npos)
            report(place, "text contains a NUL");
    }

    void checkProperties()
    {
        std::set<std::string> seen;
        if (m_description.properties.size() > UINT16_MAX)
            report({"properties", "properties"}, "more than 65535");
        for (size_t index = 0; index < m_description.properties.size(); ++index) {
            const auto &property = m_description.properties[index];
            const Place place{"properties/" + std::to_string(index),
                              "property \"" + property.name + "\""};
            checkName(place, property.name, maxPropertyName, seen);
            checkProperty(place, property);
        }
    }

    void checkProperty(const Place &place, const PropertyDescription &property)
    {
        if (!fits(property.role, shapeOf(property.type)))
            report(place.at("role"), "role does not fit the type");
        if (shapeOf(property.type) != shapeOf(property.start))
            report(place.at("start"), "start value does not fit the type");
        else if (checkValue(
                     {{}, property.name, property.mode, shapeOf(property.type), nullptr, &property},
                     property.start) != Result::Ok)
            report(place.at("start"), "start value is out of range");
    }

    void checkCommands()
    {
        std::set<std::string> seen;
        if (m_description.commands.size() > UINT16_MAX)
            report({"commands", "commands"}, "more than 65535");
        for (size_t index = 0; index < m_description.commands.size(); ++index) {
            const auto &command = m_description.commands[index];
            checkName({"commands/" + std::to_string(index), "command \"" + command.name + "\""},
                      command.name, maxText, seen);
        }
    }

    void checkUsers()
    {
        std::set<std::string> seen;
        for (size_t index = 0; index < m_description.users.size(); ++index) {
            const auto &user = m_description.users[index];
            const Place place{"users/" + std::to_string(index), "user \"" + user.name + "\""};
            if (user.name.empty())
                report(place.at("name"), "name is empty");
            if (!seen.insert(user.name).second)
                report(place.at("name"), "name is used twice");
        }
    }

    void checkModels()
    {
        std::set<std::string> seen;
        for (size_t index = 0; index < m_description.models.size(); ++index) {
            const auto &model = m_description.models[index];
            const Place place{"models/" + std::to_string(index), "model \"" + model.key + "\""};
            if (!seen.insert(model.key).second)
                report(place.at("key"), "key is used twice");
            if (model.key.empty())
                report(place.at("key"), "key is empty");
            checkText(place.at("name"), model.name);
            checkParameters({place.path + "/board", place.text + ", board"}, model.board, false);
            checkParameters({place.path + "/channel", place.text + ", channel"}, model.channel,
                            true);
        }
    }

    void checkParameters(const Place &list, const std::vector<ParameterDescription> &parameters,
                         bool ofChannel)
    {
        std::set<std::string> seen;
        if (ofChannel)
            seen.insert("Name"); // every channel has its name as an item
        std::set<Role> roles;
        for (size_t index = 0; index < parameters.size(); ++index) {
            const auto &parameter = parameters[index];
            const Place place = list.at(index, " parameter \"" + parameter.name + "\"");
            checkName(place, parameter.name, maxParameterName, seen);
            checkParameter(place, parameter);
            const bool channelRole = parameter.role < Role::BoardStatus;
            if (parameter.role != Role::None && channelRole != ofChannel)
                report(place.at("role"), "role belongs to the other level");
            if (!fits(parameter.role, shapeOf(parameter.type)))
                report(place.at("role"), "role does not fit the type");
            if (parameter.role != Role::None && !roles.insert(parameter.role).second)
                report(place.at("role"), "role is used twice");
        }
    }

    void checkParameter(const Place &place, const ParameterDescription &parameter)
    {
        if (!std::isfinite(parameter.minimum))
            report(place.at("minimum"), "limit is not a finite number");
        if (!std::isfinite(parameter.maximum))
            report(place.at("maximum"), "limit is not a finite number");
        if (parameter.minimum > parameter.maximum)
            report(place.at("minimum"), "limits are reversed");
        checkText(place.at("on-label"), parameter.onLabel);
        checkText(place.at("off-label"), parameter.offLabel);
        checkStart(place.at("start"), parameter, parameter.start);
    }

    void checkStart(const Place &place, const ParameterDescription &parameter, const Value &start)
    {
        const Item item{{},         parameter.name, parameter.mode, shapeOf(parameter.type),
                        &parameter, nullptr};
        if (item.shape != shapeOf(start))
            report(place, "start value does not fit the type");
        else if (parameter.minimum <= parameter.maximum && checkValue(item, start) != Result::Ok)
            report(place, "start value is out of range");
    }

    void checkStartValues(const Place &place, const std::vector<ParameterDescription> &parameters,
                          const StartValues &values)
    {
        for (const auto &[name, value] : values) {
            const Place named{place.path + "/start/" + name,
                              place.text + ", start value of \"" + name + "\""};
            if (const auto *parameter = findParameter(parameters, name))
                checkStart(named, *parameter, value);
            else
                report(named, "the model has no such parameter");
        }
    }

    void checkSlots()
    {
        if (m_description.slots.size() > UINT16_MAX)
            report({"slots", "slots"}, "more than 65535");
        for (size_t slot = 0; slot < m_description.slots.size(); ++slot)
            if (m_description.slots[slot])
                checkBoard({"slots/" + std::to_string(slot), "slot " + std::to_string(slot)},
                           *m_description.slots[slot]);
    }

    void checkBoard(const Place &place, const BoardDescription &board)
    {
        checkText(place.at("description"), board.description);
        if (board.channels.empty() || board.channels.size() > UINT16_MAX)
            report(place.at("channels"), "number of channels is not from 1 to 65535");
        const ModelDescription *model = m_description.findModel(board.model);
        if (model == nullptr)
            report(place.at("model"), "model \"" + board.model + "\" is not described");
        else
            checkStartValues(place, model->board, board.start);
        const Place channels = place.at("channels");
        for (size_t index = 0; model != nullptr && index < board.channels.size(); ++index)
            checkChannel(channels.at(index, ", channel " + std::to_string(index)), board,
                         board.channels[index]);
    }

    void checkChannel(const Place &place, const BoardDescription &board,
                      const ChannelDescription &channel)
    {
        if (channel.name.size() > maxChannelName)
            report(place.at("name"),
                   "name is longer than " + std::to_string(maxChannelName) + " characters");
        if (channel.name.find('\0') != std::string::npos)
            report(place.at("name"), "name contains a NUL");
        if (const auto *model = m_description.channelModel(board, channel))
            checkStartValues(place, model->channel, channel.start);
        else
            report(place.at("model"), "model \"" + channel.model + "\" is not described");
        checkLoad(place.at("load"), channel.load);
    }

    void checkLoad(const Place &place, const Load &load)
    {
        if (!(load.ohm > 0))
            report(place.at("ohm"), "load is not above 0 ohm");
        if (!(load.farad >= 0) || std::isinf(load.farad))
            report(place.at("farad"), "capacitance is negative or not finite");
        if (!(load.noise >= 0) || std::isinf(load.noise))
            report(place.at("noise"), "noise is negative or not finite");
    }

    const CrateDescription &m_description;
    std::vector<Problem> m_problems;
};

} // namespace

std::vector<Problem> findProblems(const CrateDescription &description)
{
    return Checker(description).run();
}

} // namespace sim
