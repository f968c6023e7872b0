// The screens one by one, and what several of them have.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "plan.h"
#include "screenlinks.h"
#include "widgets.h"

namespace site {

std::string crateScreen(const PlannedCrate &crate, const ScreenLinks &links);
std::string boardScreen(const PlannedCrate &crate, const PlannedBoard &board,
                        const ScreenLinks &links);
// With macros for the channel's names.
std::string channelScreen(const PlannedChannel &channel);

constexpr int screenWidth = 1280; // of what is on it
constexpr int left = 10;
constexpr int gap = 6;
constexpr int lineHeight = 22;
constexpr int linePitch = 26;

// Boxes beside each other.
struct Line {
    int x, y;

    Box next(int width)
    {
        x += width + gap;
        return {x - width - gap, y, width, lineHeight};
    }

    // Goes on in the next line where this one has no room.
    void fit(int width)
    {
        if (x + width > left + screenWidth)
            *this = {left, y + linePitch};
    }
};

// Name, detail and buttons in one line. What comes next begins at firstLine.
void heading(Screen &screen, const std::string &name, const std::string &detail,
             const std::vector<std::pair<std::string, Link>> &buttons);
constexpr int firstLine = 54;

// Titles and records about all channels of a board or crate.
Texts summaryOf(const std::string &owner);

// Titles and records, several in a line. Returns where the next line begins.
int readings(Screen &screen, int y, const Texts &records);

// Drawing and words.
void state(Screen &screen, const Box &box, const std::string &pv);

} // namespace site
