#include "statesymbols.h"

#include <fmt/format.h>

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

struct Drawing {
    Ink ink;
    const char *lines; // in a square of symbolSize
};

// On and off as on switches, triangles for ramps, a cross for a trip, letters for the others, with
// a bar at the end that was passed. In the order of symbols().
constexpr std::array<Drawing, stateCount + 1> drawings{{
    {off, "M10 5.5A4.5 4.5 0 0 1 10 14.5A4.5 4.5 0 0 1 10 5.5"}, // Off
    {on, "M10 5V15"},                                            // On
    {ramping, "M10 5L15 14H5Z"},                                 // RampingUp
    {ramping, "M10 15L15 6H5Z"},                                 // RampingDown
    {minor, "M5 4H15M14 9A4 4 0 1 0 14 14"},                     // OverCurrent
    {major, "M5 4H15M6 8L10 16L14 8"},                           // OverVoltage
    {minor, "M6 4L10 12L14 4M5 16H15"},                          // UnderVoltage
    {major, "M5.5 5.5L14.5 14.5M14.5 5.5L5.5 14.5"},             // Tripped
    {major, "M14 5H7V15H14M7 10H13"},                            // ExternalTrip
    {minor, "M5 15L15 5"},                                       // Disabled
    {minor, "M7 4V15H14"},                                       // VoltageLimit
    {minor, "M14 6A4 4 0 1 0 14 11M5 16H15"},                    // UnderCurrent
    {major, "M14 5H7V16M7 10H12"},                               // PowerFailure
    {major, "M5 5H15M10 5V16"},                                  // OverTemperature
    {minor, "M6 16V5L14 15V4"},                                  // NotCalibrated
    {major, "M6 4V11A4 4 0 0 0 14 11V4"},                        // Unplugged
    {unknown, "M6 7A4 3.5 0 1 1 10 11V12.5M10 14.5V16.5"},
}};

std::string svg(const Drawing &drawing)
{
    constexpr const char *file = R"(<?xml version="1.0"?>
<svg xmlns="http://www.w3.org/2000/svg" width="20" height="20">
  <rect x="1" y="1" width="18" height="18" rx="3" stroke="#606060" fill="{}"/>
  <path fill="none" stroke-width="2" stroke="{}" d="{}"/>
</svg>
)";
    return fmt::format(file, drawing.ink.square, drawing.ink.glyph, drawing.lines);
}

} // namespace

const OutputFiles &symbols()
{
    static const OutputFiles all = [] {
        OutputFiles made;
        for (size_t at = 0; at < drawings.size(); at++) {
            const std::string key = at < stateCount ? stateWords[at].key : "unknown";
            made.push_back({"states/" + key + ".svg", svg(drawings.at(at))});
        }
        return made;
    }();
    return all;
}

} // namespace site
