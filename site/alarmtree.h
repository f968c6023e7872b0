// The tree of an alarm server, as an XML file that Phoebus imports.
#pragma once

#include <string>

#include "plan.h"

namespace site {

// Channels stand where the segments of their names lead ("DC:S1:W07" in DC, S1, W07), those
// without a name under crate, slot and channel. A display's address is that of a file written by
// screens(), behind the folder.
std::string alarmTree(const Plan &plan, const std::string &screensFolder = "screens/");

} // namespace site
