#include "links.h"

#include <algorithm>

namespace sim {

std::shared_ptr<EventLink> EventLinks::open(asio::io_context &context,
                                            const Tcp::endpoint &subscriber, int32_t handle)
{
    m_links.push_back(std::make_shared<EventLink>(context, subscriber, handle, m_source));
    return m_links.back();
}

void EventLinks::close(const std::shared_ptr<EventLink> &link)
{
    link->close();
    m_links.erase(std::remove(m_links.begin(), m_links.end(), link), m_links.end());
}

size_t EventLinks::connectedCount() const
{
    return static_cast<size_t>(std::count_if(m_links.begin(), m_links.end(),
                                             [](const auto &link) { return link->isConnected(); }));
}

void EventLinks::send(const Changes &changes)
{
    for (const auto &link : m_links)
        link->noteChanges(changes);
    // Sending may lose a connection and so tell others; the list stays as it is.
    for (const auto &link : m_links)
        link->flush();
}

// An order may end a connection at once; the list stays as it is.
void EventLinks::orderFault(const ActiveFault &fault)
{
    for (const auto &link : m_links)
        if (link->isConnected())
            link->orderFault(fault);
}

void EventLinks::clearFaults(std::optional<FaultKind> kind)
{
    for (const auto &link : m_links)
        link->clearFaults(kind);
}

} // namespace sim
