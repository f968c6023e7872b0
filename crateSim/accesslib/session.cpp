#include "session.h"

#include <algorithm>

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
    return wire::unpackPayload(receiveFrame(deadline));
}

// The payload, valid until the next frame. Most frames come in one piece, and
// behind an answer nothing may follow.
std::string_view Session::receiveFrame(Deadline deadline)
{
    constexpr size_t usual = 4096;
    m_input.resize(usual);
    size_t filled = 0;
    size_t wanted = wire::headerSize;
    while (filled < wanted) {
        size_t received = 0;
        require(m_socket.receive(m_input.data() + filled, m_input.size() - filled, received,
                                 deadline));
        filled += received;
        if (wanted > wire::headerSize || filled < wire::headerSize)
            continue;
        wanted = wire::headerSize + wire::payloadLength(wire::headerOf(m_input));
        m_input.resize(std::max(wanted, usual));
    }
    if (filled > wanted)
        throw wire::BadFrame("more than an answer");
    return std::string_view(m_input).substr(wire::headerSize, wanted - wire::headerSize);
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
