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

// The value seen most often, of several the first seen.
class Votes {
public:
    void add(const Value &value)
    {
        const auto found = std::find_if(m_votes.begin(), m_votes.end(),
                                        [&](const auto &each) { return each.first == value; });
        if (found == m_votes.end())
            m_votes.emplace_back(value, 1);
        else
            ++found->second;
    }

    std::optional<Value> winner() const
    {
        const auto best =
            std::max_element(m_votes.begin(), m_votes.end(),
                             [](const auto &a, const auto &b) { return a.second < b.second; });
        return best == m_votes.end() ? std::nullopt : std::optional(best->first);
    }

private:
    std::vector<std::pair<Value, size_t>> m_votes;
};

// Gives the parameters of a model the commonest values of those who have it, and
// them what differs.
void share(Parameters &parameters,
           const std::vector<std::pair<const SeenLevel *, StartValues *>> &all)
{
    for (size_t index = 0; index < parameters.size(); ++index) {
        auto &parameter = parameters[index];
        if (isLive(parameter.role))
            continue;
        Votes votes;
        for (const auto &[level, start] : all)
            if (level->values[index])
                votes.add(*level->values[index]);
        parameter.start = votes.winner().value_or(parameter.start);
        for (const auto &[level, start] : all)
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
        m_crate.slots.resize(m_seen.slots.size());
        // Whole boards first, so that a channel unlike its board finds its like.
        for (size_t slot = 0; slot < m_crate.slots.size(); ++slot)
            if (m_seen.slots[slot])
                m_crate.slots[slot] = boardOf(*m_seen.slots[slot]);
        for (size_t slot = 0; slot < m_crate.slots.size(); ++slot)
            if (m_seen.slots[slot])
                modelChannels(*m_seen.slots[slot], *m_crate.slots[slot]);
        shareValues();
        estimateLoads();
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

    // The set of parameters that most of the board's channels have.
    static const Parameters &commonestChannel(const SeenBoard &board)
    {
        const Parameters *best = &board.channels.front().level.parameters;
        size_t most = 0;
        for (const auto &candidate : board.channels) {
            const auto &parameters = candidate.level.parameters;
            if (most > 0 && sameKind(parameters, *best))
                continue;
            const auto like = [&](const auto &other) {
                return sameKind(parameters, other.level.parameters);
            };
            const auto count = static_cast<size_t>(
                std::count_if(board.channels.begin(), board.channels.end(), like));
            if (count > most) {
                best = &parameters;
                most = count;
            }
        }
        return *best;
    }

    BoardDescription boardOf(const SeenBoard &seen)
    {
        const auto &channel = commonestChannel(seen);
        const auto known =
            std::find_if(m_crate.models.begin(), m_crate.models.end(), [&](const auto &model) {
                return model.name == seen.slot.model &&
                       sameKind(model.board, seen.level.parameters) &&
                       sameKind(model.channel, channel);
            });
        BoardDescription board{known != m_crate.models.end()
                                   ? known->key
                                   : addModel(seen.slot.model, seen.level.parameters, channel),
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

    std::string addModel(const std::string &name, const Parameters &board,
                         const Parameters &channel)
    {
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
            const auto known =
                std::find_if(m_crate.models.begin(), m_crate.models.end(), [&](const auto &model) {
                    return sameKind(model.channel, parameters);
                });
            board.channels[index].model = known != m_crate.models.end()
                                              ? known->key
                                              : addModel(seen.slot.model, {}, parameters);
        }
    }

    void shareValues()
    {
        using Users = std::vector<std::pair<const SeenLevel *, StartValues *>>;
        std::map<std::string, Users> boards;
        std::map<std::string, Users> channels;
        for (size_t slot = 0; slot < m_crate.slots.size(); ++slot) {
            if (!m_crate.slots[slot])
                continue;
            auto &board = *m_crate.slots[slot];
            const auto &seen = *m_seen.slots[slot];
            boards[board.model].emplace_back(&seen.level, &board.start);
            for (size_t index = 0; index < board.channels.size(); ++index) {
                auto &channel = board.channels[index];
                channels[m_crate.channelModel(board, channel)->key].emplace_back(
                    &seen.channels[index].level, &channel.start);
            }
        }
        for (auto &model : m_crate.models) {
            share(model.board, boards[model.key]);
            share(model.channel, channels[model.key]);
        }
    }

    void estimateLoads()
    {
        for (size_t slot = 0; slot < m_crate.slots.size(); ++slot) {
            if (!m_crate.slots[slot])
                continue;
            auto &board = *m_crate.slots[slot];
            for (size_t index = 0; index < board.channels.size(); ++index) {
                auto &channel = board.channels[index];
                const auto &parameters = m_crate.channelModel(board, channel)->channel;
                const auto &level = m_seen.slots[slot]->channels[index].level;
                const double volts = std::abs(measured(parameters, level, Role::Voltage));
                const double amperes = std::abs(measured(parameters, level, Role::Current));
                ++m_channels;
                if (volts > 0 && amperes > 0) {
                    channel.load.ohm = threeDigits(volts / amperes);
                    ++m_loads;
                }
            }
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
