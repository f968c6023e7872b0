#include "world.h"

#include <algorithm>
#include <map>

namespace sim {

bool World::accepts(const std::string &user, const std::string &password) const
{
    const auto &users = crate.description().users;
    return std::any_of(users.begin(), users.end(), [&](const User &known) {
        return known.name == user && known.password == password;
    });
}

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
    stormMaker.advance(time, m_links, [this] { passChanges(); });
    notify();
}

void World::sendChanges()
{
    passChanges();
    notify();
}

void World::passChanges()
{
    const Changes changes = crate.takeChanges();
    for (const auto &link : m_links)
        link->noteChanges(changes);
    // Sending may lose a connection and so tell others; the list stays as it is.
    for (const auto &link : m_links)
        link->flush();
}

std::shared_ptr<EventLink> World::openLink(asio::io_context &context,
                                           const Tcp::endpoint &subscriber, int32_t handle)
{
    m_links.push_back(std::make_shared<EventLink>(context, subscriber, handle, crate, statistics,
                                                  faults, m_linkSettings, [this] { notify(); }));
    return m_links.back();
}

void World::closeLink(const std::shared_ptr<EventLink> &link)
{
    link->close();
    m_links.erase(std::remove(m_links.begin(), m_links.end(), link), m_links.end());
}

size_t World::connectedLinks() const
{
    return static_cast<size_t>(std::count_if(m_links.begin(), m_links.end(),
                                             [](const auto &link) { return link->isConnected(); }));
}

void World::orderFault(const FaultOrder &order)
{
    const ActiveFault fault{++m_faultsOrdered, order};
    if (!isOfEvents(order.kind) || isOfAllConnections(order) || connectedLinks() == 0)
        faults.add(fault);
    if (!isOfEvents(order.kind))
        return;
    // An order may end a connection at once; the list stays as it is.
    for (const auto &link : m_links)
        if (link->isConnected())
            link->orderFault(fault);
}

void World::clearFaults(std::optional<FaultKind> kind)
{
    faults.clear(kind);
    for (const auto &link : m_links)
        link->clearFaults(kind);
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
    for (const auto &link : m_links)
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
