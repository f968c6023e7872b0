#include "link.h"

#include <spdlog/spdlog.h>

#include "faults/malformedevents.h"

namespace sim {

namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t maxBatchBytes = 4u << 20;
constexpr size_t maxInsertions = 256;

} // namespace

EventLink::EventLink(asio::io_context &context, const Tcp::endpoint &subscriber, int32_t handle,
                     EventSource &source)
    : m_subscriber(subscriber), m_handle(handle), m_source(source), m_socket(context),
      m_timer(context), m_flags(source.shown.items().size()), m_streamFaults(source.faultCounts)
{
}

void EventLink::subscribe(ItemId item)
{
    if ((m_flags[item] & subscribed) == 0) {
        m_flags[item] |= subscribed;
        if (m_source.shown.items().item(item).mode == Mode::None)
            m_flags[item] |= silent;
        ++m_subscriptionCount;
    }
    makePending(item);
    if (m_state == State::Idle)
        startConnecting();
}

bool EventLink::unsubscribe(ItemId item)
{
    if (!isSubscribed(item))
        return false;
    m_flags[item] &= static_cast<uint8_t>(~subscribed);
    --m_subscriptionCount;
    return true;
}

void EventLink::makePending(ItemId item)
{
    if ((m_flags[item] & (pending | silent)) != 0)
        return;
    m_flags[item] |= pending;
    m_pending.push_back(item);
}

void EventLink::noteChanges(const Changes &changes)
{
    for (const ItemId item : changes.items)
        if (isSubscribed(item))
            makePending(item);
    for (const int32_t slot : changes.insertions)
        if (m_insertions.size() < maxInsertions)
            m_insertions.push_back(slot);
}

// ---- Connection

void EventLink::startConnecting()
{
    m_giveUp = Clock::now() + m_source.settings.keepTrying;
    connect();
}

void EventLink::connect()
{
    m_state = State::Connecting;
    const uint64_t connection = ++m_connection;
    m_socket.async_connect(
        m_subscriber, [self = shared_from_this(), connection](const Error &error) {
            if (connection != self->m_connection || self->m_state != State::Connecting)
                return;
            if (error)
                self->retryLater();
            else
                self->connected();
        });
}

void EventLink::retryLater()
{
    shutSocket();
    if (Clock::now() >= m_giveUp) {
        spdlog::warn("no subscriber listens on {}:{}", m_subscriber.address().to_string(),
                     m_subscriber.port());
        m_state = State::Idle;
        return;
    }
    m_state = State::Waiting;
    m_timer.expires_after(m_source.settings.retry);
    m_timer.async_wait([self = shared_from_this()](const Error &error) {
        if (!error && self->m_state == State::Waiting)
            self->connect();
    });
}

// Whatever changed while there was no connection is due: every item is sent.
void EventLink::connected()
{
    spdlog::info("event connection to {}:{}", m_subscriber.address().to_string(),
                 m_subscriber.port());
    m_state = State::Connected;
    ++m_source.counts.connectionsOpened;
    Error ignored;
    m_socket.set_option(Tcp::no_delay(true), ignored);
    m_socket.non_blocking(true, ignored);
    m_sending = false;
    m_halfClosed = false;
    for (const auto &fault : m_source.faults.takeForConnection())
        m_streamFaults.add(fault);
    m_lastSent = Clock::now();
    for (ItemId item = 0; item < m_flags.size(); ++item)
        if (isSubscribed(item))
            makePending(item);
    watchPeer();
    m_source.changed();
    applyDueEnd();
    flush();
}

// The subscriber sends nothing; reading tells when it has gone.
void EventLink::watchPeer()
{
    m_socket.async_read_some(
        asio::buffer(m_ignored),
        [self = shared_from_this(), connection = m_connection](const Error &error, size_t) {
            if (connection != self->m_connection || self->m_state != State::Connected)
                return;
            if (error)
                self->lost();
            else
                self->watchPeer();
        });
}

void EventLink::lost()
{
    spdlog::info("event connection to {}:{} lost", m_subscriber.address().to_string(),
                 m_subscriber.port());
    ++m_source.counts.connectionsLost;
    ++m_connection;
    shutSocket();
    m_sending = false;
    m_giveUp = Clock::now() + m_source.settings.keepTrying;
    if (m_subscriptionCount > 0)
        retryLater();
    else
        m_state = State::Idle;
    m_source.changed();
}

void EventLink::drop()
{
    if (m_state == State::Connected)
        lost();
}

void EventLink::close()
{
    const bool wasConnected = m_state == State::Connected;
    m_state = State::Closed;
    ++m_connection;
    m_timer.cancel();
    shutSocket();
    if (wasConnected)
        m_source.changed();
}

void EventLink::shutSocket()
{
    Error ignored;
    m_socket.close(ignored);
}

// ---- Faults

void EventLink::orderFault(const ActiveFault &fault)
{
    m_streamFaults.add(fault);
    applyDueEnd();
}

void EventLink::applyDueEnd()
{
    if (!isConnected() || m_halfClosed)
        return;
    if (const auto kind = m_streamFaults.takeEnd())
        endAsOrdered(*kind);
}

