#include "describe.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <tuple>

#include "../description/defaults.h"
#include "../model/items.h"
#include "guess.h"

namespace sim::capture {

namespace {

using Parameters = std::vector<ParameterDescription>;

auto kindOf(const ParameterDescription &p)
{
    return std::tie(p.name, p.type, p.mode, p.minimum, p.maximum, p.unit, p.exponent, p.decimals,
                    p.onLabel, p.offLabel);
}

// Start values and roles apart.
bool sameKind(const Parameters &one, const Parameters &other)
{
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [](const auto &a, const auto &b) { return kindOf(a) == kindOf(b); });
}

// The first one of those that most are like; the end when there are none.
template <class Elements, class Same> auto commonest(const Elements &all, Same same)
{
    const auto countLike = [&](const auto &one) {
        return std::count_if(all.begin(), all.end(),
                             [&](const auto &other) { return same(one, other); });
    };
    return std::max_element(all.begin(), all.end(), [&](const auto &one, const auto &other) {
        return countLike(one) < countLike(other);
    });
}

// Those who have a model's parameters, and where their own start values go.
using Users = std::vector<std::pair<const SeenLevel *, StartValues *>>;

// Gives the parameters of a model the commonest values of those who have it, and
// them what differs.
void share(Parameters &parameters, const Users &users)
{
    for (size_t index = 0; index < parameters.size(); ++index) {
        auto &parameter = parameters[index];
        if (isLive(parameter.role))
            continue;
        std::vector<Value> values;
        for (const auto &[level, start] : users)
            if (level->values[index])
                values.push_back(*level->values[index]);
        if (const auto best = commonest(values, std::equal_to<>()); best != values.end())
            parameter.start = *best;
        for (const auto &[level, start] : users)
            if (level->values[index] && *level->values[index] != parameter.start)
                (*start)[parameter.name] = *level->values[index];
    }
}

void guessRoles(Parameters &parameters, bool ofChannels)
{
    std::set<Role> used;
    for (auto &parameter : parameters) {
        const Role role = guessRole(parameter, ofChannels);
        if (role != Role::None && used.insert(role).second)
            parameter.role = role;
    }
}

// The value of the parameter with the role in its base unit, 0 when not known.
double measured(const Parameters &parameters, const SeenLevel &level, Role role)
{
    for (size_t index = 0; index < parameters.size(); ++index)
        if (parameters[index].role == role && level.values[index])
            return toNumber(*level.values[index]) * unitFactor(parameters[index]);
    return 0;
}

double threeDigits(double number)
{
    const double step = std::pow(10, std::floor(std::log10(number)) - 2);
    return std::round(number / step) * step;
}

class Describer {
public:
    Describer(const SeenCrate &seen, const std::string &name) : m_seen(seen)
    {
        m_crate.name = name;
    }

    Described run()
    {
        for (auto property : m_seen.properties)
            addProperty(std::move(property));
        for (const auto &command : m_seen.commands)
            m_crate.commands.push_back({command, guessAction(command)});
        m_crate.users = {{"admin", "admin"}};
        for (const auto &seen : m_seen.slots)
            m_crate.slots.push_back(seen ? std::optional(boardOf(*seen)) : std::nullopt);
        // All boards' own models first, so that a channel unlike its board finds its like.
        forEachBoard([&](const auto &seen, auto &board) { modelChannels(seen, board); });
        describeState();
        auto lines = comment();
        return {{std::move(m_crate), {}}, std::move(lines)};
    }

private:
    void addProperty(PropertyDescription property)
    {
        const PropertyRole role = guessRole(property);
        if (role != PropertyRole::None && m_roles.insert(role).second)
            property.role = role;
        if (isLive(property.role))
            property.start = defaultStart(property.type);
        m_crate.properties.push_back(std::move(property));
    }

    // Calls it with each board seen and its description.
    template <class Function> void forEachBoard(Function function)
    {
        for (size_t slot = 0; slot < m_crate.slots.size(); ++slot)
            if (m_seen.slots[slot])
                function(*m_seen.slots[slot], *m_crate.slots[slot]);
    }

