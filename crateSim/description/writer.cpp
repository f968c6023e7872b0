// Descriptions as YAML that people like to read: a line per parameter, only what
// is not usual.
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "../model/words.h"
#include "channelnames.h"
#include "channelset.h"
#include "cratefile.h"
#include "scalartext.h"
#include "usual.h"

namespace sim {

namespace {

// A word or the number of a code that has none.
template <class Code> std::string codeText(Code code)
{
    const auto word = wordOf(code);
    return word.empty() ? std::to_string(static_cast<uint64_t>(code)) : std::string(word);
}

std::string valueText(const Value &value)
{
    if (const auto *text = std::get_if<std::string>(&value))
        return scalarText(*text);
    if (const auto *real = std::get_if<float>(&value))
        return realText(*real);
    return toText(value);
}

// "{name: VSet, type: numeric}" piece by piece.
class FlowMap {
public:
    void add(const std::string &key, const std::string &value)
    {
        m_text += (m_text.empty() ? "" : ", ") + key + ": " + value;
    }

    void addIf(bool wanted, const std::string &key, const std::string &value)
    {
        if (wanted)
            add(key, value);
    }

    bool empty() const { return m_text.empty(); }
    std::string text() const { return "{" + m_text + "}"; }

private:
    std::string m_text;
};

// A switch by the label of its position where that says which it is.
std::string startText(const ParameterDescription &parameter, const Value &value)
{
    const auto *position = std::get_if<uint32_t>(&value);
    if (parameter.type != ParamType::OnOff || position == nullptr || *position > 1)
        return valueText(value);
    const std::string &label = *position == 1 ? parameter.onLabel : parameter.offLabel;
    const bool tells = parameter.onLabel != parameter.offLabel && !label.empty();
    const std::string text = scalarText(label);
    // In quotes a label is read as such, whatever it looks like.
    return tells ? text : valueText(value);
}

std::string parameterText(const ParameterDescription &p)
{
    FlowMap map;
    map.add("name", scalarText(p.name));
    map.add("type", codeText(p.type));
    map.add("mode", codeText(p.mode));
    map.addIf(p.role != Role::None, "role", codeText(p.role));
    if (hasLimits(p.type)) {
        map.add("minimum", realText(p.minimum));
        map.add("maximum", realText(p.maximum));
        const bool unitNeeded = p.type == ParamType::Numeric;
        map.addIf(unitNeeded || p.unit != Unit::None, "unit", codeText(p.unit));
        map.addIf(p.exponent != 0, "exponent", std::to_string(p.exponent));
    }
    map.addIf(hasDecimals(p.type) && p.decimals != 0, "decimals", std::to_string(p.decimals));
    if (hasLabels(p.type)) {
        map.add("on-label", scalarText(p.onLabel));
        map.add("off-label", scalarText(p.offLabel));
    }
    map.addIf(p.start != usualStart(p), "start", startText(p, p.start));
    return map.text();
}

std::string propertyText(const PropertyDescription &p)
{
    FlowMap map;
    map.add("name", scalarText(p.name));
    map.add("type", codeText(p.type));
    map.add("mode", codeText(p.mode));
    map.addIf(p.role != PropertyRole::None, "role", codeText(p.role));
    const bool isTrue = p.type == PropertyType::Boolean && p.start == Value(int32_t{1});
    map.addIf(p.start != usualStart(p.type), "start", isTrue ? "true" : valueText(p.start));
    return map.text();
}

std::string commandText(const CommandDescription &command)
{
    FlowMap map;
    map.add("name", scalarText(command.name));
    map.addIf(command.action != Action::None, "action", codeText(command.action));
    return map.text();
}

std::string userText(const User &user)
{
    FlowMap map;
    map.add("name", scalarText(user.name));
    map.add("password", scalarText(user.password));
    return map.text();
}

std::string faultText(const FaultOrder &order)
{
    struct Text {
        std::string operator()(bool value) const { return value ? "true" : "false"; }
        std::string operator()(int64_t value) const { return std::to_string(value); }
        std::string operator()(double value) const { return realText(value); }
        std::string operator()(const std::string &value) const { return scalarText(value); }
    };
    FlowMap map;
    auto fields = faultFields(order);
    const auto kind = fields.extract("kind");
    map.add("kind", std::visit(Text(), kind.mapped()));
    for (const auto &[name, value] : fields)
        map.add(name, std::visit(Text(), value));
    return map.text();
}

std::string startMap(const StartValues &start, const std::vector<ParameterDescription> *level)
{
    FlowMap map;
    for (const auto &[name, value] : start) {
        const ParameterDescription *parameter = nullptr;
        for (size_t index = 0; level != nullptr && index < level->size(); ++index)
            if ((*level)[index].name == name)
                parameter = &(*level)[index];
        map.add(scalarText(name),
                parameter != nullptr ? startText(*parameter, value) : valueText(value));
    }
    return map.text();
}

std::string channelsText(const std::vector<uint16_t> &channels)
{
    const auto ranges = foldChannels(channels);
    if (ranges.size() == 1)
        return channelRangeText(ranges.front());
    std::string text;
    for (const auto &range : ranges)
        text += (text.empty() ? "" : ", ") + channelRangeText(range);
    return "[" + text + "]";
}

class Writer {
public:
    std::string run(const CrateFile &file, const std::vector<std::string> &comment)
    {
        for (const auto &line : comment)
            commentLine(line);
        m_text += comment.empty() ? "" : "\n";
        const auto &crate = file.crate;
        m_text += "name: " + scalarText(crate.name) + "\n";
        list("\n", "users", crate.users, userText);
        list("\n", "properties", crate.properties, propertyText);
        list("\n", "commands", crate.commands, commandText);
        models(crate);
        m_text += "\nslots: " + std::to_string(crate.slots.size()) + "\n";
        boards(crate);
        if (!file.faults.empty())
            list("\n", "faults", file.faults, faultText);
        return std::move(m_text);
    }

private:
    // A comment ends with its line whatever its text.
    void commentLine(const std::string &line)
    {
        m_text += line.empty() ? "#" : "# ";
        m_text += commentText(line) + "\n";
    }

