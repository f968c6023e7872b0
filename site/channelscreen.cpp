// One channel: its values beside their trend. Macros: P, DETAIL, CRATE, BOARD.
#include "screenparts.h"

#include "statesymbols.h"

namespace site {

namespace {

constexpr int entryX = left + 100;
constexpr int entryWidth = 110;
constexpr int readingX = entryX + entryWidth + 12;
constexpr int readingWidth = 150;
constexpr int chartX = readingX + readingWidth + 20;

// Switches are asked about, not entered.
void power(Screen &screen, int y, const std::string &pv)
{
    constexpr int width = entryWidth / 2 - 2;
    screen.command({entryX, y, width, lineHeight}, "On", pv, "1", "Switch $(P) on?");
    screen.command({entryX + entryWidth - width, y, width, lineHeight}, "Off", pv, "0",
                   "Switch $(P) off?");
}

// The server gives the read-back of a set-point neither names of states nor decimals.
void readBack(Screen &screen, int y, const std::string &pv, const std::string &readBack,
              const Parameter &parameter)
{
    constexpr int decimals = 3;
    constexpr int ledSize = 16; // without the border that the web renderer adds
    const Box box{readingX, y, readingWidth, lineHeight};
    if (!parameter.writable) {
        screen.reading({entryX, y, readingX + readingWidth - entryX, lineHeight}, readBack);
    } else if (parameter.type == "bo") {
        screen.led({box.x, y + 3, ledSize, ledSize}, readBack);
        constexpr int words = symbolSize + 6;
        screen.reading({box.x + words, y, box.width - words, lineHeight}, pv);
    } else {
        Widget shown = screen.reading(box, readBack);
        if (parameter.type == "ao")
            shown.set("precision", decimals);
    }
}

void roleLine(Screen &screen, int y, const RoleWords &words, const PlannedChannel &channel)
{
    const PlannedParameter &shown = *(channel.roles.*words.role);
    const std::string pv = onScreenOf(channel, shown.shownName());
    const Box box{entryX, y, entryWidth, lineHeight};
    screen.label({left, y, entryX - left, lineHeight}, words.label);
    if (&shown == channel.roles.clearTrip)
        screen.command(box, "Clear", pv, "1", "");
    else if (shown.parameter->writable && shown.parameter->type == "bo")
        power(screen, y, pv);
    else if (shown.parameter->writable)
        screen.entry(box, pv);
    if (shown.parameter->readable)
        readBack(screen, y, pv, onScreenOf(channel, shown.shownReadBack()), *shown.parameter);
}

void stateLine(Screen &screen, int y, const PlannedChannel &channel)
{
    const std::string pv = onScreenOf(channel, channel.shownState());
    screen.label({left, y, entryX - left, lineHeight}, "State");
    screen.symbol({entryX, y + 1, symbolSize, symbolSize}, pv, symbolFiles());
    constexpr int x = entryX + symbolSize + 6;
    screen.reading({x, y, readingX + readingWidth - x, lineHeight}, pv);
}

void chart(Screen &screen, const PlannedChannel &channel)
{
    Texts traces;
    for (const auto role : {&ChannelRoles::voltage, &ChannelRoles::current})
        if (const PlannedParameter *shown = channel.roles.*role)
            traces.emplace_back(role == &ChannelRoles::voltage ? "Voltage" : "Current",
                                onScreenOf(channel, shown->shownReadBack()));
    if (!traces.empty())
        screen.chart({chartX, firstLine, 600, 400}, traces);
}

} // namespace

std::string channelScreen(const PlannedChannel &example)
{
    Screen screen("$(P)");
    heading(screen, "$(P)", "$(DETAIL)",
            {{"Crate", {"$(CRATE).bob", {}}}, {"Board", {"$(BOARD).bob", {}}}});
    int y = firstLine;
    if (example.hasState) {
        stateLine(screen, y, example);
        y += linePitch;
    }
    for (const RoleWords &each : roleWords()) {
        if (!(example.roles.*each.role))
            continue;
        roleLine(screen, y, each, example);
        y += linePitch;
    }
    chart(screen, example);
    return screen.xml();
}

} // namespace site