    BoardDescription boardOf(const SeenBoard &seen)
    {
        const auto &own = seen.level.parameters;
        const auto &channel = commonest(seen.channels, [](const auto &one, const auto &other) {
                                  return sameKind(one.level.parameters, other.level.parameters);
                              })->level.parameters;
        const auto fits = [&](const auto &model) {
            return model.name == seen.slot.model && sameKind(model.board, own) &&
                   sameKind(model.channel, channel);
        };
        BoardDescription board{modelKey(fits, seen.slot.model, own, channel),
                               seen.slot.description,
                               seen.slot.serialNumber,
                               seen.slot.firmwareMajor,
                               seen.slot.firmwareMinor,
                               {},
                               {}};
        for (const auto &each : seen.channels)
            board.channels.push_back({each.name, {}, {}, {}});
        return board;
    }

    // Of the first model that fits, or of a new one.
    template <class Fits>
    std::string modelKey(Fits fits, const std::string &name, const Parameters &board,
                         const Parameters &channel)
    {
        const auto known = std::find_if(m_crate.models.begin(), m_crate.models.end(), fits);
        if (known != m_crate.models.end())
            return known->key;
        // A key has to stay within what YAML takes for one.
        constexpr size_t longestKey = 60;
        const std::string base = name.empty() ? "model" : slotText(name.c_str(), longestKey);
        std::string key = base;
        for (size_t number = 2; m_crate.findModel(key) != nullptr; ++number)
            key = base + " (" + std::to_string(number) + ")";
        m_crate.models.push_back({key, name, board, channel});
        guessRoles(m_crate.models.back().board, false);
        guessRoles(m_crate.models.back().channel, true);
        return key;
    }

    void modelChannels(const SeenBoard &seen, BoardDescription &board)
    {
        for (size_t index = 0; index < seen.channels.size(); ++index) {
            const auto &parameters = seen.channels[index].level.parameters;
            if (sameKind(m_crate.findModel(board.model)->channel, parameters))
                continue;
            const auto fits = [&](const auto &model) {
                return sameKind(model.channel, parameters);
            };
            board.channels[index].model = modelKey(fits, seen.slot.model, {}, parameters);
        }
    }

    // Start values and loads.
    void describeState()
    {
        std::map<std::string, Users> boards;
        std::map<std::string, Users> channels;
        forEachBoard([&](const SeenBoard &seen, BoardDescription &board) {
            boards[board.model].emplace_back(&seen.level, &board.start);
            for (size_t index = 0; index < board.channels.size(); ++index) {
                auto &channel = board.channels[index];
                const auto &level = seen.channels[index].level;
                const auto &model = *m_crate.channelModel(board, channel);
                channels[model.key].emplace_back(&level, &channel.start);
                estimateLoad(channel.load, model.channel, level);
            }
        });
        for (auto &model : m_crate.models) {
            share(model.board, boards[model.key]);
            share(model.channel, channels[model.key]);
        }
    }

    void estimateLoad(Load &load, const Parameters &parameters, const SeenLevel &level)
    {
        const double volts = std::abs(measured(parameters, level, Role::Voltage));
        const double amperes = std::abs(measured(parameters, level, Role::Current));
        ++m_channels;
        if (volts > 0 && amperes > 0) {
            load.ohm = threeDigits(volts / amperes);
            ++m_loads;
        }
    }

    std::vector<std::string> comment() const
    {
        std::vector<std::string> lines = {
            "The crate \"" + m_crate.name + "\" as zantocrate-capture found it.",
            "",
            "What a mainframe does not tell stands here as a guess; please check:",
            "- users: admin with password admin stands for those of the mainframe.",
            "- role, action: guessed from common names and types.",
            "- loads: estimated from voltage and current for " + std::to_string(m_loads) + " of " +
                std::to_string(m_channels) + " channels; the others are not connected.",
            "- start: write-only values and texts of boards and channels cannot be read.",
        };
        if (m_seen.leftOut.empty())
            return lines;
        lines.insert(lines.end(), {"", "Left out or changed:"});
        for (const auto &text : m_seen.leftOut)
            lines.push_back("- " + text);
        return lines;
    }

    const SeenCrate &m_seen;
    CrateDescription m_crate;
    std::set<PropertyRole> m_roles;
    size_t m_channels = 0;
    size_t m_loads = 0;
};

} // namespace

Described describe(const SeenCrate &seen, const std::string &name)
{
    return Describer(seen, name).run();
}

} // namespace sim::capture
