// From what was seen of a mainframe to the description of a crate like it.
#pragma once

#include <string>
#include <vector>

#include "../description/cratefile.h"
#include "survey.h"

namespace sim::capture {

struct Described {
    CrateFile file;
    std::vector<std::string> comment; // what could not be learnt
};

Described describe(const SeenCrate &seen, const std::string &name);

} // namespace sim::capture
