// The crate's answers as titles and tables.
#pragma once

#include <string>
#include <vector>

#include "json.h"
#include "table.h"

namespace sim::ctl {

struct View {
    std::vector<std::string> titles;
    Table main; // what the view is about
    Table more; // beside it
};

// Of the crate, a board or a channel: whichever was asked for.
View viewOf(const Json &shown);

// The system's properties and commands.
View systemView(const Json &shown);

View emptyView(const Json &answer); // of an answer that only says that it was done
View valueView(const Json &answer);
View logView(const Json &answer);
View statisticsView(const Json &statistics);
View subscriptionsView(const Json &subscriptions);
View faultsView(const Json &faults);

// Titles, what stands beside, and the main table, with an empty line between them.
std::vector<Line> linesOf(const View &view);

} // namespace sim::ctl
