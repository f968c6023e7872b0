// Which file shows what, and the macros that it takes.
#pragma once

#include <map>
#include <string>

#include "plan.h"
#include "widgets.h"

namespace site {

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
