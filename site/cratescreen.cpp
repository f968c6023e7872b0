// A crate as a map: a line for each board, a cell for each channel.
#include "screenparts.h"

#include <algorithm>
#include <map>

#include "statesymbols.h"

namespace site {

namespace {

constexpr int cellPitch = 23;
constexpr int lineChannels = 48; // a board with more goes on in a further line
constexpr int boardWidth = 150;
constexpr int titleHeight = 16;
constexpr int blockGap = 16;
constexpr int blockLines = 20; // where there is room for a second block beside

// Of the server, with titles.
constexpr std::pair<const char *, const char *> healthRecords[] = {
    {"Connection", "Lost"},
    {"Last delivery", "LastDelivery"},
    {"Event rate", "EventRate"},
    {"Batch rate", "BatchRate"},
    {"Held values", "HeldValues"},
    {"Scans deferred", "ScansDeferred"},
    {"Scans refused", "ScansRefused"},
    {"Failed calls", "FailedCalls"},
    {"Board inserted", "Inserted"},
    {"Records", "Records"},
    {"Clients", "Clients"},
    {"Start time", "StartTime"},
};

// By board and the first channel that a line has room for.
using Lines = std::map<std::pair<const PlannedBoard *, int>, std::vector<const PlannedChannel *>>;

Lines linesOf(const PlannedCrate &crate)
{
    Lines lines;
    for (const PlannedBoard &board : crate.boards) {
        if (board.channels.empty())
            lines[{&board, 0}] = {};
        for (const PlannedChannel &each : board.channels)
            lines[{&board, each.number - each.number % lineChannels}].push_back(&each);
    }
    return lines;
}

int columnsOf(const Lines &lines)
{
    int columns = 1;
    for (const auto &[place, channels] : lines)
        if (!channels.empty()) // ascending
            columns = std::max(columns, channels.back()->number - place.second + 1);
    return columns;
}

// Lines under each other, in blocks beside each other where the boards are narrow.
void boardMap(Screen &screen, int top, const PlannedCrate &crate, const ScreenLinks &links)
{
    const Lines lines = linesOf(crate);
    const int columns = columnsOf(lines);
    const int width = boardWidth + columns * cellPitch + blockGap;
    const int room = std::max(1, (screenWidth + blockGap) / width);
    const int count = static_cast<int>(lines.size());
    const int blocks = std::clamp((count + blockLines - 1) / blockLines, 1, room);
    const int height = (count + blocks - 1) / blocks;
    int at = 0;
    for (const auto &[place, channels] : lines) {
        const auto &[board, first] = place;
        const int x = left + at / height * width;
        const int y = top + titleHeight + at % height * linePitch;
        const auto cellX = [&](int column) { return x + boardWidth + column * cellPitch; };
        for (int column = 0; column < columns && at % height == 0; column++)
            screen.add("number", {cellX(column), top, symbolSize, titleHeight - 2},
                       {{"text", std::to_string(column)}});
        const std::string text =
            first > 0 ? "from channel " + std::to_string(first) : plain(board->description);
        screen.addLink("button", {x, y, boardWidth - 8, lineHeight},
                       {{"text", std::to_string(board->slot) + " " + text}},
                       links.of(crate, board));
        for (const PlannedChannel *each : channels)
            screen.addLink(each->hasState ? "state cell" : "cell",
                           {cellX(each->number - first), y + 1, symbolSize, symbolSize},
                           {{"pv", each->shownState()},
                            {"text", std::to_string(each->number)},
                            {"tooltip", plain(each->shownName())}},
                           links.of(crate, board, each));
        at++;
    }
}

int legend(Screen &screen, int y)
{
    constexpr int width = 110;
    Line line{left, y};
    for (size_t at = 0; at < symbols().size(); at++) {
        line.fit(symbolSize + gap + width);
        const std::string text = at < stateCount ? stateWords[at].text : "Not connected";
        Box drawing = line.next(symbolSize);
        drawing.height = symbolSize;
        screen.add("picture", drawing, {{"file", symbols().at(at).path}});
        screen.add("small", line.next(width), {{"text", text}});
    }
    return line.y + linePitch + gap;
}

} // namespace

std::string crateScreen(const PlannedCrate &crate, const ScreenLinks &links)
{
    Screen screen(plain(crate.name));
    heading(screen, plain(crate.name), plain(crate.description),
            {{"All crates", ScreenLinks::index()}});
    Texts records;
    if (crate.hasStates())
        records = summaryOf(crate.name);
    for (const auto &[title, record] : healthRecords)
        records.emplace_back(title, crate.name + ":Health:" + record);
    int y = readings(screen, firstLine, records);
    if (crate.hasStates())
        y = legend(screen, y);
    boardMap(screen, y, crate, links);
    return screen.xml();
}

} // namespace site