    template <class Element>
    void list(const std::string &indent, const std::string &key,
              const std::vector<Element> &elements, std::string (*text)(const Element &))
    {
        m_text += indent + key + (elements.empty() ? ": []\n" : ":\n");
        const std::string inner = indent == "\n" ? "  " : indent + "  ";
        for (const auto &element : elements)
            m_text += inner + "- " + text(element) + "\n";
    }

    void models(const CrateDescription &crate)
    {
        m_text += crate.models.empty() ? "\nmodels: {}\n" : "\nmodels:\n";
        for (const auto &model : crate.models) {
            m_text += "  " + scalarText(model.key) + ":\n";
            if (model.name != model.key)
                m_text += "    name: " + scalarText(model.name) + "\n";
            list("    ", "board", model.board, parameterText);
            list("    ", "channel", model.channel, parameterText);
        }
    }

    void boards(const CrateDescription &crate)
    {
        const bool any = std::any_of(crate.slots.begin(), crate.slots.end(),
                                     [](const auto &slot) { return slot.has_value(); });
        m_text += any ? "\nboards:\n" : "\nboards: []\n";
        for (size_t slot = 0; slot < crate.slots.size(); ++slot)
            if (crate.slots[slot])
                board(crate, slot, *crate.slots[slot]);
    }

    void line(const std::string &key, const std::string &value)
    {
        m_text += "    " + key + ": " + value + "\n";
    }

