#include "world.h"

#include <algorithm>

namespace sim::daemon {

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

void World::sendChanges()
{
    const Changes changes = crate.takeChanges();
    for (const auto &link : m_links)
        link->noteChanges(changes);
    // Sending may lose a connection and so tell others; the list stays as it is.
    for (const auto &link : m_links)
        link->flush();
    notify();
}

std::shared_ptr<EventLink> World::openLink(asio::io_context &context,
                                           const Tcp::endpoint &subscriber, int32_t handle)
{
    m_links.push_back(std::make_shared<EventLink>(context, subscriber, handle, crate, statistics,
                                                  m_linkSettings, [this] { notify(); }));
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

void World::notify()
{
    if (onChange)
        onChange();
}

} // namespace sim::daemon
