#include "survey.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "../description/defaults.h"
#include "../model/limits.h"
#include "vexahvwrapper.h"

namespace sim::capture {

namespace {

constexpr size_t maxFailures = 1000;

bool isReadable(Mode mode) { return mode == Mode::Read || mode == Mode::ReadWrite; }

class Surveyor {
public:
    Surveyor(Session &session, const std::function<void(size_t)> &progress)
        : m_session(session), m_progress(progress)
    {
    }

    SeenCrate run()
    {
        const auto [slots, isCut] = m_session.crateMap();
        if (isCut)
            leaveOut("VEXAHV_GetCrateMap: a text has no end; it and those after it are empty");
        readProperties();
        attempt([&] { takeCommands(m_session.commandNames()); });
        m_seen.slots.resize(slots.size());
        for (size_t index = 0; index < slots.size(); ++index)
            if (slots[index].channels > 0)
                m_seen.slots[index] = readBoard(static_cast<uint16_t>(index), slots[index]);
        return std::move(m_seen);
    }

private:
    void leaveOut(const std::string &text)
    {
        // A count beyond its list makes many of the same kind.
        if (m_seen.leftOut.empty() || m_seen.leftOut.back() != text)
            m_seen.leftOut.push_back(text);
        if (m_seen.leftOut.size() >= maxFailures)
            throw TooMuchFails(text);
    }

    std::string cut(const std::string &what, const std::string &text, size_t longest)
    {
        if (text.size() <= longest)
            return text;
        leaveOut(what + " is too long, truncated");
        return slotText(text.c_str(), longest);
    }

    // Whether it went well.
    template <class Function> bool attempt(Function function)
    {
        try {
            function();
            return true;
        } catch (const CallFailed &failure) {
            leaveOut(failure.what());
            return false;
        }
    }

    // Names that can be described, each once.
    std::vector<std::string> usable(const std::vector<std::string> &names, const std::string &what,
                                    size_t longest, std::set<std::string> seen = {})
    {
        std::vector<std::string> all;
        for (const auto &name : names) {
            const char *reason = nullptr;
            if (name.empty())
                reason = "has no name";
            else if (name.size() > longest)
                reason = "has too long a name";
            else if (name.find(':') != std::string::npos)
                reason = "has a colon in its name";
            else if (!seen.insert(name).second)
                reason = "has the name of another";
            if (reason == nullptr)
                all.push_back(name);
            else
                leaveOut(what + " \"" + name.substr(0, longest) + "\" " + reason);
        }
        return all;
    }

    void readProperties()
    {
        std::vector<std::string> names;
        attempt([&] { names = m_session.propertyNames(); });
        for (const auto &name : usable(names, "property", maxPropertyName))
            attempt([&] { readProperty(name); });
    }

    void readProperty(const std::string &name)
    {
        const auto info = m_session.propertyInfo(name);
        const auto type = static_cast<PropertyType>(info.type);
        PropertyDescription property{name, type, static_cast<Mode>(info.mode), PropertyRole::None,
                                     defaultStart(type)};
        const bool known = type <= PropertyType::Boolean;
        if (known && isReadable(property.mode))
            attempt([&] { takeValue(property, m_session.property(name, type)); });
        m_seen.properties.push_back(std::move(property));
    }

    void takeValue(PropertyDescription &property, Value value)
    {
        const Item item{{},      property.name, property.mode, shapeOf(property.type),
                        nullptr, &property};
        if (checkValue(item, value) == Result::Ok)
            property.start = std::move(value);
        else
            leaveOut("property \"" + property.name + "\": its value is out of range");
    }

    void takeCommands(const std::vector<std::string> &names)
    {
        m_seen.commands = usable(names, "command", maxText);
    }

    SeenBoard readBoard(uint16_t index, const Slot &slot)
    {
        if (m_progress)
            m_progress(index);
        SeenBoard board{slot, readLevel({index, -1}), {}};
        for (uint16_t channel = 0; channel < slot.channels; ++channel)
            board.channels.push_back(readChannel(index, channel));
        return board;
    }

