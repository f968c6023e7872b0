// What ends the program with a line for the user.
#pragma once

#include <stdexcept>

#include "json.h"

namespace sim::ctl {

class Problem : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The crate said no.
class Refused : public Problem {
public:
    explicit Refused(Json refusal)
        : Problem(refusal.value("error", "refused without a reason")), answer(std::move(refusal))
    {
    }

    const Json answer;
};

} // namespace sim::ctl
