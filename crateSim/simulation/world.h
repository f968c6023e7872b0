// What the sessions and the control port share. Everything here is used by the
// one thread that runs the event loop.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "model/crate.h"
#include "clock.h"
#include "events/link.h"
#include "faults/active.h"
#include "statistics.h"
#include "events/storm.h"

namespace sim {

class World {
public:
    World(CrateDescription description, uint64_t seed, std::chrono::milliseconds tick,
          const LinkSettings &linkSettings)
        : crate(std::move(description), seed), clock(tick), stormMaker(crate, seed),
          m_linkSettings(linkSettings)
    {
    }

    bool accepts(const std::string &user, const std::string &password) const;

    // Lets the crate's time pass and sends what changed.
    void step(Duration time);
    // As much time as passes with one tick, none while the clock is paused:
    // what was written meanwhile is sent all the same.
    void tick();

    std::shared_ptr<EventLink> openLink(asio::io_context &context, const Tcp::endpoint &subscriber,
                                        int32_t handle);
    void closeLink(const std::shared_ptr<EventLink> &link);
    const std::vector<std::shared_ptr<EventLink>> &openLinks() const { return m_links; }
    size_t connectedLinks() const;

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
    void storm(Duration time);

    // Tells who waits that something may have happened.
    void notify();

    Crate crate;
    CrateClock clock;
    Statistics statistics;
    Faults faults{statistics.faults};
    Storm stormMaker;
    size_t sessions = 0;
    std::function<void()> onChange;
    std::function<void()> onRelease; // calls may be answered again
    std::function<void()> onStorm;   // a storm begins

private:
    void sendChanges();
    void passChanges();

    const LinkSettings m_linkSettings;
    std::vector<std::shared_ptr<EventLink>> m_links;
    uint64_t m_faultsOrdered = 0;
};

} // namespace sim