    SeenChannel readChannel(uint16_t slot, uint16_t channel)
    {
        SeenChannel seen;
        const Place place{slot, channel};
        attempt([&] {
            seen.name =
                cut(place.text() + ": name", m_session.channelName(slot, channel), maxChannelName);
        });
        seen.level = readLevel(place);
        return seen;
    }

    SeenLevel readLevel(const Place &place)
    {
        SeenLevel level;
        std::vector<std::string> names;
        attempt([&] { names = m_session.parameterNames(place); });
        std::set<std::string> taken;
        if (place.channel >= 0)
            taken.insert("Name"); // the channel's name itself
        names = usable(names, place.text() + ": parameter", maxParameterName, std::move(taken));
        for (const auto &name : names)
            attempt([&] { readParameter(place, name, level); });
        return level;
    }

    void readParameter(const Place &place, const std::string &name, SeenLevel &level)
    {
        const auto type =
            static_cast<ParamType>(m_session.numberProperty<uint32_t>(place, name, "Type"));
        ParameterDescription parameter = blankParameter(type);
        parameter.name = name;
        parameter.mode = static_cast<Mode>(m_session.numberProperty<uint32_t>(place, name, "Mode"));
        if (hasLimits(type))
            readLimits(place, parameter);
        if (hasDecimals(type))
            parameter.decimals =
                m_session.numberProperty<int16_t>(place, name, VEXAHV_PROP_DECIMAL);
        if (hasLabels(type)) {
            parameter.onLabel = label(place, name, VEXAHV_PROP_ONSTATE);
            parameter.offLabel = label(place, name, VEXAHV_PROP_OFFSTATE);
        }
        parameter.start = defaultStart(parameter);
        std::optional<Value> value;
        if (type != ParamType::Text && isReadable(parameter.mode))
            attempt([&] { value = usableValue(place, parameter); });
        level.parameters.push_back(std::move(parameter));
        level.values.push_back(std::move(value));
    }

    void readLimits(const Place &place, ParameterDescription &p)
    {
        constexpr float largest = std::numeric_limits<float>::max();
        p.minimum = limit(place, p, VEXAHV_PROP_MINVAL, -largest);
        p.maximum = limit(place, p, VEXAHV_PROP_MAXVAL, largest);
        if (p.minimum > p.maximum) {
            leaveOut(about(place, p) + ": limits are reversed, exchanged");
            std::swap(p.minimum, p.maximum);
        }
        p.unit =
            static_cast<Unit>(m_session.numberProperty<uint16_t>(place, p.name, VEXAHV_PROP_UNIT));
        p.exponent = m_session.numberProperty<int16_t>(place, p.name, VEXAHV_PROP_EXP);
    }

    float limit(const Place &place, const ParameterDescription &p, const char *property,
                float instead)
    {
        const auto number = m_session.numberProperty<float>(place, p.name, property);
        if (std::isfinite(number))
            return number;
        leaveOut(about(place, p) + ": " + property + " is not a finite number, replaced");
        return instead;
    }

    std::string label(const Place &place, const std::string &name, const char *property)
    {
        return cut(place.text() + ", \"" + name + "\": " + property,
                   m_session.textProperty(place, name, property), maxText);
    }

    static std::string about(const Place &place, const ParameterDescription &parameter)
    {
        return place.text() + ", \"" + parameter.name + "\"";
    }

    std::optional<Value> usableValue(const Place &place, const ParameterDescription &p)
    {
        Value value = m_session.parameter(place, p.name, p.type);
        const Item item{{}, p.name, p.mode, shapeOf(p.type), &p, nullptr};
        if (checkValue(item, value) == Result::Ok)
            return value;
        leaveOut(about(place, p) + ": value " + toText(value) + " is outside its limits");
        return std::nullopt;
    }

    Session &m_session;
    const std::function<void(size_t)> &m_progress;
    SeenCrate m_seen;
};

} // namespace

SeenCrate survey(Session &session, const std::function<void(size_t slot)> &progress)
{
    return Surveyor(session, progress).run();
}

} // namespace sim::capture
