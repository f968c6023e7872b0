// Where a crate's records are known from: the files that its server writes, or its description.
#pragma once

#include <string>
#include <vector>

#include "crate.h"
#include "description/findings.h"
#include "model/description.h"

namespace pvlist {

struct CrateReading {
    Crate crate; // usable only without findings
    std::vector<sim::Finding> findings;
};

// The text of a server's pvlist.txt. A list that ends in the middle of a line is refused, and so is
// a line that no server writes.
CrateReading readPvList(const std::string &text);

// Limits, units and what else shows values, from the text of the server's ZANTO.db. It has the same
// records as the list, or one of the two was cut short. False when none of its records is the
// crate's.
bool addDatabase(CrateReading &reading, const std::string &text);

// The records that a server writes for the described crate when it is called `name`.
Crate describedCrate(const sim::CrateDescription &description, const std::string &name);

} // namespace pvlist
