// Descriptions as YAML that people like to read: a line per parameter, only what
// is not the default.
#include <algorithm>
#include <cmath>
#include <yaml-cpp/emitter.h>

#include "../model/words.h"
#include "channelnames.h"
#include "channelset.h"
#include "cratefile.h"
#include "defaults.h"
#include "scalars.h"

namespace sim {

namespace {

// The channels that are the same by a key, those apart that are as any channel is.
template <class Key>
std::vector<std::vector<uint16_t>> grouped(const std::vector<ChannelDescription> &channels, Key key)
{
    const ChannelDescription plain;
    std::vector<std::vector<uint16_t>> groups;
    for (size_t index = 0; index < channels.size(); ++index) {
        if (key(channels[index]) == key(plain))
            continue;
        auto group = std::find_if(groups.begin(), groups.end(), [&](const auto &known) {
            return key(channels[known[0]]) == key(channels[index]);
        });
        if (group == groups.end())
            group = groups.emplace(group);
        group->push_back(static_cast<uint16_t>(index));
    }
    return groups;
}

// Quotes and escapes are up to the emitter where nothing else is said here.
class Writer {
public:
    std::string run(const CrateFile &file, const std::vector<std::string> &comment)
    {
        for (const auto &line : comment) {
            if (!line.empty())
                m_out << YAML::Comment(commentLine(line));
            m_out << YAML::Newline;
        }
        const auto &crate = file.crate;
        m_out << YAML::BeginMap;
        field("name", crate.name);
        section("users", crate.users);
        section("properties", crate.properties);
        section("commands", crate.commands);
        writeModels(crate);
        m_out << YAML::Newline << YAML::Newline;
        field("slots", crate.slots.size());
        writeBoards(crate);
        if (!file.faults.empty())
            section("faults", file.faults);
        m_out << YAML::EndMap << YAML::Newline;
        return m_out.c_str();
    }

private:
    void write(const std::string &text)
    {
        if (holdsInvisible(text))
            m_out << YAML::EscapeNonAscii << YAML::DoubleQuoted;
        else if (needsQuotes(text))
            m_out << YAML::DoubleQuoted;
        m_out << text;
    }

    // A code by its word, where it has one.
    template <class Plain> void write(const Plain &value)
    {
        if constexpr (std::is_floating_point_v<Plain>)
            m_out << realText(value);
        else if constexpr (!std::is_enum_v<Plain>)
            m_out << value;
        else if (const auto word = wordOf(value); !word.empty())
            m_out << std::string(word);
        else
            m_out << static_cast<uint32_t>(value);
    }

    template <class... Alternatives> void write(const std::variant<Alternatives...> &value)
    {
        std::visit([this](const auto &each) { write(each); }, value);
    }

    template <class Value> void field(const std::string &name, const Value &value)
    {
        key(name);
        write(value);
    }

    template <class Value> void fieldIf(bool wanted, const std::string &name, const Value &value)
    {
        if (wanted)
            field(name, value);
    }

    void key(const std::string &name)
    {
        m_out << YAML::Key;
        write(name);
        m_out << YAML::Value;
    }

    template <class Fields> void line(Fields fields)
    {
        m_out << YAML::Flow << YAML::BeginMap;
        fields();
        m_out << YAML::EndMap;
    }

    // A switch by the label of its position where that says which it is: in quotes
    // a label is read as such, whatever it looks like.
    void writeStart(const ParameterDescription &p, const Value &value)
    {
        const auto *position = std::get_if<uint32_t>(&value);
        const bool isSwitch = p.type == ParamType::OnOff && position != nullptr && *position <= 1;
        const std::string &label = isSwitch && *position == 1 ? p.onLabel : p.offLabel;
        if (isSwitch && p.onLabel != p.offLabel && !label.empty())
            write(label);
        else
            write(value);
    }

