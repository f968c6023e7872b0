// The screens together, their index, and what several of them have.
#include "outputs.h"

#include "screenparts.h"
#include "statesymbols.h"

namespace site {

namespace {

constexpr int crateWidth = 180;
constexpr int detailWidth = 420;
constexpr int valueWidth = 110;

void indexTitles(Screen &screen, int y)
{
    Line line{left, y};
    screen.add("heading", line.next(crateWidth), {{"text", "Crate"}});
    screen.add("heading", line.next(detailWidth), {{"text", "Description"}});
    for (const auto &[title, record] : summaryOf(""))
        screen.add("heading", line.next(valueWidth), {{"text", title}});
    screen.add("heading", line.next(valueWidth), {{"text", "Connection"}});
}

void indexLine(Screen &screen, int y, const PlannedCrate &crate, const ScreenLinks &links)
{
    Line line{left, y};
    screen.addLink("button", line.next(crateWidth), {{"text", plain(crate.name)}}, links.of(crate));
    screen.add("label", line.next(detailWidth), {{"text", plain(crate.description)}});
    for (const auto &[title, record] : summaryOf(crate.name)) {
        const Box box = line.next(valueWidth);
        if (crate.hasStates())
            screen.add("reading", box, {{"pv", record}});
    }
    screen.add("reading", line.next(valueWidth), {{"pv", crate.name + ":Health:Lost"}});
}

std::string indexScreen(const Plan &plan, const ScreenLinks &links)
{
    Screen screen(plain(plan.title));
    heading(screen, plain(plan.title), "", {});
    int y = firstLine;
    indexTitles(screen, y);
    for (const PlannedCrate &crate : plan.crates)
        indexLine(screen, y += linePitch, crate, links);
    return screen.xml();
}

} // namespace

void heading(Screen &screen, const std::string &name, const std::string &detail,
             const std::vector<std::pair<std::string, Link>> &buttons)
{
    Line line{left, 13};
    screen.add("title", line.next(340), {{"text", name}});
    for (const auto &[text, link] : buttons)
        screen.addLink("button", line.next(90), {{"text", text}}, link);
    if (!detail.empty())
        screen.add("label", line.next(420), {{"text", detail}});
}

Texts summaryOf(const std::string &owner)
{
    return {{"Channels on", owner + ":" + channelsOn},
            {"Ramping", owner + ":" + channelsRamping},
            {"Tripped", owner + ":" + channelsTripped},
            {"Worst severity", owner + ":" + worstSeverity}};
}

int readings(Screen &screen, int y, const Texts &records)
{
    constexpr int titleWidth = 120;
    constexpr int width = 180;
    Line line{left, y};
    for (const auto &[title, record] : records) {
        line.fit(titleWidth + gap + width);
        screen.add("label", line.next(titleWidth), {{"text", title}});
        screen.add("reading", line.next(width), {{"pv", record}});
    }
    return records.empty() ? y : line.y + linePitch + gap;
}

void state(Screen &screen, const Box &box, const std::string &pv)
{
    constexpr int words = symbolSize + gap;
    screen.add("state", {box.x, box.y + 1, symbolSize, symbolSize}, {{"pv", pv}});
    screen.add("reading", {box.x + words, box.y, box.width - words, box.height}, {{"pv", pv}});
}

OutputFiles screens(const Plan &plan)
{
    const ScreenLinks links(plan);
    OutputFiles files{{ScreenLinks::index().file, indexScreen(plan, links)}};
    for (const PlannedCrate &crate : plan.crates) {
        files.push_back({links.of(crate).file, crateScreen(crate, links)});
        for (const PlannedBoard &board : crate.boards)
            files.push_back({links.of(crate, &board).file, boardScreen(crate, board, links)});
    }
    for (const OutputFiles *more : {&links.channelScreens(), &symbols()})
        files.insert(files.end(), more->begin(), more->end());
    for (OutputFile &each : files)
        each.path.insert(0, "screens/");
    return files;
}

} // namespace site
