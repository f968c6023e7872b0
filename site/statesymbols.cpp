#include "statesymbols.h"

#include "widgets.h"

namespace site {

namespace {

struct Ink {
    const char *square;
    const char *glyph;
};

constexpr Ink off{"#e8e8e8", "#606060"};
constexpr Ink on{"#2e8b57", "#ffffff"};
constexpr Ink ramping{"#2f6fc4", "#ffffff"};
constexpr Ink minor{"#f5b800", "#000000"};
constexpr Ink major{"#c62828", "#ffffff"};
constexpr Ink unknown{"#ffffff", "#a000a0"};

Ink inkOf(State state)
{
    if (state == State::Off)
        return off;
    if (state == State::On)
        return on;
    if (state == State::RampingUp || state == State::RampingDown)
        return ramping;
    const Severity severity = stateWords().at(static_cast<size_t>(state)).severity;
    return severity == Severity::Minor ? minor : major;
}

// Lines in a square of symbolSize: on and off as on switches, triangles for ramps, a cross for a
// trip, letters for the others, with a bar at the end that was passed.
constexpr std::array<const char *, stateCount> glyphs{
    "M10 5.5A4.5 4.5 0 0 1 10 14.5A4.5 4.5 0 0 1 10 5.5", // Off
    "M10 5V15",                                           // On
    "M10 5L15 14H5Z",                                     // RampingUp
    "M10 15L15 6H5Z",                                     // RampingDown
    "M5 4H15M14 9A4 4 0 1 0 14 14",                       // OverCurrent
    "M5 4H15M6 8L10 16L14 8",                             // OverVoltage
    "M6 4L10 12L14 4M5 16H15",                            // UnderVoltage
    "M5.5 5.5L14.5 14.5M14.5 5.5L5.5 14.5",               // Tripped
    "M14 5H7V15H14M7 10H13",                              // ExternalTrip
    "M5 15L15 5",                                         // Disabled
    "M7 4V15H14",                                         // VoltageLimit
    "M14 6A4 4 0 1 0 14 11M5 16H15",                      // UnderCurrent
    "M14 5H7V16M7 10H12",                                 // PowerFailure
    "M5 5H15M10 5V16",                                    // OverTemperature
    "M6 16V5L14 15V4",                                    // NotCalibrated
    "M6 4V11A4 4 0 0 0 14 11V4",                          // Unplugged
};

constexpr const char *questionMark = "M6 7A4 3.5 0 1 1 10 11V12.5M10 14.5V16.5";

std::string svg(const Ink &ink, const char *lines)
{
    const std::string size = std::to_string(symbolSize);
    const std::string side = std::to_string(symbolSize - 2);
    pugi::xml_document document;
    pugi::xml_node picture = document.append_child("svg");
    putAttributes(picture,
                  {{"xmlns", "http://www.w3.org/2000/svg"}, {"width", size}, {"height", size}});
    putAttributes(picture.append_child("rect"), {{"x", "1"},
                                                 {"y", "1"},
                                                 {"width", side},
                                                 {"height", side},
                                                 {"rx", "3"},
                                                 {"fill", ink.square},
                                                 {"stroke", "#606060"}});
    putAttributes(picture.append_child("path"),
                  {{"d", lines}, {"fill", "none"}, {"stroke", ink.glyph}, {"stroke-width", "2"}});
    return xmlText(document);
}

} // namespace

const std::vector<std::string> &symbolFiles()
{
    static const std::vector<std::string> files = [] {
        std::vector<std::string> made;
        for (const StateWords &each : stateWords())
            made.push_back(std::string("states/") + each.key + ".svg");
        made.emplace_back("states/unknown.svg");
        return made;
    }();
    return files;
}

OutputFiles symbolDrawings()
{
    OutputFiles made;
    for (size_t state = 0; state < stateCount; state++)
        made.push_back(
            {symbolFiles().at(state), svg(inkOf(static_cast<State>(state)), glyphs.at(state))});
    made.push_back({symbolFiles().back(), svg(unknown, questionMark)});
    return made;
}

} // namespace site
