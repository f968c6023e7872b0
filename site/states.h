// Each channel's State in words, and what boards and crates sum up of them, as standard records.
#pragma once

#include <string>

#include "plan.h"

namespace site {

// The record that the channel's status has to process.
std::string stateEntry(const PlannedChannel &channel);

// Of all records that are written because of a channel the one with the longest name.
std::string longestStateRecord(const PlannedChannel &channel);

// With stale, all of them become INVALID while the event connection is lost.
//
// Per channel: Status -> State:Word -> State:Code -> State -> State:Count, each processing the
// next. Word stops where the status has not changed, so that a pass over all records costs one
// more per channel; Code is the number of the state; Count is 1 for on, 1E4 for ramping and 1E8
// for tripped, summed up with the severities of what it sums.
std::string stateRecords(const PlannedCrate &crate, bool stale);

} // namespace site
