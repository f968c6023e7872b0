#include "pvlist.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <optional>
#include <string_view>

#include "model/words.h"
#include "names.h"

namespace site {

namespace {

constexpr std::array<std::string_view, 8> recordTypes{
    "ai", "ao", "bi", "bo", "mbbiDirect", "mbboDirect", "stringin", "stringout"};

// Where a line's record belongs; -1 for a column that does not apply.
struct Position {
    int slot = -1;
    int channel = -1;
};

// Takes the text before the separator away from the front.
std::optional<std::string_view> cut(std::string_view &text, std::string_view separator)
{
    const auto found = text.find(separator);
    if (found == std::string_view::npos)
        return std::nullopt;
    const auto piece = text.substr(0, found);
    text.remove_prefix(found + separator.size());
    return piece;
}

// The same from the back. A record's name may hold commas itself.
std::optional<std::string_view> cutBack(std::string_view &text, std::string_view separator)
{
    const auto found = text.rfind(separator);
    if (found == std::string_view::npos)
        return std::nullopt;
    const auto piece = text.substr(found + separator.size());
    text.remove_suffix(text.size() - found);
    return piece;
}

// A number, or -1 for "-". Nothing for anything else.
std::optional<int> column(std::string_view text)
{
    if (text == "-")
        return -1;
    uint16_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

struct Line {
    Position position;
    Parameter parameter; // without its name
};

std::optional<Line> readLine(std::string_view text)
{
    const auto slot = cut(text, ", ");
    const auto channel = cut(text, ", ");
    const auto written = cutBack(text, ", ");
    const auto read = cutBack(text, ", ");
    const auto type = cutBack(text, ",  ");
    if (!type)
        return std::nullopt;
    const auto slotNumber = column(*slot);
    const auto channelNumber = column(*channel);
    const auto isMark = [](std::string_view mark) { return mark == "x" || mark == " "; };
    const bool isKnown =
        std::find(recordTypes.begin(), recordTypes.end(), *type) != recordTypes.end();
    if (!slotNumber || !channelNumber || (*slotNumber < 0 && *channelNumber >= 0) || !isKnown ||
        !isMark(*read) || !isMark(*written) || text.empty())
        return std::nullopt;
    Line line;
    line.position = {*slotNumber, *channelNumber};
    line.parameter.record = text;
    line.parameter.type = *type;
    line.parameter.readable = *read == "x";
    line.parameter.writable = *written == "x";
    return line;
}

class Reader {
public:
    void read(std::string_view text)
    {
        if (text.empty())
            return complain(0, "is empty: no PV list");
        while (!text.empty() && m_findings.empty()) {
            ++m_line;
            const auto line = cut(text, "\n");
            if (!line)
                return complain(m_line, "ends in the middle of a line: the list was cut short");
            take(*line);
        }
    }

    CrateReading result()
    {
        for (auto &[slot, channels] : m_channels)
            for (auto &[number, parameters] : channels)
                m_boards[slot].channels.push_back({number, std::move(parameters)});
        for (auto &[slot, board] : m_boards)
            m_crate.boards.push_back(std::move(board));
        return {std::move(m_crate), std::move(m_findings)};
    }

private:
    void take(std::string_view text)
    {
        auto line = readLine(text);
        if (!line)
            return complain(m_line, "is not a line of a PV list: \"" + printable(text) + "\"");
        auto &parameter = line->parameter;
        if (m_crate.name.empty())
            m_crate.name = parameter.record.substr(0, parameter.record.find(':'));
        const auto prefix = prefixOf(line->position);
        if (parameter.record.compare(0, prefix.size(), prefix) != 0)
            return complain(m_line, "record \"" + printable(parameter.record) +
                                        "\" does not begin with \"" + printable(prefix) +
                                        "\": not the list of one crate");
        parameter.name = parameter.record.substr(prefix.size());
        parameter.line = m_line;
        // Such a record can be in no file that is written here.
        if (!isRecordName(parameter.record))
            return;
        listOf(line->position).push_back(std::move(parameter));
    }

    std::string prefixOf(const Position &position) const
    {
        if (position.slot < 0)
            return m_crate.name + ":";
        return (position.channel < 0 ? m_crate.recordOf(position.slot)
                                     : m_crate.recordOf(position.slot, position.channel)) +
               ":";
    }

    Parameters &listOf(const Position &position)
    {
        if (position.slot < 0)
            return m_crate.parameters;
        Board &board = m_boards[position.slot];
        board.slot = position.slot;
        return position.channel < 0 ? board.parameters
                                    : m_channels[position.slot][position.channel];
    }

    void complain(int line, const std::string &text) { m_findings.push_back({line, text}); }

    int m_line = 0;
    Crate m_crate;
    std::map<int, Board> m_boards;
    std::map<int, std::map<int, Parameters>> m_channels; // by slot
    std::vector<sim::Finding> m_findings;
};

template <class Act> void forEachParameter(Crate &crate, Act act)
{
    const auto each = [&](Parameters &parameters) {
        std::for_each(parameters.begin(), parameters.end(), act);
    };
    each(crate.parameters);
    for (Board &board : crate.boards) {
        each(board.parameters);
        for (Channel &channel : board.channels)
            each(channel.parameters);
    }
}

std::string_view betweenQuotes(std::string_view line)
{
    const auto first = line.find('"');
    const auto last = line.rfind('"');
    return first == last ? std::string_view() : line.substr(first + 1, last - first - 1);
}

std::optional<double> number(std::string_view text)
{
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(value)
                                                                    : std::nullopt;
}

void addField(Parameter &parameter, std::string_view line)
{
    const auto says = [&](std::string_view field) {
        return line.rfind("\tfield( " + std::string(field) + " ,", 0) == 0;
    };
    if (says("HOPR"))
        parameter.high = number(betweenQuotes(line));
    else if (says("LOPR"))
        parameter.low = number(betweenQuotes(line));
    else if (says("EGU"))
        parameter.unit = betweenQuotes(line);
}

// The record types by kind: what can only be read, and the others.
struct Kind {
    const char *input;
    const char *output;
};

std::optional<Kind> kindOf(sim::ParamType type)
{
    switch (type) {
    case sim::ParamType::Numeric:
    case sim::ParamType::ChannelStatus:
    case sim::ParamType::BoardStatus: return Kind{"ai", "ao"};
    case sim::ParamType::OnOff: return Kind{"bi", "bo"};
    case sim::ParamType::Integer: return Kind{"mbbiDirect", "mbboDirect"};
    case sim::ParamType::Text: return Kind{"stringin", "stringout"};
    default: return std::nullopt;
    }
}

Kind kindOf(sim::PropertyType type)
{
    if (type == sim::PropertyType::Text)
        return {"stringin", "stringout"};
    return type == sim::PropertyType::Boolean ? Kind{"bi", "bo"} : Kind{"ai", "ao"};
}

void append(Parameters &list, const std::string &prefix, std::string name, const Kind &kind,
            sim::Mode mode)
{
    name.erase(std::remove(name.begin(), name.end(), ' '), name.end());
    Parameter made;
    made.record = prefix + ":" + name;
    made.name = name;
    made.readable = mode != sim::Mode::Write;
    made.writable = mode != sim::Mode::Read;
    made.type = made.writable ? kind.output : kind.input;
    // Of equal records the server writes the first.
    if (isRecordName(made.record) && find(list, name) == nullptr)
        list.push_back(std::move(made));
}

void append(Parameters &list, const std::string &prefix, const sim::ParameterDescription &parameter)
{
    const auto kind = kindOf(parameter.type);
    if (!kind)
        return;
    const size_t before = list.size();
    append(list, prefix, parameter.name, *kind, parameter.mode);
    if (list.size() == before || parameter.type != sim::ParamType::Numeric)
        return;
    list.back().unit = sim::wordOf(parameter.unit);
    if (parameter.minimum != parameter.maximum) {
        list.back().low = parameter.minimum;
        list.back().high = parameter.maximum;
    }
}

Channel describedChannel(const sim::ModelDescription &model, int number, const std::string &prefix)
{
    Channel channel;
    channel.number = number;
    append(channel.parameters, prefix, "Name", *kindOf(sim::ParamType::Text), sim::Mode::ReadWrite);
    for (const auto &parameter : model.channel)
        append(channel.parameters, prefix, parameter);
    return channel;
}

} // namespace

CrateReading readPvList(const std::string &text)
{
    Reader reader;
    reader.read(text);
    return reader.result();
}

void addDatabase(Crate &crate, const std::string &text)
{
    std::map<std::string_view, Parameter *> byRecord;
    forEachParameter(crate, [&](Parameter &each) { byRecord[each.record] = &each; });
    Parameter *current = nullptr;
    std::string_view rest = text;
    while (const auto line = cut(rest, "\n")) {
        if (line->rfind("record(", 0) == 0) {
            const auto found = byRecord.find(betweenQuotes(*line));
            current = found == byRecord.end() ? nullptr : found->second;
        } else if (current != nullptr) {
            addField(*current, *line);
        }
    }
}

Crate describedCrate(const sim::CrateDescription &description, const std::string &name)
{
    Crate crate;
    crate.name = name;
    for (const auto &property : description.properties)
        append(crate.parameters, name, property.name, kindOf(property.type), property.mode);
    for (const auto &command : description.commands)
        append(crate.parameters, name, command.name, *kindOf(sim::ParamType::Text),
               sim::Mode::Write);
    for (size_t slot = 0; slot < description.slots.size(); ++slot) {
        const auto &board = description.slots[slot];
        const auto *model = board ? description.findModel(board->model) : nullptr;
        if (model == nullptr)
            continue;
        Board made;
        made.slot = static_cast<int>(slot);
        for (const auto &parameter : model->board)
            append(made.parameters, crate.recordOf(made.slot), parameter);
        for (size_t number = 0; number < board->channels.size(); ++number) {
            const auto *own = description.channelModel(*board, board->channels[number]);
            const int position = static_cast<int>(number);
            made.channels.push_back(describedChannel(own != nullptr ? *own : *model, position,
                                                     crate.recordOf(made.slot, position)));
        }
        crate.boards.push_back(std::move(made));
    }
    return crate;
}

} // namespace site
