// What is wrong with a description.
#pragma once

#include <string>
#include <vector>

#include "description.h"

namespace sim {

struct Problem {
    // Member names and positions from the top, as in "models/1/channel/3/minimum" or
    // "slots/7/channels/0/start/VSet"; whoever read the description from somewhere finds the
    // place by it.
    std::string path;
    std::string text; // for people; names the place too
};

// What is wrong with a description; empty when a Crate can be built from it.
std::vector<Problem> findProblems(const CrateDescription &description);

} // namespace sim
