#include "world.h"

#include <map>

namespace sim {

void World::step(Duration time)
{
    crate.step(time);
    sendChanges();
}

void World::tick()
{
    if (clock.isPaused())
        sendChanges();
    else
        step(clock.modelStep());
}

void World::storm(Duration time)
{
    stormMaker.advance(time, links.all(), [this] { passChanges(); });
    notify();
}

void World::sendChanges()
{
    passChanges();
    notify();
}

void World::passChanges() { links.send(shown.takeChanges()); }

void World::orderFault(const FaultOrder &order)
{
    const ActiveFault fault{++m_faultsOrdered, order};
    if (!isOfEvents(order.kind) || isOfAllConnections(order) || links.connectedCount() == 0)
        faults.add(fault);
    if (isOfEvents(order.kind))
        links.orderFault(fault);
}

void World::clearFaults(std::optional<FaultKind> kind)
{
    faults.clear(kind);
    links.clearFaults(kind);
    if (onRelease && kind.value_or(FaultKind::Hang) == FaultKind::Hang)
        onRelease();
}

std::vector<FaultOrder> World::activeFaults() const
{
    std::map<uint64_t, FaultOrder> found;
    const auto add = [&found](const ActiveFaults &active) {
        for (const auto &[number, order] : active)
            found.emplace(number, order);
    };
    add(faults.active());
    for (const auto &link : links.all())
        add(link->activeFaults());
    std::vector<FaultOrder> orders;
    orders.reserve(found.size());
    for (const auto &[number, order] : found)
        orders.push_back(order);
    return orders;
}

void World::notify()
{
    if (onChange)
        onChange();
}

} // namespace sim
