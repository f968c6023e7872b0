// Which file shows what, the macros that it takes, and the words that several have.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "plan.h"
#include "widgets.h"

namespace site {

// What a channel can do, with the words for it.
struct RoleWords {
    const char *label;
    const PlannedParameter *ChannelRoles::*role;
    int columnWidth = 0; // in the table of a board, pixels; 0: not there
};

const std::vector<RoleWords> &roleWords();

// A record by which name people know it, as the channel's screen writes it: relative to the macro
// P, the channel's name, so that channels which differ in nothing else share a screen.
std::string onScreenOf(const PlannedChannel &channel, const std::string &record);

// Of a plan that outlives it.
class ScreenLinks {
public:
    explicit ScreenLinks(const Plan &plan);

    static Link index() { return {"index.bob", {}}; }
    // To a crate, one of its boards or one of that one's channels.
    Link of(const PlannedCrate &crate, const PlannedBoard *board = nullptr,
            const PlannedChannel *channel = nullptr) const;

    // Each of them shows all channels that differ in their names alone.
    const OutputFiles &channelScreens() const { return m_channelScreens; }

private:
    std::map<const PlannedChannel *, std::string> m_files;
    OutputFiles m_channelScreens;
};

// A description's words: what looks like a macro is none.
std::string plain(const std::string &text);

// "file.bob?P=HV%3A03&...", as programs other than screens take a link.
std::string address(const Link &link);

} // namespace site
