// What the sessions and the control port share. Everything here is used by the
// one thread that runs the event loop.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "../model/crate.h"
#include "crateclock.h"
#include "eventlink.h"
#include "faults.h"
#include "statistics.h"

namespace sim::daemon {

class World {
public:
    World(CrateDescription description, uint64_t seed, std::chrono::milliseconds tick,
          const LinkSettings &linkSettings)
        : crate(std::move(description), seed), clock(tick), m_linkSettings(linkSettings)
    {
    }

    bool accepts(const std::string &user, const std::string &password) const;

    // Lets the crate's time pass and sends what changed.
    void step(Duration time);
    // As much time as passes with one tick, none while the clock is paused:
    // what was written meanwhile is sent all the same.
    void tick();

    std::shared_ptr<EventLink> openLink(asio::io_context &context,
                                        const Tcp::endpoint &subscriber, int32_t handle);
    void closeLink(const std::shared_ptr<EventLink> &link);
    const std::vector<std::shared_ptr<EventLink>> &openLinks() const { return m_links; }
    size_t connectedLinks() const;

    // Tells who waits that something may have happened.
    void notify();

    Crate crate;
    CrateClock clock;
    Statistics statistics;
    Faults faults;
    size_t sessions = 0;
    std::function<void()> onChange;
    std::function<void()> onRelease;  // calls may be answered again

private:
    void sendChanges();

    const LinkSettings m_linkSettings;
    std::vector<std::shared_ptr<EventLink>> m_links;
};

} // namespace sim::daemon
