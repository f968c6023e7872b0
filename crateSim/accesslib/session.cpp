#include "session.h"

namespace sim::accesslib {

namespace {

void require(Transfer transfer)
{
    if (transfer == Transfer::TimedOut)
        throw CallFailure{failure::timedOut};
    if (transfer == Transfer::Lost)
        throw CallFailure{failure::connectionLost};
}

} // namespace

Tuning &tuning()
{
    static Tuning values;
    return values;
}

wire::Unpacked Session::exchange(const std::string &frame)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_dead)
        throw CallFailure{failure::connectionLost};
    try {
        return tryExchange(frame);
    } catch (...) {
        m_dead = true;
        m_socket.close();
        throw;
    }
}

wire::Unpacked Session::tryExchange(const std::string &frame)
{
    const Deadline deadline = std::chrono::steady_clock::now() + tuning().timeout;
    require(m_socket.send(frame.data(), frame.size(), deadline));
    wire::Header header{};
    require(m_socket.receive(header.data(), header.size(), deadline));
    std::string payload(wire::payloadLength(header), '\0');
    require(m_socket.receive(payload.data(), payload.size(), deadline));
    return wire::unpackPayload(payload);
}

std::optional<uint32_t> Session::propertyType(const std::string &name) const
{
    const auto found = m_types.find(name);
    return found == m_types.end() ? std::nullopt : std::optional<uint32_t>(found->second);
}

// Never destroyed: threads may still call while the process ends.
SessionTable &SessionTable::instance()
{
    static union Forever {
        SessionTable table;
        Forever() : table() {}
        ~Forever() {}
    } forever;
    return forever.table;
}

void SessionTable::add(int32_t handle, std::shared_ptr<Session> session)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_sessions[handle] = std::move(session);
}

std::shared_ptr<Session> SessionTable::find(int32_t handle)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_sessions.find(handle);
    if (found == m_sessions.end())
        throw CallFailure{failure::noSession};
    return found->second;
}

std::shared_ptr<Session> SessionTable::take(int32_t handle)
{
    auto session = find(handle);
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_sessions.erase(handle);
    return session;
}

} // namespace sim::accesslib
