// What "show" and the counters answer, as titles and tables.
#pragma once

#include <string>
#include <vector>

#include "json.h"
#include "table.h"

namespace sim::ctl {

struct View {
    std::vector<std::string> titles;
    Table main; // what the view is about
    Table more; // beside it; without columns when there is nothing
};

// Of the crate, a board or a channel: whichever was asked for.
View viewOf(const Json &shown);

// The system's properties and commands.
View systemView(const Json &shown);

View statisticsView(const Json &statistics);
View subscriptionsView(const Json &subscriptions);
View faultsView(const Json &faults);

// Titles, what stands beside, and the main table, each apart from the next.
std::vector<Line> linesOf(const View &view);

} // namespace sim::ctl