void EventLink::endAsOrdered(FaultKind kind)
{
    spdlog::info("{} to {}:{}", faultKindName(kind), m_subscriber.address().to_string(),
                 m_subscriber.port());
    Error ignored;
    if (kind == FaultKind::HalfCloseEvents) {
        m_halfClosed = true;
        m_socket.shutdown(Tcp::socket::shutdown_send, ignored);
        return;
    }
    // A socket that does not linger is reset instead of being closed.
    if (kind == FaultKind::ResetEvents)
        m_socket.set_option(asio::socket_base::linger(true, 0), ignored);
    lost();
}

// ---- Sending

void EventLink::flush()
{
    do {
        if (m_state != State::Connected || m_sending || m_halfClosed || !fillBuffer())
            return;
        m_sending = true;
        m_written = 0;
        m_lastSent = Clock::now();
        write();
    } while (m_more);
}

bool EventLink::fillBuffer()
{
    if (!m_streamFaults.active().empty() && fillMalformed())
        return true;
    wire::BatchWriter batch;
    addInsertions(batch);
    addChanges(batch);
    if (batch.count() == 0)
        addKeepAlive(batch);
    if (batch.count() == 0)
        return false;
    m_source.counts.events += batch.count();
    ++m_source.counts.batches;
    m_buffer = batch.finish(m_handle);
    return true;
}

// Malformed events leave wrong values with the subscriber: the right ones are due with the next
// batch, which goes out with the next step.
bool EventLink::fillMalformed()
{
    if (const size_t bytes = m_streamFaults.takeGarbage(); bytes > 0) {
        m_buffer = garbage(bytes);
        m_more = false;
        return true;
    }
    if (!m_streamFaults.takeMalformedEvents())
        return false;
    wire::BatchWriter batch;
    addMalformedEvents(
        batch, m_source.shown.items(), [this](ItemId item) { return m_flags[item] == subscribed; },
        [this](ItemId item) { makePending(item); });
    m_more = false;
    m_buffer = batch.finish(m_handle);
    return true;
}

void EventLink::addInsertions(wire::BatchWriter &batch)
{
    for (const int32_t slot : m_insertions)
        batch.add(wire::EventKind::Alarm, slot, -1, "", 0);
    m_insertions.clear();
}

void EventLink::addChanges(wire::BatchWriter &batch)
{
    const ItemStore &items = m_source.shown.items();
    size_t taken = 0;
    while (taken < m_pending.size() && batch.count() < wire::maxBatchRecords &&
           batch.size() < maxBatchBytes) {
        const ItemId id = m_pending[taken++];
        m_flags[id] &= static_cast<uint8_t>(~pending);
        if (!isSubscribed(id))
            continue;
        const auto &[slot, channel] = items.item(id).address;
        const auto add = [&, slot = slot, channel = channel](const auto &value) {
            batch.add(wire::EventKind::Parameter, slot, channel, items.item(id).name, value);
        };
        std::visit(add, m_source.shown.value(id));
    }
    m_pending.erase(m_pending.begin(), m_pending.begin() + static_cast<std::ptrdiff_t>(taken));
    m_more = !m_pending.empty();
}

void EventLink::addKeepAlive(wire::BatchWriter &batch)
{
    if (Clock::now() - m_lastSent < m_source.settings.keepAlive)
        return;
    batch.add(wire::EventKind::KeepAlive, -1, -1, "", 0);
    ++m_source.counts.keepAlives;
}

// Writes until the socket takes no more, without a turn of the loop in between
// unless the stream is to be split.
void EventLink::write()
{
    while (m_written < m_buffer.size()) {
        const size_t piece = m_streamFaults.piece(m_buffer.size() - m_written);
        Error error;
        const size_t sent =
            m_socket.write_some(asio::buffer(m_buffer.data() + m_written, piece), error);
        if (error == asio::error::would_block)
            return waitToWrite();
        if (error)
            return lost();
        m_written += sent;
        m_streamFaults.noteSent(sent);
        const uint64_t connection = m_connection;
        applyDueEnd();
        if (connection != m_connection || m_halfClosed)
            return;
        if (m_written < m_buffer.size() && m_streamFaults.isSplit())
            return writeLater();
    }
    m_sending = false;
    m_streamFaults.noteBatchSent();
}

void EventLink::waitToWrite()
{
    m_socket.async_wait(Tcp::socket::wait_write,
                        [self = shared_from_this(), connection = m_connection](const Error &) {
                            self->goOnWriting(connection);
                        });
}

void EventLink::writeLater()
{
    asio::post(m_socket.get_executor(), [self = shared_from_this(), connection = m_connection] {
        self->goOnWriting(connection);
    });
}

// A batch that was too long for one frame goes on as soon as the first part
// has left.
void EventLink::goOnWriting(uint64_t connection)
{
    if (connection != m_connection || m_state != State::Connected || m_halfClosed)
        return;
    write();
    if (m_more)
        flush();
}

} // namespace sim
