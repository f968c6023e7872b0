// One channel: its values beside their trend. Macros: P, DETAIL, CRATE, BOARD.
#include "screenparts.h"

#include <tuple>

namespace site {

namespace {

constexpr int labelWidth = 94;
constexpr int entryWidth = 110;
constexpr int readingWidth = 150;
constexpr int valueWidth = entryWidth + gap + readingWidth;
constexpr int chartX = left + labelWidth + gap + valueWidth + 20;

// A record by which name people know it: relative to the macro P, the channel's name, so that
// channels which differ in nothing else share a screen.
std::string onScreenOf(const PlannedChannel &channel, const std::string &record)
{
    const std::string beginning = channel.shownName() + ":";
    const bool relative = record.compare(0, beginning.size(), beginning) == 0;
    return relative ? "$(P):" + record.substr(beginning.size()) : record;
}

// Switches are asked about, not entered.
void power(Screen &screen, const Box &box, const std::string &pv)
{
    Line line{box.x, box.y};
    for (const auto &[text, value, question] :
         {std::tuple("On", "1", "Switch $(P) on?"), {"Off", "0", "Switch $(P) off?"}})
        screen.add("switch", line.next((box.width - gap) / 2),
                   {{"text", text}, {"pv", pv}, {"value", value}, {"question", question}});
}

void readBack(Screen &screen, Box box, const std::string &pv, const std::string &type)
{
    constexpr int ledSize = 16; // without the border that the web renderer adds
    if (type == "bo") {
        screen.add("led", {box.x, box.y + 3, ledSize, ledSize}, {{"pv", pv}});
        box.x += lineHeight + gap;
        box.width -= lineHeight + gap;
    }
    screen.add(type == "ao" ? "read-back" : "reading", box, {{"pv", pv}});
}

void roleLine(Screen &screen, Line line, const RoleWords &words, const PlannedChannel &channel)
{
    const PlannedParameter &shown = *(channel.roles.*words.role);
    const Parameter &parameter = *shown.parameter;
    const std::string pv = onScreenOf(channel, shown.shownName());
    screen.add("label", line.next(labelWidth), {{"text", words.label}});
    const Box box = line.next(parameter.writable ? entryWidth : valueWidth);
    if (!parameter.writable)
        screen.add("reading", box, {{"pv", pv}});
    else if (&shown == channel.roles.clearTrip)
        screen.add("command", box, {{"text", "Clear"}, {"pv", pv}, {"value", "1"}});
    else if (parameter.type == "bo")
        power(screen, box, pv);
    else
        screen.add("entry", box, {{"pv", pv}});
    if (parameter.isSetPoint())
        readBack(screen, line.next(readingWidth), onScreenOf(channel, shown.shownReadBack()),
                 parameter.type);
}

void charts(Screen &screen, const PlannedChannel &channel)
{
    constexpr int width = 600;
    constexpr int height = 200;
    int y = firstLine;
    for (const auto &[title, shown] :
         {std::pair("Voltage", channel.roles.voltage), {"Current", channel.roles.current}}) {
        if (shown == nullptr)
            continue;
        screen.add("chart", {chartX, y, width, height},
                   {{"title", title}, {"pv", onScreenOf(channel, shown->shownReadBack())}});
        y += height + gap;
    }
}

} // namespace

std::string channelScreen(const PlannedChannel &channel)
{
    Screen screen("$(P)");
    heading(screen, "$(P)", "$(DETAIL)",
            {{"Crate", {"$(CRATE).bob", {}}}, {"Board", {"$(BOARD).bob", {}}}});
    Line line{left, firstLine};
    if (channel.hasState) {
        Line cells = line;
        screen.add("label", cells.next(labelWidth), {{"text", "State"}});
        state(screen, cells.next(valueWidth), onScreenOf(channel, channel.shownState()));
        line.y += linePitch;
    }
    for (const RoleWords &each : roleWords) {
        if (!(channel.roles.*each.role))
            continue;
        roleLine(screen, line, each, channel);
        line.y += linePitch;
    }
    charts(screen, channel);
    return screen.xml();
}

} // namespace site
