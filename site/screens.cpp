#include "screens.h"

#include "screenparts.h"
#include "statesymbols.h"

namespace site {

namespace {

constexpr int crateWidth = 180;
constexpr int detailX = left + crateWidth + 10;
constexpr int detailWidth = 420;
constexpr int valuesX = detailX + detailWidth + 10;
constexpr int valuePitch = 120;
constexpr int valueWidth = valuePitch - 10;

// Titles and records, which are empty where the crate has none.
Texts valuesOf(const PlannedCrate &crate)
{
    Texts values = summaryOf(crate.name, crate.hasStates());
    values.emplace_back("Connection", crate.hasHealth ? crate.name + ":Health:Lost" : "");
    return values;
}

void indexTitles(Screen &screen, int y)
{
    screen.label({left, y, crateWidth, lineHeight}, "Crate", Font::Heading);
    screen.label({detailX, y, detailWidth, lineHeight}, "Description", Font::Heading);
    int x = valuesX;
    for (const auto &[title, record] : valuesOf({})) {
        screen.label({x, y, valueWidth, lineHeight}, title, Font::Heading);
        x += valuePitch;
    }
}

void indexLine(Screen &screen, int y, const PlannedCrate &crate, const ScreenLinks &links)
{
    screen.button({left, y, crateWidth, lineHeight}, plain(crate.name), links.of(crate));
    screen.label({detailX, y, detailWidth, lineHeight}, plain(crate.description));
    int x = valuesX;
    for (const auto &[title, record] : valuesOf(crate)) {
        if (!record.empty())
            screen.reading({x, y, valueWidth, lineHeight}, record);
        x += valuePitch;
    }
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
             const std::vector<NamedLink> &buttons)
{
    screen.label({left, 10, 340, 32}, name, Font::Title);
    int x = left + 350;
    for (const NamedLink &each : buttons) {
        screen.button({x, 13, 90, 26}, each.text, each.link);
        x += 100;
    }
    if (!detail.empty())
        screen.label({x, 10, 420, 32}, detail);
}

Texts summaryOf(const std::string &owner, bool hasStates)
{
    Texts summary{{"Channels on", channelsOn},
                  {"Ramping", channelsRamping},
                  {"Tripped", channelsTripped},
                  {"Worst severity", worstSeverity}};
    for (auto &[title, record] : summary)
        hasStates ? record.insert(0, owner + ":") : record.erase();
    return summary;
}

int summary(Screen &screen, int y, const std::string &owner, bool hasStates)
{
    if (!hasStates)
        return y;
    int x = left;
    for (const auto &[title, record] : summaryOf(owner, hasStates)) {
        screen.label({x, y, 90, lineHeight}, title);
        screen.reading({x + 90, y, 100, lineHeight}, record);
        x += 210;
    }
    return y + linePitch + 4;
}

OutputFiles screens(const Plan &plan)
{
    const ScreenLinks links(plan);
    OutputFiles files;
    const auto add = [&](const std::string &file, const std::string &text) {
        files.push_back({"screens/" + file, text});
    };
    add(ScreenLinks::index().file, indexScreen(plan, links));
    for (const PlannedCrate &crate : plan.crates) {
        add(links.of(crate).file, crateScreen(crate, links));
        for (const PlannedBoard &board : crate.boards)
            add(links.of(crate, &board).file, boardScreen(crate, board, links));
    }
    for (const auto &[file, example] : links.channelScreens())
        add(file, channelScreen(*example));
    for (const OutputFile &each : symbolDrawings())
        add(each.path, each.text);
    return files;
}

} // namespace site
