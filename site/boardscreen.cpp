// A board as a table: a line for each channel.
#include "screenparts.h"

#include <algorithm>
#include <iterator>

#include "statesymbols.h"

namespace site {

namespace {

constexpr int gap = 6;
constexpr int numberWidth = 40;

struct Column;
using Show = void (*)(Screen &, const Box &, const PlannedChannel &, const Column &);

struct Column {
    const char *title;
    int width;
    Show show;
    const PlannedParameter *ChannelRoles::*role = nullptr; // null: of every channel
};

void showName(Screen &screen, const Box &box, const PlannedChannel &channel, const Column &)
{
    screen.label(box, plain(channel.shownName())).set("tooltip", plain(channel.description));
}

void showState(Screen &screen, const Box &box, const PlannedChannel &channel, const Column &)
{
    if (!channel.hasState)
        return;
    screen.symbol({box.x, box.y + 1, symbolSize, symbolSize}, channel.shownState(), symbolFiles());
    const int words = symbolSize + gap;
    screen.reading({box.x + words, box.y, box.width - words, box.height}, channel.shownState());
}

void showReading(Screen &screen, const Box &box, const PlannedChannel &channel,
                 const Column &column)
{
    const PlannedParameter *shown = channel.roles.*column.role;
    if (shown && shown->parameter->readable)
        screen.reading(box, shown->shownName());
}

void showSetPoint(Screen &screen, const Box &box, const PlannedChannel &channel,
                  const Column &column)
{
    const PlannedParameter *shown = channel.roles.*column.role;
    if (!shown || !shown->parameter->writable)
        showReading(screen, box, channel, column);
    else if (shown->parameter->type == "bo")
        screen.toggle(box, shown->shownName(), "Switch " + plain(channel.shownName()) + "?");
    else
        screen.entry(box, shown->shownName());
}

const std::vector<Column> &columns()
{
    static const std::vector<Column> all{
        {"Name", 200, showName},
        {"State", 180, showState},
        {"Voltage set", 90, showSetPoint, &ChannelRoles::voltageSet},
        {"Voltage", 100, showReading, &ChannelRoles::voltage},
        {"Current set", 90, showSetPoint, &ChannelRoles::currentSet},
        {"Current", 100, showReading, &ChannelRoles::current},
        {"Power", 80, showSetPoint, &ChannelRoles::power},
        {"Trip cause", 200, showReading, &ChannelRoles::tripCause},
    };
    return all;
}

std::vector<Column> columnsOf(const PlannedBoard &board)
{
    std::vector<Column> used;
    std::copy_if(
        columns().begin(), columns().end(), std::back_inserter(used), [&](const Column &of) {
            return !of.role ||
                   std::any_of(board.channels.begin(), board.channels.end(),
                               [&](const PlannedChannel &each) { return each.roles.*of.role; });
        });
    return used;
}

void table(Screen &screen, int y, const PlannedCrate &crate, const PlannedBoard &board,
           const ScreenLinks &links)
{
    for (const PlannedChannel &each : board.channels)
        screen.button({left, y + linePitch * static_cast<int>(&each - &board.channels.front() + 1),
                       numberWidth, lineHeight},
                      std::to_string(each.number), links.of(crate, &board, &each));
    int x = left + numberWidth + gap;
    for (const Column &column : columnsOf(board)) {
        Box box{x, y, column.width, lineHeight};
        screen.label(box, column.title, Font::Heading);
        for (const PlannedChannel &each : board.channels) {
            box.y += linePitch;
            column.show(screen, box, each, column);
        }
        x += column.width + gap;
    }
}

int boardParameters(Screen &screen, int y, const PlannedBoard &board)
{
    constexpr int perLine = 4;
    constexpr int pitch = screenWidth / perLine;
    constexpr int titleWidth = 120;
    int shown = 0;
    for (const PlannedParameter &each : board.parameters) {
        if (!each.parameter->readable)
            continue;
        const int x = left + shown % perLine * pitch;
        const int line = y + shown / perLine * linePitch;
        screen.label({x, line, titleWidth, lineHeight}, plain(each.parameter->name));
        screen.reading({x + titleWidth, line, pitch - titleWidth - 20, lineHeight},
                       each.shownName());
        shown++;
    }
    return y + (shown + perLine - 1) / perLine * linePitch + 8;
}

} // namespace

std::string boardScreen(const PlannedCrate &crate, const PlannedBoard &board,
                        const ScreenLinks &links)
{
    Screen screen(plain(board.record));
    heading(screen, plain(board.record), plain(board.description),
            {{"All crates", ScreenLinks::index()}, {"Crate", links.of(crate)}});
    int y = summary(screen, firstLine, board.record, board.hasStates());
    y = boardParameters(screen, y, board);
    table(screen, y, crate, board, links);
    return screen.xml();
}

} // namespace site
