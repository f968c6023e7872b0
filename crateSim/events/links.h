// The event links of all sessions.
#pragma once

#include <memory>
#include <vector>

#include "link.h"

namespace sim {

class EventLinks {
public:
    explicit EventLinks(EventSource source) : m_source(std::move(source)) {}

    std::shared_ptr<EventLink> open(asio::io_context &context, const Tcp::endpoint &subscriber,
                                    int32_t handle);
    void close(const std::shared_ptr<EventLink> &link);

    // In the order in which they were opened.
    const std::vector<std::shared_ptr<EventLink>> &all() const { return m_links; }
    size_t connectedCount() const;

    // Notes what changed, and sends as much of it as each subscriber has room for.
    void send(const Changes &changes);

    // Happens to the connections that are open.
    void orderFault(const ActiveFault &fault);
    void clearFaults(std::optional<FaultKind> kind);

private:
    EventSource m_source;
    std::vector<std::shared_ptr<EventLink>> m_links;
};

} // namespace sim
