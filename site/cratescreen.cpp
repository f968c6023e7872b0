// A crate as a map: a line for each board, a cell for each channel.
#include "screenparts.h"

#include <algorithm>

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
constexpr std::array<std::pair<const char *, const char *>, 12> healthRecords{{
    {"Lost", "Connection"},
    {"LastDelivery", "Last delivery"},
    {"EventRate", "Event rate"},
    {"BatchRate", "Batch rate"},
    {"HeldValues", "Held values"},
    {"ScansDeferred", "Scans deferred"},
    {"ScansRefused", "Scans refused"},
    {"FailedCalls", "Failed calls"},
    {"Inserted", "Board inserted"},
    {"Records", "Records"},
    {"Clients", "Clients"},
    {"StartTime", "Start time"},
}};

struct Line {
    const PlannedBoard *board;
    int firstChannel;
    std::vector<const PlannedChannel *> channels;

    int columns() const
    {
        return channels.empty() ? 1 : channels.back()->number - firstChannel + 1;
    }
};

void addLines(std::vector<Line> &lines, const PlannedBoard &board)
{
    lines.push_back({&board, 0, {}});
    for (const PlannedChannel &channel : board.channels) {
        const int firstChannel = channel.number - channel.number % lineChannels;
        if (lines.back().channels.empty())
            lines.back().firstChannel = firstChannel;
        else if (lines.back().firstChannel != firstChannel)
            lines.push_back({&board, firstChannel, {}});
        lines.back().channels.push_back(&channel);
    }
}

// Lines under each other, in blocks beside each other where the boards are narrow.
class Map {
public:
    Map(const PlannedCrate &crate, const ScreenLinks &links) : m_crate(crate), m_links(links)
    {
        for (const PlannedBoard &board : crate.boards)
            addLines(m_lines, board);
        for (const Line &line : m_lines)
            m_columns = std::max(m_columns, line.columns());
    }

    void show(Screen &screen, int y) const
    {
        const int width = boardWidth + m_columns * cellPitch + blockGap;
        const int room = std::max(1, (screenWidth + blockGap) / width);
        const int count = static_cast<int>(m_lines.size());
        const int blocks = std::clamp((count + blockLines - 1) / blockLines, 1, room);
        const int height = (count + blocks - 1) / blocks;
        for (int at = 0; at < count; at++) {
            const int x = left + at / height * width;
            if (at % height == 0)
                showTitles(screen, x, y);
            showLine(screen, x, y + titleHeight + at % height * linePitch, m_lines.at(at));
        }
    }

private:
    void showTitles(Screen &screen, int x, int y) const
    {
        for (int column = 0; column < m_columns; column++)
            screen
                .label({x + boardWidth + column * cellPitch, y, symbolSize, titleHeight - 2},
                       std::to_string(column), Font::Small)
                .center();
    }

    void showLine(Screen &screen, int x, int y, const Line &line) const
    {
        const PlannedBoard &board = *line.board;
        std::string text = std::to_string(board.slot);
        text += line.firstChannel > 0 ? " from channel " + std::to_string(line.firstChannel)
                                      : " " + plain(board.description);
        screen.button({x, y, boardWidth - 8, lineHeight}, text, m_links.of(m_crate, &board));
        for (const PlannedChannel *each : line.channels) {
            const int column = each->number - line.firstChannel;
            const Box box{x + boardWidth + column * cellPitch, y + 1, symbolSize, symbolSize};
            showCell(screen, box, *each, m_links.of(m_crate, &board, each));
        }
    }

    static void showCell(Screen &screen, const Box &box, const PlannedChannel &channel,
                         const Link &link)
    {
        if (channel.hasState)
            screen.symbol(box, channel.shownState(), symbolFiles())
                .opens(link)
                .flag("run_actions_on_mouse_click", true);
        else
            screen.button(box, std::to_string(channel.number), link, Font::Small)
                .set("tooltip", plain(channel.shownName()));
    }

    const PlannedCrate &m_crate;
    const ScreenLinks &m_links;
    std::vector<Line> m_lines;
    int m_columns = 1;
};

int healthStrip(Screen &screen, int y, const PlannedCrate &crate)
{
    constexpr int count = static_cast<int>(healthRecords.size());
    constexpr int pitch = screenWidth / (count + 1); // the last one takes two
    for (int at = 0; at < count; at++) {
        const int x = left + at * pitch;
        const int width = (at + 1 < count ? pitch : 2 * pitch) - 6;
        const auto &[record, title] = healthRecords.at(at);
        screen.label({x, y, width, titleHeight}, title, Font::Small);
        screen.reading({x, y + titleHeight, width, lineHeight}, crate.name + ":Health:" + record);
    }
    return y + titleHeight + linePitch + 6;
}

int legend(Screen &screen, int y)
{
    constexpr int columns = 9;
    constexpr int pitch = screenWidth / columns;
    constexpr int height = symbolSize + 4;
    for (size_t at = 0; at < symbolFiles().size(); at++) {
        const int x = left + static_cast<int>(at) % columns * pitch;
        const int line = y + static_cast<int>(at) / columns * height;
        screen.picture({x, line, symbolSize, symbolSize}, symbolFiles().at(at));
        screen.label({x + symbolSize + 6, line, pitch - symbolSize - 10, symbolSize},
                     at < stateCount ? stateWords().at(at).text : "Not connected", Font::Small);
    }
    return y + 2 * height + 10;
}

} // namespace

std::string crateScreen(const PlannedCrate &crate, const ScreenLinks &links)
{
    Screen screen(plain(crate.name));
    heading(screen, plain(crate.name), plain(crate.description),
            {{"All crates", ScreenLinks::index()}});
    int y = summary(screen, firstLine, crate.name, crate.hasStates());
    if (crate.hasHealth)
        y = healthStrip(screen, y, crate);
    if (crate.hasStates())
        y = legend(screen, y);
    Map(crate, links).show(screen, y);
    return screen.xml();
}

} // namespace site
