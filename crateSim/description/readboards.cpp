#include <limits>

#include "channelnames.h"
#include "channelset.h"
#include "reader.h"

namespace sim {

namespace {

// The only text or each text of a list.
std::vector<YamlPointer> oneOrMore(const NamedNode &node)
{
    if (node.node->kind == YamlNode::Kind::List)
        return node.node->items;
    return {node.node};
}

std::vector<ChannelRange> rangesIn(const NamedNode &node, size_t channels, Notes &notes)
{
    std::vector<ChannelRange> all;
    for (const auto &item : oneOrMore(node)) {
        notes.visit();
        const auto text = textOf({item, node.line, node.name, node.path}, notes);
        if (!text)
            continue;
        if (*text == "all" && channels > 0) {
            all.push_back({0, static_cast<uint16_t>(channels - 1)});
        } else if (const auto ranges = readChannelRanges(*text)) {
            all.insert(all.end(), ranges->begin(), ranges->end());
        } else {
            notes.report(node.line, node.path,
                         "\"" + *text + "\" is neither \"all\" nor channels like 3 or 0-11");
        }
    }
    return all;
}

std::string channelText(size_t channel) { return "channel " + std::to_string(channel); }

// Takes the channels of a range; the first of those that cannot be had is noted.
void takeRange(const ChannelRange &range, const NamedNode &node, int32_t position,
               std::vector<int32_t> &owners, std::vector<uint16_t> &taken, Notes &notes)
{
    if (range.last >= owners.size())
        notes.report(node.line, node.path,
                     channelText(range.last) + " does not exist, the board has " +
                         std::to_string(owners.size()));
    bool clash = false;
    for (size_t channel = range.first; channel <= range.last && channel < owners.size();
         ++channel) {
        notes.visit();
        if (owners[channel] < 0) {
            owners[channel] = position;
            taken.push_back(static_cast<uint16_t>(channel));
        } else if (!clash) {
            clash = true;
            notes.report(node.line, node.path, channelText(channel) + " is named before");
        }
    }
}

class BoardReader {
public:
    BoardReader(const NamedNode &node, const ReadModels &models, Notes &notes)
        : m_fields(node, "a board", notes), m_models(models), m_notes(notes)
    {
        m_read.path = node.path;
        m_read.line = node.line;
    }

    ReadBoard run()
    {
        auto &board = m_read.board;
        m_read.slot = m_fields.integer<uint16_t>("slot", Need::Required);
        board.model = m_fields.text("model", Need::Required).value_or("");
        board.description = m_fields.text("description", Need::Optional).value_or("");
        board.serialNumber = m_fields.integer<uint16_t>("serial", Need::Optional).value_or(0);
        readFirmware();
        readChannelCount();
        if (const auto names = m_fields.take("names", Need::Optional))
            if (m_counted)
                readChannelNames(*names, board.channels, m_notes);
        readLoads();
        readSettings();
        readStart(m_fields, board.model, &ModelDescription::board, board.start);
        m_fields.finish();
        // Nobody asks whose a channel is that the board may not have, and many
        // boards without a count would take up much.
        if (!m_counted) {
            m_read.loads = std::vector<int32_t>();
            m_read.settings = std::vector<int32_t>();
        }
        return std::move(m_read);
    }

private:
    // "1.04" and "1.4" are the same, "1.10" is another.
    void readFirmware()
    {
        const auto node = m_fields.take("firmware", Need::Optional);
        const auto text = node ? textOf(*node, m_notes) : std::nullopt;
        if (!text)
            return;
        const auto dot = text->find('.');
        const auto byteIn = [](const std::string &digits) {
            const bool clean = digits.find_first_not_of("0123456789") == std::string::npos;
            const auto number = clean ? parseInteger(digits) : std::nullopt;
            return number && *number <= UINT8_MAX ? number : std::nullopt;
        };
        const auto major = byteIn(text->substr(0, dot));
        const auto minor = dot == std::string::npos ? std::nullopt : byteIn(text->substr(dot + 1));
        if (!major || !minor) {
            m_notes.report(node->line, node->path,
                           "\"firmware\" is not two numbers from 0 to 255 like 1.04");
            return;
        }
        m_read.board.firmwareMajor = static_cast<uint8_t>(*major);
        m_read.board.firmwareMinor = static_cast<uint8_t>(*minor);
    }

    void readChannelCount()
    {
        const auto count = m_fields.integer<uint16_t>("channels", Need::Required, 1);
        m_counted = count.has_value();
        m_read.board.channels.resize(count.value_or(0));
        // With no known count every channel may exist.
        m_read.loads.assign(count.value_or(UINT16_MAX), -1);
        m_read.settings.assign(count.value_or(UINT16_MAX), -1);
    }

