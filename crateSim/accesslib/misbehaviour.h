// What a maker's library may do and this one does when it is asked to, so that
// programs can be tried with it: give calls up when a signal comes, and take
// its time.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/operations.h"

namespace sim::accesslib {

struct SlowCalls {
    std::string beginning; // of the operation's name without the common prefix
    std::chrono::milliseconds delay;
};

struct Misbehaviour {
    // A call fails at once when a signal interrupts it; else it goes on.
    bool failsInterrupted = false;
    std::vector<SlowCalls> slow; // the first one that fits counts

    // Time that a call takes beyond its answer, whatever signals come.
    std::chrono::milliseconds delayOf(wire::Operation operation) const;
    void delay(wire::Operation operation) const;
};

// Of this process; by its environment at first. Not to be changed while calls
// are under way.
Misbehaviour &misbehaviour();

// Reads NAME=SECONDS,... where NAME is an operation's name, or the beginning of
// several, with or without the common prefix, or "any". Nothing for what cannot
// be understood.
std::optional<std::vector<SlowCalls>> parseSlowCalls(std::string_view text);

} // namespace sim::accesslib
