// The screens one by one, and what several of them have.
#pragma once

#include <string>
#include <vector>

#include "plan.h"
#include "screenlinks.h"
#include "widgets.h"

namespace site {

std::string crateScreen(const PlannedCrate &crate, const ScreenLinks &links);
std::string boardScreen(const PlannedCrate &crate, const PlannedBoard &board,
                        const ScreenLinks &links);
// For every channel whose screen has the example's file.
std::string channelScreen(const PlannedChannel &example);

constexpr int screenWidth = 1280; // of what is on it
constexpr int left = 10;
constexpr int lineHeight = 22;
constexpr int linePitch = 26;

struct NamedLink {
    std::string text;
    Link link;
};

// Name, detail and buttons in one line. What comes next begins at firstLine.
void heading(Screen &screen, const std::string &name, const std::string &detail,
             const std::vector<NamedLink> &buttons);
constexpr int firstLine = 54;

// Titles and records about all channels of a board or crate; the records are empty without states.
Texts summaryOf(const std::string &owner, bool hasStates);

// Them in one line, if there are any. Returns where the next line begins.
int summary(Screen &screen, int y, const std::string &owner, bool hasStates);

} // namespace site
