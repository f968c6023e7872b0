// The library's end of one login.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

#include "protocol/codec.h"
#include "socket.h"

namespace sim::accesslib {

// Where and how long; other values serve tests. Not to be changed while calls
// are under way.
struct Tuning {
    uint16_t port = 3180;
    std::chrono::milliseconds timeout{5000}; // for one call
};
Tuning &tuning();

// Thread-safe: calls follow one another. After the first call that got no
// proper answer in time the session is invalid and every later call fails at once.
// A call that a signal ends while it waits for its answer leaves the session
// alive: that answer is passed over when it comes.
class Session {
public:
    // Connects. Throws CallFailure, as exchange() does.
    explicit Session(const std::string &host);

    wire::Unpacked exchange(wire::Operation operation, const std::string &frame);

    // Set once, before the session is shared.
    void setPropertyTypes(std::map<std::string, uint32_t> types) { m_types = std::move(types); }
    // The type code of a system property; nothing for an unknown one.
    std::optional<uint32_t> propertyType(const std::string &name) const;

private:
    wire::Unpacked tryExchange(const std::string &frame);
    void send(const std::string &frame, Deadline deadline);
    void receiveFrame(Deadline deadline);
    bool hasFrame();
    void dropFrame();
    void invalidate();

    std::map<std::string, uint32_t> m_types;

    std::mutex m_mutex; // guards what follows
    Socket m_socket;
    bool m_invalid = false;
    bool m_sending = false;
    unsigned m_awaited = 0; // answers to come; all but the last are passed over
    std::string m_input;    // as far as it is filled; keeps its memory from call to call
    size_t m_filled = 0;
    size_t m_frame = 0; // bytes of the first answer in it; 0: not known yet
};

// All logins of the process. Thread-safe.
class SessionTable {
public:
    static SessionTable &instance();

    int32_t newHandle() { return m_nextHandle++; }
    void add(int32_t handle, std::shared_ptr<Session> session);
    // Throws CallFailure when there is no such session.
    std::shared_ptr<Session> find(int32_t handle);
    std::shared_ptr<Session> take(int32_t handle);

private:
    std::atomic<int32_t> m_nextHandle{0};
    std::mutex m_mutex; // guards what follows
    std::unordered_map<int32_t, std::shared_ptr<Session>> m_sessions;
};

// One call. Throws CallFailure, for the crate's refusal too, or wire::BadFrame.
template <class Answer = void, class Request>
Answer call(Session &session, wire::Operation operation, const Request &request)
{
    const auto unpacked = session.exchange(operation, wire::makeCall(operation, request));
    const wire::Answer answer = wire::readAnswer(unpacked);
    if (answer.result != 0)
        throw CallFailure{answer.result};
    if constexpr (!std::is_void_v<Answer>)
        return wire::convert<Answer>(answer.body);
}

// Of a session that is logged in.
template <class Answer = void, class Request>
Answer call(int32_t handle, wire::Operation operation, const Request &request)
{
    return call<Answer>(*SessionTable::instance().find(handle), operation, request);
}

} // namespace sim::accesslib
