// The files that are written, a function for each. All need the crates that the plan speaks of.
#pragma once

#include <string>

#include "plan.h"

namespace site {

// site.acf: who may write what. Everybody may read everything; what no group is given to can be
// written by nobody.
std::string accessText(const Plan &plan);

// alarms.xml: the tree of an alarm server, which Phoebus imports. Channels stand where the segments
// of their names lead ("DC:S1:W07" in DC, S1, W07), those without a name under crate, slot and
// channel. A display's address is that of a file written by screens(), behind the folder.
std::string alarmTree(const Plan &plan, const std::string &screensFolder = "screens/");

// archive.json: an archiver appliance's request to archive.
std::string archiveText(const Plan &plan);

// channelfinder.json: each record with where it comes from and what it is.
std::string channelFinderText(const Plan &plan);

// How read-backs are disabled while the event connection is lost.
enum class StaleLink {
    State,   // base 7: a link to a state of the server, which joins no lock sets
    Database // every base: a link to the record HV:Health:Lost, which joins all of them
};

// site.db: what a site adds to the records that the server wrote. Loaded behind the server's own
// database, before iocInit.
std::string databaseText(const PlannedCrate &crate, const Plan &plan, StaleLink link);

// save-set.csv: the set-points that Phoebus' save and restore reads, in the order of restoring.
std::string saveSetText(const Plan &plan);

// When a set-point is restored: limits and rates first, voltages last. 0: never, as for anything
// that switches. Boards and crates have no roles.
int saveOrder(const PlannedParameter &planned, const ChannelRoles &roles);

// Operator screens as Phoebus display files, for the desktop and for the web. All in the folder
// "screens/", each linked from "screens/index.bob".
OutputFiles screens(const Plan &plan);

} // namespace site
