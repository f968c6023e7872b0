#include "state.h"

#include <map>

namespace sim {

void SimulationState::step(Duration time)
{
    crate.step(time);
    sendChanges();
}

void SimulationState::tick()
{
    if (clock.isPaused())
        sendChanges();
    else
        step(clock.modelStep());
}

void SimulationState::advanceStorm(Duration time)
{
    storm.advance(time, links.all(), [this] { passChanges(); });
    notify();
}

void SimulationState::sendChanges()
{
    passChanges();
    notify();
}

void SimulationState::passChanges() { links.send(shown.takeChanges()); }

void SimulationState::orderFault(const FaultOrder &order)
{
    const ActiveFault fault{++m_faultsOrdered, order};
    if (!isOfEvents(order.kind) || isOfAllConnections(order) || links.connectedCount() == 0)
        faults.add(fault);
    if (isOfEvents(order.kind))
        links.orderFault(fault);
}

void SimulationState::clearFaults(std::optional<FaultKind> kind)
{
    faults.clear(kind);
    links.clearFaults(kind);
    if (onRelease && kind.value_or(FaultKind::Hang) == FaultKind::Hang)
        onRelease();
}

std::vector<FaultOrder> SimulationState::activeFaults() const
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

void SimulationState::notify()
{
    if (onChange)
        onChange();
}

} // namespace sim
