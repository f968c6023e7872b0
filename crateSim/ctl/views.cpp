#include "views.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fmt/format.h>
#include <set>

#include "values.h"

namespace sim::ctl {

namespace {

std::string text(const Json &object, const char *key)
{
    const auto found = object.find(key);
    return found == object.end() ? "" : textOf(*found);
}

bool has(const Json &texts, const char *text)
{
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

// What a channel's status words come down to.
Tone toneOf(const Json &words)
{
    if (has(words, "unplugged"))
        return Tone::Absent;
    if (has(words, "internal-trip") || has(words, "external-trip"))
        return Tone::Tripped;
    if (has(words, "ramping-up") || has(words, "ramping-down"))
        return Tone::Ramping;
    return has(words, "on") ? Tone::On : Tone::Plain;
}

std::string timeText(double seconds)
{
    const int64_t tenths = std::llround(seconds * 10);
    return fmt::format("{}:{:02}:{:02}.{}", tenths / 36000, tenths / 600 % 60, tenths / 10 % 60,
                       tenths % 10);
}

std::string clockText(const Json &clock)
{
    const double speed = clock.value("speed", 1.0);
    std::string text = "crate time " + timeText(clock.value("uptime", 0.0));
    if (speed != 1)
        text += fmt::format(", {} times as fast as the clock", speed);
    return clock.value("paused", false) ? text + ", paused" : text;
}

// ---- Boards

Tone boardTone(const Json &board)
{
    if (!board.at("present").get<bool>())
        return Tone::Absent;
    const auto any = [&board](const char *key) { return board.at(key).get<int64_t>() > 0; };
    if (any("tripped"))
        return Tone::Tripped;
    if (any("ramping"))
        return Tone::Ramping;
    return any("on") ? Tone::On : Tone::Plain;
}

std::string boardState(const Json &board)
{
    return board.at("present").get<bool>() ? joined(board.at("statusText"), ", ") : "pulled out";
}

Table boardsTable(const Json &slots)
{
    constexpr auto right = Align::Right;
    Table table;
    table.columns = {{"Slot", right},     {"Model"},           {"Description"}, {"Serial", right},
                     {"Firmware", right}, {"Channels", right}, {"On", right},   {"Ramping", right},
                     {"Tripped", right},  {"Status"}};
    for (const auto &board : slots) {
        Row row{{}, boardTone(board)};
        for (const char *key : {"slot", "model", "description", "serialNumber", "firmware",
                                "channels", "on", "ramping", "tripped"})
            row.cells.push_back(text(board, key));
        row.cells.push_back(boardState(board));
        table.rows.push_back(std::move(row));
    }
    return table;
}

View crateView(const Json &shown)
{
    const size_t boards = shown.at("slots").size();
    return {{fmt::format("{}: {} slots, {} {}, {}", text(shown, "name"), text(shown, "slotCount"),
                         boards, boards == 1 ? "board" : "boards", clockText(shown.at("clock")))},
            boardsTable(shown.at("slots")),
            {}};
}

// ---- Channels

struct Measurement {
    const char *key;
    const char *title;
};

constexpr std::array<Measurement, 4> measurements = {{
    {"voltageSet", "V set"},
    {"voltage", "V"},
    {"currentSet", "I set"},
    {"current", "I"},
}};

std::string unitOf(const Json &row, const char *key) { return row.at("units").value(key, ""); }

// Of the rows that have the measurement; empty when none has.
std::set<std::string> unitsOf(const Json &rows, const char *key)
{
    std::set<std::string> units;
    for (const auto &row : rows)
        if (row.contains(key))
            units.insert(unitOf(row, key));
    return units;
}

std::string measured(const Json &row, const char *key, bool withUnit)
{
    if (!row.contains(key))
        return "";
    const std::string number = fixed(row.at(key), row.at("decimals").value(key, 0));
    return withUnit ? number + " " + unitOf(row, key) : number;
}

void addMeasurement(Table &table, const Json &rows, const Measurement &measurement)
{
    const char *key = measurement.key;
    const auto units = unitsOf(rows, key);
    if (units.empty())
        return;
    // The unit stands in the title when all channels share it.
    const bool isShared = units.size() == 1;
    const std::string unit = isShared ? *units.begin() : "";
    table.columns.push_back(
        {unit.empty() ? measurement.title : fmt::format("{} [{}]", measurement.title, unit),
         Align::Right});
    for (size_t index = 0; index < rows.size(); ++index)
        table.rows[index].cells.push_back(measured(rows[index], key, !isShared));
}

std::string channelState(const Json &row)
{
    const std::string words = joined(row.at("statusText"), ", ");
    return words.empty() ? "off" : words;
}

Table channelsTable(const Json &rows)
{
    Table table{{{"Ch", Align::Right}, {"Name"}}, {}};
    for (const auto &row : rows)
        table.rows.push_back(
            {{text(row, "channel"), text(row, "name")}, toneOf(row.at("statusText"))});
    for (const auto &measurement : measurements)
        addMeasurement(table, rows, measurement);
    table.columns.push_back({"Status"});
    for (size_t index = 0; index < rows.size(); ++index)
        table.rows[index].cells.push_back(channelState(rows[index]));
    return table;
}

// ---- Items

// A switch shows its label, a number its decimals.
std::string itemValue(const Json &item)
{
    const Json &value = item.at("value");
    const auto labels = item.find("labels");
    if (labels != item.end() && value.is_number_integer()) {
        const auto state = value.get<size_t>();
        const std::string label = state < labels->size() ? textOf((*labels)[state]) : "";
        return label.empty() ? textOf(value) : fmt::format("{} ({})", state, label);
    }
    const auto decimals = item.find("decimals");
    return decimals != item.end() ? fixed(value, decimals->get<int>()) : textOf(value);
}

Table itemsTable(const Json &items)
{
    Table table{{{"Name"}, {"Value", Align::Right}, {"Unit"}, {"Type"}, {"Mode"}, {"Role"}}, {}};
    for (const auto &item : items)
        table.rows.push_back({{text(item, "name"), itemValue(item), text(item, "unit"),
                               text(item, "type"), text(item, "mode"), text(item, "role")},
                              Tone::Plain});
    return table;
}

View boardView(const Json &shown)
{
    const std::string status = boardState(shown);
    return {{fmt::format("Slot {}: {}, {}", text(shown, "slot"), text(shown, "model"),
                         text(shown, "description")),
             fmt::format("serial number {}, firmware {}, status: {}", text(shown, "serialNumber"),
                         text(shown, "firmware"), status.empty() ? "OK" : status),
             clockText(shown.at("clock"))},
            channelsTable(shown.at("channelRows")),
            itemsTable(shown.at("items"))};
}

View channelView(const Json &shown)
{
    return {{fmt::format("Channel {}:{}, \"{}\", status: {}", text(shown, "slot"),
                         text(shown, "channel"), text(shown, "name"), channelState(shown)),
             clockText(shown.at("clock"))},
            itemsTable(shown.at("items")),
            {}};
}

// ---- Counters

void addCounters(Table &table, const Json &counters, const std::string &prefix = "")
{
    for (const auto &[name, value] : counters.items())
        if (!value.is_structured())
            table.rows.push_back({{prefix + name, textOf(value)}, Tone::Plain});
}

} // namespace

View viewOf(const Json &shown)
{
    if (shown.contains("slots"))
        return crateView(shown);
    return shown.contains("channelRows") ? boardView(shown) : channelView(shown);
}

View systemView(const Json &shown)
{
    return {{fmt::format("{}: {}", text(shown, "name"), clockText(shown.at("clock"))),
             "commands: " + joined(shown.at("commands"), ", ")},
            itemsTable(shown.at("items")),
            {}};
}

View emptyView(const Json &) { return {}; }

View valueView(const Json &answer) { return {{textOf(answer.value("value", Json()))}, {}, {}}; }

View logView(const Json &answer)
{
    View view;
    for (const auto &line : answer.at("log"))
        view.titles.push_back(textOf(line));
    return view;
}

View statisticsView(const Json &statistics)
{
    View view{{}, {{{"Counter"}, {"Value", Align::Right}}, {}}, {}};
    Json counters = statistics;
    counters.erase("ok");
    addCounters(view.main, counters);
    for (const char *group : {"storm", "faults", "calls", "failures"})
        if (counters.contains(group))
            addCounters(view.main, counters[group], std::string(group) + " ");
    return view;
}

View subscriptionsView(const Json &subscriptions)
{
    View view{{}, {{{"Subscriber"}, {"Connected"}, {"Items", Align::Right}}, {}}, {}};
    for (const auto &each : subscriptions.at("subscribers"))
        view.main.rows.push_back({{text(each, "address") + ":" + text(each, "port"),
                                   each.at("connected").get<bool>() ? "yes" : "no",
                                   std::to_string(each.at("items").size())},
                                  Tone::Plain});
    return view;
}

View faultsView(const Json &faults)
{
    View view{{}, {{{"Active fault"}, {"Fields"}}, {}}, {}};
    for (const auto &fault : faults.at("active")) {
        std::string fields;
        for (const auto &[name, value] : fault.items())
            if (name != "kind")
                fields += (fields.empty() ? "" : " ") + name + "=" + textOf(value);
        view.main.rows.push_back({{text(fault, "kind"), fields}, Tone::Plain});
    }
    view.more.columns = {{"Kind"}, {"Times applied", Align::Right}};
    addCounters(view.more, faults.at("counts"));
    return view;
}

std::vector<Line> linesOf(const View &view)
{
    std::vector<Line> lines;
    const auto part = [&lines](std::vector<Line> more) {
        if (!lines.empty() && !more.empty())
            lines.push_back({});
        lines.insert(lines.end(), more.begin(), more.end());
    };
    std::vector<Line> titles;
    for (const auto &title : view.titles)
        titles.push_back({title, Tone::Plain});
    part(titles);
    part(linesOf(view.more));
    part(linesOf(view.main));
    return lines;
}

} // namespace sim::ctl
