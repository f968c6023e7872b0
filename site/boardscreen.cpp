// A board as a table: a line for each channel.
#include "screenparts.h"

#include <algorithm>

namespace site {

namespace {

constexpr int numberWidth = 40;
constexpr int nameWidth = 200;
constexpr int stateWidth = 180;

// A column for each role that a channel has.
std::vector<RoleWords> columnsOf(const PlannedBoard &board)
{
    std::vector<RoleWords> used;
    for (const RoleWords &words : roleWords) {
        const auto has = [&](const PlannedChannel &each) { return each.roles.*words.role; };
        if (words.columnWidth > 0 && std::any_of(board.channels.begin(), board.channels.end(), has))
            used.push_back(words);
    }
    return used;
}

void titles(Screen &screen, Line line, const std::vector<RoleWords> &columns)
{
    line.next(numberWidth);
    screen.add("heading", line.next(nameWidth), {{"text", "Name"}});
    screen.add("heading", line.next(stateWidth), {{"text", "State"}});
    for (const RoleWords &each : columns)
        screen.add("heading", line.next(each.columnWidth), {{"text", each.label}});
}

void value(Screen &screen, const Box &box, const PlannedChannel &channel,
           const PlannedParameter &shown)
{
    const Texts values{{"pv", shown.shownName()},
                       {"question", "Switch " + plain(channel.shownName()) + "?"}};
    const char *input = shown.parameter->type == "bo" ? "toggle" : "entry";
    screen.add(shown.parameter->writable ? input : "reading", box, values);
}

void channelLine(Screen &screen, Line line, const PlannedChannel &channel,
                 const std::vector<RoleWords> &columns, const Link &link)
{
    const std::string number = std::to_string(channel.number);
    screen.addLink("button", line.next(numberWidth), {{"text", number}}, link);
    screen.add("named", line.next(nameWidth),
               {{"text", plain(channel.shownName())}, {"tooltip", plain(channel.description)}});
    const Box stateBox = line.next(stateWidth);
    if (channel.hasState)
        state(screen, stateBox, channel.shownState());
    for (const RoleWords &each : columns) {
        const Box box = line.next(each.columnWidth);
        if (const PlannedParameter *shown = channel.roles.*each.role)
            value(screen, box, channel, *shown);
    }
}

} // namespace

std::string boardScreen(const PlannedCrate &crate, const PlannedBoard &board,
                        const ScreenLinks &links)
{
    Screen screen(plain(board.record));
    heading(screen, plain(board.record), plain(board.description),
            {{"All crates", ScreenLinks::index()}, {"Crate", links.of(crate)}});
    Texts records;
    if (board.hasStates())
        records = summaryOf(board.record);
    for (const PlannedParameter &each : board.parameters)
        if (each.parameter->readable)
            records.emplace_back(plain(each.parameter->name), each.shownName());
    int y = readings(screen, firstLine, records);
    const auto columns = columnsOf(board);
    titles(screen, {left, y}, columns);
    for (const PlannedChannel &each : board.channels)
        channelLine(screen, {left, y += linePitch}, each, columns, links.of(crate, &board, &each));
    return screen.xml();
}

} // namespace site