    std::vector<uint16_t> channelsIn(Fields &entry, int32_t position, std::vector<int32_t> &owners)
    {
        std::vector<uint16_t> taken;
        const auto node = entry.take("channels", Need::Required);
        if (!node)
            return taken;
        for (const auto &range : rangesIn(*node, owners.size(), m_notes))
            takeRange(range, *node, position, owners, taken, m_notes);
        if (!m_counted)
            taken.clear();
        return taken;
    }

    void readLoads()
    {
        int32_t position = 0;
        for (const auto &node : m_fields.list("loads", Need::Optional)) {
            Fields entry(node, "a load", m_notes);
            const auto channels = channelsIn(entry, position++, m_read.loads);
            Load load;
            load.ohm = entry.number("ohm", Need::Optional).value_or(load.ohm);
            load.farad = entry.number("farad", Need::Optional).value_or(load.farad);
            load.noise = entry.number("noise", Need::Optional).value_or(load.noise);
            entry.finish();
            for (const uint16_t channel : channels)
                m_read.board.channels[channel].load = load;
        }
    }

    void readSettings()
    {
        int32_t position = 0;
        for (const auto &node : m_fields.list("settings", Need::Optional)) {
            Fields entry(node, "a setting", m_notes);
            const auto channels = channelsIn(entry, position++, m_read.settings);
            const auto model = entry.text("model", Need::Optional).value_or("");
            StartValues start;
            readStart(entry, model.empty() ? m_read.board.model : model, &ModelDescription::channel,
                      start);
            entry.finish();
            for (const uint16_t channel : channels) {
                m_read.board.channels[channel].model = model;
                m_read.board.channels[channel].start = start;
            }
        }
    }

    // The model knows what the values are; of a broken one nothing can be said.
    void readStart(Fields &fields, const std::string &key,
                   std::vector<ParameterDescription> ModelDescription::*level, StartValues &start)
    {
        const auto entries = fields.entries("start", Need::Optional);
        const ModelDescription *model = m_models.find(key);
        if (model == nullptr || m_models.broken.count(key) != 0)
            return;
        for (const auto &node : entries) {
            const ParameterDescription *parameter = nullptr;
            for (const auto &each : model->*level)
                if (each.name == node.name)
                    parameter = &each;
            if (parameter == nullptr)
                m_notes.report(node.line, node.path,
                               "model \"" + key + "\" has no parameter \"" + node.name + "\" here");
            else if (auto value = parameterValue(node, *parameter, m_notes))
                start[node.name] = std::move(*value);
        }
    }

    Fields m_fields;
    const ReadModels &m_models;
    Notes &m_notes;
    ReadBoard m_read;
    bool m_counted = false;
};

void readNameList(const NamedNode &node, std::vector<ChannelDescription> &channels, Notes &notes)
{
    const auto &items = node.node->items;
    if (items.size() != channels.size())
        notes.report(node.line, node.path,
                     std::to_string(items.size()) + " names for " +
                         std::to_string(channels.size()) + " channels");
    for (size_t index = 0; index < items.size() && index < channels.size(); ++index) {
        notes.visit();
        const std::string path = node.path + "/" + std::to_string(index);
        notes.place(path, items[index]->line);
        if (auto name = textOf({items[index], items[index]->line, "names", path}, notes))
            channels[index].name = std::move(*name);
    }
}

NamePattern patternIn(const NamedNode &node, Notes &notes)
{
    if (node.node->kind != YamlNode::Kind::Map)
        return {textOf(node, notes).value_or("#"), 0};
    Fields fields(node, "a pattern of names", notes);
    NamePattern pattern{fields.text("pattern", Need::Required).value_or("#"),
                        fields.integer<uint32_t>("first", Need::Required).value_or(0)};
    fields.finish();
    return pattern;
}

} // namespace

void readChannelNames(const NamedNode &node, std::vector<ChannelDescription> &channels,
                      Notes &notes)
{
    if (node.node->kind == YamlNode::Kind::List)
        return readNameList(node, channels, notes);
    const NamePattern pattern = patternIn(node, notes);
    if (!pattern.nameOf(0)) {
        notes.report(
            node.line, node.path,
            "\"names\" is neither a list nor a text with # in place of the number, in quotes "
            "where a blank stands before it");
        return;
    }
    // Far beyond any name, and all channels would have a copy.
    constexpr size_t longestPattern = 100;
    if (pattern.text.size() > longestPattern) {
        notes.report(node.line, node.path,
                     "\"names\" is longer than " + std::to_string(longestPattern) + " bytes");
        return;
    }
    for (size_t index = 0; index < channels.size(); ++index)
        channels[index].name = *pattern.nameOf(index);
}

ReadBoard readBoard(const NamedNode &node, const ReadModels &models, Notes &notes)
{
    return BoardReader(node, models, notes).run();
}

} // namespace sim