    void writeFields(const ParameterDescription &p)
    {
        field("name", p.name);
        field("type", p.type);
        field("mode", p.mode);
        fieldIf(p.role != Role::None, "role", p.role);
        if (hasLimits(p.type)) {
            field("minimum", p.minimum);
            field("maximum", p.maximum);
            fieldIf(p.type == ParamType::Numeric || p.unit != Unit::None, "unit", p.unit);
            fieldIf(p.exponent != 0, "exponent", p.exponent);
        }
        fieldIf(hasDecimals(p.type) && p.decimals != 0, "decimals", p.decimals);
        if (hasLabels(p.type)) {
            field("on-label", p.onLabel);
            field("off-label", p.offLabel);
        }
        if (p.start != defaultStart(p)) {
            key("start");
            writeStart(p, p.start);
        }
    }

    void writeFields(const PropertyDescription &p)
    {
        field("name", p.name);
        field("type", p.type);
        field("mode", p.mode);
        fieldIf(p.role != PropertyRole::None, "role", p.role);
        if (p.type == PropertyType::Boolean && p.start == Value(int32_t{1}))
            field("start", true);
        else
            fieldIf(p.start != defaultStart(p.type), "start", p.start);
    }

    void writeFields(const CommandDescription &command)
    {
        field("name", command.name);
        fieldIf(command.action != Action::None, "action", command.action);
    }

    void writeFields(const User &user)
    {
        field("name", user.name);
        field("password", user.password);
    }

    void writeFields(const FaultOrder &order)
    {
        auto fields = faultFields(order);
        field("kind", fields.extract("kind").mapped());
        for (const auto &[name, value] : fields)
            field(name, value);
    }

    template <class Element>
    void list(const std::string &name, const std::vector<Element> &elements)
    {
        key(name);
        m_out << (elements.empty() ? YAML::Flow : YAML::Block) << YAML::BeginSeq;
        for (const auto &element : elements)
            line([&] { writeFields(element); });
        m_out << YAML::EndSeq;
    }

    // A list on top, after an empty line.
    template <class Element>
    void section(const std::string &name, const std::vector<Element> &elements)
    {
        m_out << YAML::Newline << YAML::Newline;
        list(name, elements);
    }

    void writeModels(const CrateDescription &crate)
    {
        m_out << YAML::Newline << YAML::Newline;
        key("models");
        m_out << (crate.models.empty() ? YAML::Flow : YAML::Block) << YAML::BeginMap;
        for (const auto &model : crate.models) {
            key(model.key);
            m_out << YAML::BeginMap;
            fieldIf(model.name != model.key, "name", model.name);
            list("board", model.board);
            list("channel", model.channel);
            m_out << YAML::EndMap;
        }
        m_out << YAML::EndMap;
    }

    void writeBoards(const CrateDescription &crate)
    {
        const bool any = std::any_of(crate.slots.begin(), crate.slots.end(),
                                     [](const auto &slot) { return slot.has_value(); });
        m_out << YAML::Newline << YAML::Newline;
        key("boards");
        m_out << (any ? YAML::Block : YAML::Flow) << YAML::BeginSeq;
        for (size_t slot = 0; slot < crate.slots.size(); ++slot)
            if (crate.slots[slot])
                writeBoard(crate, slot, *crate.slots[slot]);
        m_out << YAML::EndSeq;
    }

    void writeBoard(const CrateDescription &crate, size_t slot, const BoardDescription &board)
    {
        m_out << YAML::BeginMap;
        field("slot", slot);
        field("model", board.model);
        fieldIf(!board.description.empty(), "description", board.description);
        fieldIf(board.serialNumber != 0, "serial", board.serialNumber);
        writeFirmware(board);
        field("channels", board.channels.size());
        writeNames(board.channels);
        const ModelDescription *model = crate.findModel(board.model);
        writeStarts(board.start, model != nullptr ? &model->board : nullptr);
        writeLoads(board);
        writeSettings(crate, board);
        m_out << YAML::EndMap;
    }

