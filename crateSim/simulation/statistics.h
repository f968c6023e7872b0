// What the crate has been asked and what it has sent, for the control port.
#pragma once

#include <cstdint>

#include "calls/statistics.h"
#include "events/link.h"
#include "faults/active.h"

namespace sim {

struct Statistics {
    calls::CallStatistics calls;
    EventCounts events;
    FaultCounts faults;
    uint64_t sessionsAccepted = 0;
    uint64_t badFrames = 0;
};

} // namespace sim
