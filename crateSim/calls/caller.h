// What one connection of the access library has at the crate: its login and its event links.
#pragma once

#include <map>
#include <memory>

#include "events/links.h"

namespace sim::calls {

class Caller {
public:
    Caller(asio::io_context &context, EventLinks &links, const Tcp::endpoint &peer)
        : m_context(context), m_links(links), m_peer(peer)
    {
    }

    void login(int32_t handle);
    // Closes the links for good.
    void logout();
    bool isLoggedIn() const { return m_loggedIn; }
    bool hasLoggedOut() const { return m_loggedOut; }

    // The link to a port of the caller's, made when there is none yet; null when
    // it has links enough. A program listens on one port.
    static constexpr size_t maxLinks = 16;
    EventLink *link(uint16_t port);
    EventLink *findLink(uint16_t port);
    void closeLink(uint16_t port);

private:
    asio::io_context &m_context;
    EventLinks &m_links;
    const Tcp::endpoint m_peer;
    bool m_loggedIn = false;
    bool m_loggedOut = false;
    int32_t m_handle = -1;
    std::map<uint16_t, std::shared_ptr<EventLink>> m_ports;
};

} // namespace sim::calls