    void board(const CrateDescription &crate, size_t slot, const BoardDescription &board)
    {
        m_text += "  - slot: " + std::to_string(slot) + "\n";
        line("model", scalarText(board.model));
        if (!board.description.empty())
            line("description", scalarText(board.description));
        if (board.serialNumber != 0)
            line("serial", std::to_string(board.serialNumber));
        firmware(board);
        line("channels", std::to_string(board.channels.size()));
        names(board);
        const ModelDescription *model = crate.findModel(board.model);
        if (!board.start.empty())
            line("start", startMap(board.start, model != nullptr ? &model->board : nullptr));
        loads(board);
        settings(crate, board);
    }

    void firmware(const BoardDescription &board)
    {
        if (board.firmwareMajor == 0 && board.firmwareMinor == 0)
            return;
        const std::string minor = std::to_string(board.firmwareMinor);
        line("firmware", '"' + std::to_string(board.firmwareMajor) + '.' +
                             (minor.size() < 2 ? "0" : "") + minor + '"');
    }

    void names(const BoardDescription &board)
    {
        const auto &channels = board.channels;
        if (std::all_of(channels.begin(), channels.end(),
                        [](const auto &channel) { return channel.name.empty(); }))
            return;
        const auto pattern = patternOf(channels);
        if (!pattern)
            return nameList(channels);
        const std::string text = scalarText(pattern->text);
        if (pattern->first == 0)
            line("names", text);
        else
            line("names", "{pattern: " + text + ", first: " + std::to_string(pattern->first) + "}");
    }

    void nameList(const std::vector<ChannelDescription> &channels)
    {
        constexpr size_t perLine = 6;
        m_text += "    names:\n";
        for (size_t index = 0; index < channels.size(); ++index) {
            const bool last = index + 1 == channels.size();
            m_text += index == 0 ? "      [" : (index % perLine == 0 ? "       " : " ");
            m_text += scalarText(channels[index].name) + (last ? "]" : ",");
            m_text += last || index % perLine == perLine - 1 ? "\n" : "";
        }
    }

    // The channels of equal texts share an entry; those with none have none.
    template <class Text>
    void entries(const std::string &key, const BoardDescription &board, Text text)
    {
        std::vector<std::pair<std::string, std::vector<uint16_t>>> groups;
        for (size_t index = 0; index < board.channels.size(); ++index) {
            const std::string each = text(board.channels[index]);
            if (each.empty())
                continue;
            auto group = std::find_if(groups.begin(), groups.end(),
                                      [&](const auto &known) { return known.first == each; });
            if (group == groups.end())
                group = groups.insert(groups.end(), {each, {}});
            group->second.push_back(static_cast<uint16_t>(index));
        }
        m_text += groups.empty() ? "" : "    " + key + ":\n";
        for (const auto &[each, channels] : groups)
            m_text += "      - {channels: " + channelsText(channels) + ", " + each + "}\n";
    }

    void loads(const BoardDescription &board)
    {
        entries("loads", board, [](const ChannelDescription &channel) {
            const Load &load = channel.load;
            const std::string ohm = std::isinf(load.ohm) ? "" : "ohm: " + realText(load.ohm);
            const std::string farad = load.farad == 0 ? "" : "farad: " + realText(load.farad);
            const std::string noise = load.noise == 0 ? "" : "noise: " + realText(load.noise);
            std::string text = ohm;
            for (const auto &more : {farad, noise})
                text += (text.empty() || more.empty() ? "" : ", ") + more;
            return text;
        });
    }

    void settings(const CrateDescription &crate, const BoardDescription &board)
    {
        entries("settings", board, [&](const ChannelDescription &channel) {
            const ModelDescription *model = crate.channelModel(board, channel);
            const auto *level = model != nullptr ? &model->channel : nullptr;
            std::string text = channel.model.empty() ? "" : "model: " + scalarText(channel.model);
            if (!channel.start.empty())
                text += (text.empty() ? "start: " : ", start: ") + startMap(channel.start, level);
            return text;
        });
    }

    std::string m_text;
};

} // namespace

std::string writeCrate(const CrateFile &file, const std::vector<std::string> &comment)
{
    return Writer().run(file, comment);
}

} // namespace sim
