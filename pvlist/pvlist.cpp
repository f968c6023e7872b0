#include "pvlist.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <optional>
#include <string_view>

#include "names.h"

namespace pvlist {

namespace {

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
    int slot = -1; // below 0: the column does not apply
    int channel = -1;
    Parameter parameter; // without its name
};

std::optional<Line> readLine(std::string_view text)
{
    const auto slotText = cut(text, ", ");
    const auto channelText = cut(text, ", ");
    const auto written = cutBack(text, ", ");
    const auto read = cutBack(text, ", ");
    const auto type = cutBack(text, ",  ");
    if (!type)
        return std::nullopt;
    const auto slot = column(*slotText);
    const auto channel = column(*channelText);
    const auto isMark = [](std::string_view mark) { return mark == "x" || mark == " "; };
    const bool isType =
        std::any_of(std::begin(recordTypes), std::end(recordTypes), [&](const RecordTypes &each) {
            return *type == each.input || *type == each.output;
        });
    if (!slot || !channel || (*slot < 0 && *channel >= 0) || !isType || !isMark(*read) ||
        !isMark(*written) || text.empty() || text.back() == ':')
        return std::nullopt;
    Line line{*slot, *channel, {}};
    line.parameter.record = text;
    line.parameter.type = *type;
    line.parameter.readable = *read == "x";
    line.parameter.writable = *written == "x";
    return line;
}

// A name may hold colons: it ends where a board's records have their slot, or else at the first.
std::string crateName(const std::vector<Line> &lines)
{
    const auto ofBoard =
        std::find_if(lines.begin(), lines.end(), [](const Line &each) { return each.slot >= 0; });
    const Line &line = ofBoard == lines.end() ? lines.front() : *ofBoard;
    const std::string &record = line.parameter.record;
    return record.substr(0, record.find(Crate().recordOf(line.slot, line.channel) + ":"));
}

// The one of that number in its place, made where there is none.
template <class Item> Item &at(std::vector<Item> &list, int Item::*number, int wanted)
{
    auto place = std::lower_bound(
        list.begin(), list.end(), wanted,
        [number](const Item &each, int position) { return each.*number < position; });
    if (place == list.end() || (*place).*number != wanted) {
        place = list.insert(place, Item());
        (*place).*number = wanted;
    }
    return *place;
}

// Of equal records EPICS keeps the first; others can be in no file that is written here.
void append(Parameters &list, Parameter parameter)
{
    // The server writes all records of a set-point or none.
    const std::string longest = parameter.record + (parameter.isSetPoint() ? ":Sync" : "");
    const bool isAccessible = parameter.readable || parameter.writable;
    if (isAccessible && isRecordName(longest) && find(list, parameter.name) == nullptr)
        list.push_back(std::move(parameter));
}

void append(Crate &crate, const Line &line)
{
    if (line.slot < 0)
        return append(crate.parameters, line.parameter);
    Board &board = at(crate.boards, &Board::slot, line.slot);
    append(line.channel < 0 ? board.parameters
                            : at(board.channels, &Channel::number, line.channel).parameters,
           line.parameter);
}

// Nothing when something is wrong.
std::vector<Line> readLines(std::string_view text, std::vector<sim::Finding> &findings)
{
    std::vector<Line> lines;
    if (text.empty())
        findings.push_back({0, "is empty: no PV list"});
    while (!text.empty()) {
        const int number = static_cast<int>(lines.size()) + 1;
        const auto line = cut(text, "\n");
        auto read = line ? readLine(*line) : std::nullopt;
        if (!read) {
            findings.push_back(
                {number, line ? "is not a line of a PV list: \"" + printable(*line) + "\""
                              : "ends in the middle of a line: the list was cut short"});
            return {};
        }
        lines.push_back(std::move(*read));
    }
    return lines;
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

constexpr std::string_view displayFields[] = {"EGU", "PREC", "HOPR", "LOPR", "ZNAM", "ONAM"};

// The value as it stands between quotes. The server writes names of states that are none.
void addDisplay(Parameter &parameter, std::string_view field, std::string_view value)
{
    if (value.empty())
        return;
    parameter.display.push_back("field(" + std::string(field) + ", \"" + std::string(value) +
                                "\")");
    if (field == "HOPR")
        parameter.high = number(value);
    else if (field == "LOPR")
        parameter.low = number(value);
    else if (field == "EGU")
        parameter.unit = value;
}

void addField(Parameter &parameter, std::string_view line)
{
    const bool isField = cut(line, "\tfield( ") == "";
    const auto field = cut(line, " ,");
    if (isField && field &&
        std::find(std::begin(displayFields), std::end(displayFields), *field) !=
            std::end(displayFields))
        addDisplay(parameter, *field, betweenQuotes(line));
}

struct Expected {
    Parameter *parameter = nullptr; // null: a read-back or another record beside it
    bool isSeen = false;
};

// What the server's database has for the crate.
std::map<std::string, Expected, std::less<>> expectedRecords(Crate &crate)
{
    std::map<std::string, Expected, std::less<>> expected;
    forEachList(crate, [&](Parameters &list, auto...) {
        for (Parameter &each : list) {
            expected[each.record].parameter = &each;
            if (each.isSetPoint())
                expected[each.readBack()] = expected[each.record + ":Sync"] = {};
        }
    });
    return expected;
}

const auto &[numeric, onOff, bits, texts] = recordTypes;

const RecordTypes *typesOf(sim::ParamType type)
{
    switch (type) {
    case sim::ParamType::Numeric:
    case sim::ParamType::ChannelStatus:
    case sim::ParamType::BoardStatus: return &numeric;
    case sim::ParamType::OnOff: return &onOff;
    case sim::ParamType::Integer: return &bits;
    case sim::ParamType::Text: return &texts;
    default: return nullptr;
    }
}

const RecordTypes &typesOf(sim::PropertyType type)
{
    if (type == sim::PropertyType::Text)
        return texts;
    return type == sim::PropertyType::Boolean ? onOff : numeric;
}

Parameter described(const std::string &prefix, std::string name, const RecordTypes &types,
                    sim::Mode mode)
{
    name.erase(std::remove(name.begin(), name.end(), ' '), name.end());
    Parameter made;
    made.record = prefix + ":" + name;
    made.name = std::move(name);
    made.readable = mode == sim::Mode::Read || mode == sim::Mode::ReadWrite;
    made.writable = mode == sim::Mode::Write || mode == sim::Mode::ReadWrite;
    made.type = made.writable ? types.output : types.input;
    return made;
}

// As the server writes it.
std::string unitText(const sim::ParameterDescription &parameter)
{
    static const std::map<int, std::string> prefixes{
        {6, "Mega"}, {3, "Kilo"}, {-3, "milli"}, {-6, "micro"}, {-9, "nano"}};
    static const std::string units[] = {"None", "Ampere", "Volt",   "Watt", "Celsius", "Hertz",
                                        "Bar",  "Vps",    "Second", "Rpm",  "Count"};
    const auto prefix = prefixes.find(parameter.exponent);
    const auto unit = static_cast<size_t>(parameter.unit);
    return (prefix == prefixes.end() ? "" : prefix->second) +
           (unit < std::size(units) ? units[unit] : "");
}

void addDisplay(Parameter &made, const sim::ParameterDescription &parameter, int decimals)
{
    addDisplay(made, "EGU", unitText(parameter));
    if (decimals > 0)
        addDisplay(made, "PREC", std::to_string(decimals));
    // The server cuts the upper limit to an integer.
    const double high = std::trunc(std::clamp(double{parameter.maximum}, -0x1p31, 0x1p31));
    if (high != parameter.minimum) {
        addDisplay(made, "HOPR", std::to_string(high));
        addDisplay(made, "LOPR", std::to_string(parameter.minimum));
    }
}

void append(Parameters &list, const std::string &prefix, const sim::ParameterDescription &parameter,
            int decimals)
{
    const auto *types = typesOf(parameter.type);
    if (types == nullptr)
        return;
    Parameter made = described(prefix, parameter.name, *types, parameter.mode);
    if (parameter.type == sim::ParamType::Numeric)
        addDisplay(made, parameter, decimals);
    for (const auto &[field, label] :
         {std::pair("ZNAM", parameter.offLabel), {"ONAM", parameter.onLabel}}) {
        const std::string quoted = quotedForDatabase(label);
        addDisplay(made, field, betweenQuotes(quoted));
    }
    append(list, std::move(made));
}

Channel describedChannel(const sim::ModelDescription &model, int number, const std::string &prefix)
{
    Channel channel;
    channel.number = number;
    append(channel.parameters, described(prefix, "Name", texts, sim::Mode::ReadWrite));
    for (const auto &parameter : model.channel)
        append(channel.parameters, prefix, parameter, parameter.decimals);
    return channel;
}

} // namespace

CrateReading readPvList(const std::string &text)
{
    CrateReading reading;
    auto lines = readLines(text, reading.findings);
    if (lines.empty())
        return reading;
    Crate &crate = reading.crate;
    crate.name = crateName(lines);
    for (size_t index = 0; index < lines.size(); ++index) {
        Parameter &parameter = lines[index].parameter;
        const auto prefix = crate.recordOf(lines[index].slot, lines[index].channel) + ":";
        if (parameter.record.compare(0, prefix.size(), prefix) != 0) {
            reading.findings.push_back(
                {static_cast<int>(index) + 1, "record \"" + printable(parameter.record) +
                                                  "\" does not begin with \"" + printable(prefix) +
                                                  "\": not the list of one crate"});
            break;
        }
        parameter.name = parameter.record.substr(prefix.size());
        append(crate, lines[index]);
    }
    return reading;
}

bool addDatabase(CrateReading &reading, const std::string &text)
{
    auto expected = expectedRecords(reading.crate);
    const std::string prefix = reading.crate.name + ":";
    std::string lacking;
    bool isOfCrate = false;
    Parameter *current = nullptr;
    std::string_view rest = text;
    while (const auto line = cut(rest, "\n")) {
        if (line->rfind("record(", 0) != 0) {
            if (current != nullptr)
                addField(*current, *line);
            continue;
        }
        const auto record = betweenQuotes(*line);
        const auto found = expected.find(record);
        const bool isExpected = found != expected.end();
        const bool isOwn = record.rfind(prefix, 0) == 0;
        current = isExpected ? found->second.parameter : nullptr;
        isOfCrate = isOfCrate || isOwn;
        if (isExpected)
            found->second.isSeen = true;
        else if (isOwn && isRecordName(record))
            lacking = record;
    }
    const auto unseen = std::find_if(expected.begin(), expected.end(),
                                     [](const auto &each) { return !each.second.isSeen; });
    if (!lacking.empty())
        reading.findings.push_back({0, "lacks record \"" + lacking +
                                           "\" of the ZANTO.db beside it: was cut short, or the "
                                           "two are not of one start of the server"});
    else if (isOfCrate && unseen != expected.end())
        reading.findings.push_back({0, "record \"" + unseen->first +
                                           "\" is not in the ZANTO.db beside it, which was cut "
                                           "short or is of another start of the server"});
    return isOfCrate;
}

Crate describedCrate(const sim::CrateDescription &description, const std::string &name)
{
    Crate crate;
    crate.name = name;
    for (const auto &property : description.properties)
        if (property.name != "ResFlag") // the server passes it over
            append(crate.parameters,
                   described(name, property.name, typesOf(property.type), property.mode));
    for (const auto &command : description.commands)
        append(crate.parameters, described(name, command.name, texts, sim::Mode::Write));
    for (size_t slot = 0; slot < description.slots.size(); ++slot) {
        const auto &board = description.slots[slot];
        const auto *model = board ? description.findModel(board->model) : nullptr;
        if (model == nullptr)
            continue;
        Board made;
        made.slot = static_cast<int>(slot);
        for (const auto &parameter : model->board)
            append(made.parameters, crate.recordOf(made.slot), parameter, 0); // the server's too
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

} // namespace pvlist
