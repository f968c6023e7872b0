#include "caller.h"

namespace sim::calls {

void Caller::login(int32_t handle)
{
    m_loggedIn = true;
    m_handle = handle;
}

void Caller::logout()
{
    m_loggedOut = true;
    m_loggedIn = false;
    for (const auto &[port, link] : m_ports)
        m_links.close(link);
    m_ports.clear();
}

EventLink *Caller::link(uint16_t port)
{
    if (EventLink *const known = findLink(port))
        return known;
    if (m_ports.size() >= maxLinks)
        return nullptr;
    auto made = m_links.open(m_context, Tcp::endpoint(m_peer.address(), port), m_handle);
    return m_ports.emplace(port, std::move(made)).first->second.get();
}

EventLink *Caller::findLink(uint16_t port)
{
    const auto found = m_ports.find(port);
    return found == m_ports.end() ? nullptr : found->second.get();
}

void Caller::closeLink(uint16_t port)
{
    const auto found = m_ports.find(port);
    if (found == m_ports.end())
        return;
    m_links.close(found->second);
    m_ports.erase(found);
}

} // namespace sim::calls
