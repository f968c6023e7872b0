#include <limits>

#include "channelnames.h"
#include "channelset.h"
#include "reader.h"

namespace sim {

namespace {

std::vector<ChannelRange> rangesIn(const Field &field, size_t channels)
{
    std::vector<ChannelRange> all;
    for (const auto &item : field.isList() ? field.items() : std::vector<Field>{field}) {
        const auto text = item.text();
        const auto ranges = text ? readChannelRanges(*text) : std::nullopt;
        if (text == "all" && channels > 0)
            all.push_back({0, static_cast<uint16_t>(channels - 1)});
        else if (ranges)
            all.insert(all.end(), ranges->begin(), ranges->end());
        else if (text)
            field.report("\"" + *text + "\" is neither \"all\" nor channels like 3 or 0-11");
    }
    return all;
}

std::string channelText(size_t channel) { return "channel " + std::to_string(channel); }

// Takes the channels of a range; the first of those that cannot be had is noted.
void takeRange(const ChannelRange &range, const Field &field, int32_t position,
               std::vector<int32_t> &owners, std::vector<uint16_t> &taken)
{
    if (range.last >= owners.size())
        field.report(channelText(range.last) + " does not exist, the board has " +
                     std::to_string(owners.size()));
    bool clash = false;
    for (size_t channel = range.first; channel <= range.last && channel < owners.size();
         ++channel) {
        field.findings().visit();
        if (owners[channel] < 0) {
            owners[channel] = position;
            taken.push_back(static_cast<uint16_t>(channel));
        } else if (!clash) {
            clash = true;
            field.report(channelText(channel) + " is named twice");
        }
    }
}

class BoardReader {
public:
    BoardReader(const Field &field, const ReadModels &models)
        : m_fields(field, "a board"), m_models(models)
    {
        m_read.path = field.path();
    }

    ReadBoard run()
    {
        auto &board = m_read.board;
        m_read.slot = m_fields.required("slot").integer<uint16_t>();
        board.model = m_fields.required("model").text().value_or("");
        board.description = m_fields.optional("description").text().value_or("");
        board.serialNumber = m_fields.optional("serial").integer<uint16_t>().value_or(0);
        readFirmware(m_fields.optional("firmware"));
        readChannelCount();
        const Field names = m_fields.optional("names");
        if (names.isPresent() && m_counted)
            readChannelNames(names, board.channels);
        readLoads();
        readSettings();
        readStart(m_fields.optional("start"), board.model, &ModelDescription::board, board.start);
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
    void readFirmware(const Field &field)
    {
        const auto text = field.text();
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
            field.report("\"firmware\" is not two numbers from 0 to 255 like 1.04");
            return;
        }
        m_read.board.firmwareMajor = static_cast<uint8_t>(*major);
        m_read.board.firmwareMinor = static_cast<uint8_t>(*minor);
    }

    void readChannelCount()
    {
        const auto count = m_fields.required("channels").integer<uint16_t>(1);
        m_counted = count.has_value();
        m_read.board.channels.resize(count.value_or(0));
        // With no known count every channel may exist.
        m_read.loads.assign(count.value_or(UINT16_MAX), -1);
        m_read.settings.assign(count.value_or(UINT16_MAX), -1);
    }

    std::vector<uint16_t> channelsIn(Fields &entry, int32_t position, std::vector<int32_t> &owners)
    {
        std::vector<uint16_t> taken;
        const Field field = entry.required("channels");
        if (!field.isPresent())
            return taken;
        for (const auto &range : rangesIn(field, owners.size()))
            takeRange(range, field, position, owners, taken);
        if (!m_counted)
            taken.clear();
        return taken;
    }

    void readLoads()
    {
        int32_t position = 0;
        for (const auto &item : m_fields.optional("loads").items()) {
            Fields entry(item, "a load");
            const auto channels = channelsIn(entry, position++, m_read.loads);
            Load load;
            load.ohm = entry.optional("ohm").real<double>().value_or(load.ohm);
            load.farad = entry.optional("farad").real<double>().value_or(load.farad);
            load.noise = entry.optional("noise").real<double>().value_or(load.noise);
            entry.finish();
            for (const uint16_t channel : channels)
                m_read.board.channels[channel].load = load;
        }
    }

    void readSettings()
    {
        int32_t position = 0;
        for (const auto &item : m_fields.optional("settings").items()) {
            Fields entry(item, "a setting");
            const auto channels = channelsIn(entry, position++, m_read.settings);
            const auto model = entry.optional("model").text().value_or("");
            StartValues start;
            readStart(entry.optional("start"), model.empty() ? m_read.board.model : model,
                      &ModelDescription::channel, start);
            entry.finish();
            for (const uint16_t channel : channels) {
                m_read.board.channels[channel].model = model;
                m_read.board.channels[channel].start = start;
            }
        }
    }

    // The model knows what the values are; of a broken one nothing can be said.
    void readStart(const Field &field, const std::string &key,
                   std::vector<ParameterDescription> ModelDescription::*level, StartValues &start)
    {
        const auto entries = field.entries();
        const ModelDescription *model = m_models.find(key);
        if (model == nullptr || m_models.broken.count(key) != 0)
            return;
        for (const auto &entry : entries) {
            const auto *parameter = findParameter(model->*level, entry.name());
            if (parameter == nullptr)
                entry.report("model \"" + key + "\" has no parameter \"" + entry.name() +
                             "\" here");
            else if (auto value = parameterValue(entry, *parameter))
                start[entry.name()] = std::move(*value);
        }
    }

    Fields m_fields;
    const ReadModels &m_models;
    ReadBoard m_read;
    bool m_counted = false;
};

void readNameList(const Field &list, std::vector<ChannelDescription> &channels)
{
    const auto items = list.items();
    if (items.size() != channels.size())
        list.report(std::to_string(items.size()) + " names for " + std::to_string(channels.size()) +
                    " channels");
    for (size_t index = 0; index < items.size() && index < channels.size(); ++index)
        channels[index].name = items[index].text().value_or("");
}

NamePattern patternIn(const Field &field)
{
    if (!field.isMap())
        return {field.text().value_or("#"), 0};
    Fields fields(field, "a pattern of names");
    NamePattern pattern{fields.required("pattern").text().value_or("#"),
                        fields.required("first").integer<uint32_t>().value_or(0)};
    fields.finish();
    return pattern;
}

} // namespace

void readChannelNames(const Field &field, std::vector<ChannelDescription> &channels)
{
    if (field.isList())
        return readNameList(field, channels);
    const NamePattern pattern = patternIn(field);
    if (!pattern.nameOf(0)) {
        field.report(
            "\"names\" is neither a list nor a text with # for the number, in quotes where a "
            "blank comes before it");
        return;
    }
    // Far beyond any name, and all channels would have a copy.
    constexpr size_t longestPattern = 100;
    if (pattern.text.size() > longestPattern) {
        field.report("\"names\" is longer than " + std::to_string(longestPattern) + " bytes");
        return;
    }
    for (size_t index = 0; index < channels.size(); ++index)
        channels[index].name = *pattern.nameOf(index);
}

ReadBoard readBoard(const Field &field, const ReadModels &models)
{
    return BoardReader(field, models).run();
}

} // namespace sim