    void writeFirmware(const BoardDescription &board)
    {
        if (board.firmwareMajor == 0 && board.firmwareMinor == 0)
            return;
        const std::string minor = std::to_string(board.firmwareMinor);
        field("firmware",
              std::to_string(board.firmwareMajor) + (minor.size() < 2 ? ".0" : ".") + minor);
    }

    void writeNames(const std::vector<ChannelDescription> &channels)
    {
        if (std::all_of(channels.begin(), channels.end(),
                        [](const auto &channel) { return channel.name.empty(); }))
            return;
        key("names");
        const auto pattern = patternOf(channels);
        if (!pattern)
            return writeNameList(channels);
        if (pattern->first == 0)
            return write(pattern->text);
        line([&] {
            field("pattern", pattern->text);
            field("first", pattern->first);
        });
    }

    void writeNameList(const std::vector<ChannelDescription> &channels)
    {
        constexpr size_t perLine = 6;
        m_out << YAML::Flow << YAML::BeginSeq;
        for (size_t index = 0; index < channels.size(); ++index) {
            if (index > 0 && index % perLine == 0)
                m_out << YAML::Newline;
            write(channels[index].name);
        }
        m_out << YAML::EndSeq;
    }

    // The level tells what the values are; null when there is no such model.
    void writeStarts(const StartValues &start, const std::vector<ParameterDescription> *level)
    {
        if (start.empty())
            return;
        key("start");
        line([&] {
            for (const auto &[name, value] : start) {
                key(name);
                const auto *parameter = level != nullptr ? findParameter(*level, name) : nullptr;
                if (parameter != nullptr)
                    writeStart(*parameter, value);
                else
                    write(value);
            }
        });
    }

    // An entry for each group, with what the first of its channels says.
    template <class Key, class Say>
    void writeShared(const std::string &name, const BoardDescription &board, Key keyOf, Say say)
    {
        const auto groups = grouped(board.channels, keyOf);
        if (groups.empty())
            return;
        key(name);
        m_out << YAML::BeginSeq;
        for (const auto &group : groups)
            line([&] {
                writeChannels(group);
                say(board.channels[group.front()]);
            });
        m_out << YAML::EndSeq;
    }

    void writeChannels(const std::vector<uint16_t> &channels)
    {
        const auto ranges = foldChannels(channels);
        key("channels");
        if (ranges.size() > 1)
            m_out << YAML::Flow << YAML::BeginSeq;
        for (const auto &range : ranges)
            m_out << channelRangeText(range);
        if (ranges.size() > 1)
            m_out << YAML::EndSeq;
    }

    void writeLoads(const BoardDescription &board)
    {
        const auto keyOf = [](const ChannelDescription &channel) {
            return std::tie(channel.load.ohm, channel.load.farad, channel.load.noise);
        };
        writeShared("loads", board, keyOf, [&](const ChannelDescription &channel) {
            const Load &load = channel.load;
            fieldIf(!std::isinf(load.ohm), "ohm", load.ohm);
            fieldIf(load.farad != 0, "farad", load.farad);
            fieldIf(load.noise != 0, "noise", load.noise);
        });
    }

    void writeSettings(const CrateDescription &crate, const BoardDescription &board)
    {
        const auto keyOf = [](const ChannelDescription &channel) {
            return std::tie(channel.model, channel.start);
        };
        writeShared("settings", board, keyOf, [&](const ChannelDescription &channel) {
            const ModelDescription *model = crate.channelModel(board, channel);
            fieldIf(!channel.model.empty(), "model", channel.model);
            writeStarts(channel.start, model != nullptr ? &model->channel : nullptr);
        });
    }

    YAML::Emitter m_out;
};

} // namespace

std::string writeCrate(const CrateFile &file, const std::vector<std::string> &comment)
{
    return Writer().run(file, comment);
}

} // namespace sim
