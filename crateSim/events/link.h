// The event connection to one subscriber: the crate opens it towards the port
// that the subscriber announced, and sends what it subscribed to.
//
// Memory is bounded whatever the subscriber does: one batch is on its way at a
// time, and meanwhile only the fact that an item changed is kept, so that a
// slow reader gets the latest value of each item.
#pragma once

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "faults/stream.h"
#include "net.h"
#include "protocol/events.h"
#include "shown.h"

namespace sim {

struct LinkSettings {
    std::chrono::milliseconds retry{200};        // between attempts to connect
    std::chrono::milliseconds keepTrying{30000}; // then wait for another subscription
    std::chrono::milliseconds keepAlive{5000};   // after this much silence
};

struct EventCounts {
    uint64_t events = 0;
    uint64_t batches = 0;
    uint64_t keepAlives = 0;
    uint64_t connectionsOpened = 0;
    uint64_t connectionsLost = 0;
};

// What all links of a crate have in common, and which outlives them.
struct EventSource {
    const ShownValues &shown;
    Faults &faults;
    FaultCounts &faultCounts;
    EventCounts &counts;
    const LinkSettings settings;
    const std::function<void()> changed; // a connection was made or lost
};

class EventLink : public std::enable_shared_from_this<EventLink> {
public:
    EventLink(asio::io_context &context, const Tcp::endpoint &subscriber, int32_t handle,
              EventSource &source);

    // The first subscription starts the connection; each one makes the item's
    // present value due.
    void subscribe(ItemId item);
    // False when the item was not subscribed.
    bool unsubscribe(ItemId item);

    size_t subscriptionCount() const { return m_subscriptionCount; }
    bool isSubscribed(ItemId item) const { return (m_flags[item] & subscribed) != 0; }
    bool isConnected() const { return m_state == State::Connected; }
    // The subscriber has not read what is on its way; changes gather meanwhile.
    bool isBusy() const { return m_sending || m_halfClosed; }
    const Tcp::endpoint &subscriber() const { return m_subscriber; }

    void noteChanges(const Changes &changes);
    // Sends at most one batch, and none while the last one is on its way.
    void flush();

    // Happens to the connection that is open, or that is opened next.
    void orderFault(const ActiveFault &fault);
    void clearFaults(std::optional<FaultKind> kind) { m_streamFaults.clear(kind); }
    const ActiveFaults &activeFaults() const { return m_streamFaults.active(); }

    // Closes the connection; it is opened again while there are subscriptions.
    void drop();
    // Closes for good.
    void close();

private:
    enum class State : uint8_t { Idle, Connecting, Waiting, Connected, Closed };
    static constexpr uint8_t subscribed = 1;
    static constexpr uint8_t pending = 2;
    static constexpr uint8_t silent = 4; // may be subscribed, but has no value to send

    void startConnecting();
    void connect();
    void connected();
    void retryLater();
    void lost();
    void watchPeer();
    void makePending(ItemId item);
    void addInsertions(wire::BatchWriter &batch);
    void addChanges(wire::BatchWriter &batch);
    void addKeepAlive(wire::BatchWriter &batch);
    bool fillBuffer();
    bool fillMalformed();
    void write();
    void waitToWrite();
    void writeLater();
    void goOnWriting(uint64_t connection);
    void applyDueEnd();
    void endAsOrdered(FaultKind kind);
    void shutSocket();

    const Tcp::endpoint m_subscriber;
    const int32_t m_handle;
    EventSource &m_source;

    Tcp::socket m_socket;
    asio::steady_timer m_timer;
    State m_state = State::Idle;
    uint64_t m_connection = 0; // tells late completions of an older connection
    std::chrono::steady_clock::time_point m_giveUp;
    std::chrono::steady_clock::time_point m_lastSent;
    std::array<char, 256> m_ignored{};

    std::vector<uint8_t> m_flags; // by item
    size_t m_subscriptionCount = 0;
    std::vector<ItemId> m_pending;
    std::vector<int32_t> m_insertions;
    StreamFaults m_streamFaults;
    std::string m_buffer; // the batch on its way
    size_t m_written = 0; // bytes of it that the socket has taken
    bool m_sending = false;
    bool m_halfClosed = false;
    bool m_more = false; // the batch on its way had no room for everything
};

} // namespace sim
