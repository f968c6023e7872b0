// The state of the simulation, which the sessions and the control port share. Everything here is
// used by the one thread that runs the event loop.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "clock.h"
#include "events/links.h"
#include "events/storm.h"
#include "faults/active.h"
#include "model/crate.h"
#include "statistics.h"

namespace sim {

class SimulationState {
public:
    SimulationState(CrateDescription description, uint64_t seed, std::chrono::milliseconds period,
                    const LinkSettings &linkSettings)
        : crate(std::move(description), seed), clock(period),
          links({shown, faults, statistics.faults, statistics.events, linkSettings,
                 [this] { notify(); }}),
          storm(crate, shown, seed)
    {
    }
    SimulationState(const SimulationState &) = delete;
    SimulationState &operator=(const SimulationState &) = delete;

    // Lets the crate's time pass and sends what changed.
    void step(Duration time);
    // As much time as passes with one tick, none while the clock is paused:
    // what was written meanwhile is sent all the same.
    void tick();

    // What is ordered for event connections happens to those that are open, and
    // while there is none to the next one. Throws std::invalid_argument when it
    // could never happen.
    void orderFault(const FaultOrder &order);
    // No kind: all of them. Calls that hang go on when hanging is no longer
    // ordered.
    void clearFaults(std::optional<FaultKind> kind);
    // What is left of the orders, in their order.
    std::vector<FaultOrder> activeFaults() const;

    // Lets wall-clock time pass for the storm.
    void advanceStorm(Duration time);

    // Tells who waits that something may have happened.
    void notify();

    Crate crate;
    ShownValues shown{crate};
    CrateClock clock;
    Statistics statistics;
    Faults faults{statistics.faults};
    EventLinks links;
    Storm storm;
    size_t sessions = 0;
    std::function<void()> onChange;
    std::function<void()> onRelease; // calls may be answered again
    std::function<void()> onStorm;   // a storm begins

private:
    void sendChanges();
    void passChanges();

    uint64_t m_faultsOrdered = 0;
};

} // namespace sim
