#include "session.h"

#include <algorithm>

#include "misbehaviour.h"

namespace sim::accesslib {

Tuning &tuning()
{
    static Tuning values;
    return values;
}

Session::Session(const std::string &host)
    : m_socket(host, tuning().port, std::chrono::steady_clock::now() + tuning().timeout)
{
}

wire::Unpacked Session::exchange(wire::Operation operation, const std::string &frame)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_invalid)
        throw CallFailure{failure::connectionLost};
    try {
        auto answer = tryExchange(frame);
        misbehaviour().delay(operation);
        return answer;
    } catch (const CallFailure &failed) {
        // Nothing can follow a call that has not gone out whole.
        if (failed.code != failure::interrupted || m_sending)
            invalidate();
        throw;
    } catch (...) {
        invalidate();
        throw;
    }
}

void Session::invalidate()
{
    m_invalid = true;
    m_socket.close();
}

wire::Unpacked Session::tryExchange(const std::string &frame)
{
    const Deadline deadline = std::chrono::steady_clock::now() + tuning().timeout;
    send(frame, deadline);
    for (receiveFrame(deadline); m_awaited > 1; receiveFrame(deadline))
        dropFrame();
    if (m_filled > m_frame)
        throw wire::BadFrame("more than an answer");
    auto answer = wire::unpackPayload(
        std::string_view(m_input).substr(wire::headerSize, m_frame - wire::headerSize));
    dropFrame();
    return answer;
}

void Session::send(const std::string &frame, Deadline deadline)
{
    m_sending = true;
    m_socket.send(frame.data(), frame.size(), deadline);
    m_sending = false;
    ++m_awaited;
}

// Most frames come in one piece. What is there of one stays when the wait for
// the rest ends early.
void Session::receiveFrame(Deadline deadline)
{
    constexpr size_t initialInput = 4096;
    while (!hasFrame()) {
        m_input.resize(std::max(m_frame, initialInput));
        m_filled +=
            m_socket.receive(m_input.data() + m_filled, m_input.size() - m_filled, deadline);
    }
}

bool Session::hasFrame()
{
    if (m_frame == 0 && m_filled >= wire::headerSize)
        m_frame = wire::headerSize + wire::payloadLength(wire::headerOf(m_input));
    return m_frame > 0 && m_filled >= m_frame;
}

void Session::dropFrame()
{
    m_input.erase(0, m_frame);
    m_filled -= m_frame;
    m_frame = 0;
    --m_awaited;
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
