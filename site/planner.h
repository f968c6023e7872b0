// Brings a site file and the crates that it speaks of together.
#pragma once

#include <string>
#include <vector>

#include "description/findings.h"
#include "plan.h"
#include "sitefile.h"

namespace site {

struct Planning {
    Plan plan;                          // points into the crates; usable only without findings
    std::vector<sim::Finding> findings; // in the site file
    std::vector<std::string> notes;     // what nobody has to mend
};

// Checks whatever can be known without a running crate. The crates must outlive the plan.
Planning makePlan(const SiteFile &file, const std::vector<Crate> &crates);

} // namespace site
