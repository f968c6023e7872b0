#include "session.h"

#include <algorithm>
#include <spdlog/spdlog.h>

#include "calls/dispatch.h"

namespace sim::daemon {

namespace {

constexpr size_t initialInput = 4096;
constexpr size_t keptInput = 65536;

Tcp::endpoint peerOf(const Tcp::socket &socket)
{
    Error ignored;
    return socket.remote_endpoint(ignored);
}

} // namespace

Session::Session(asio::io_context &context, Tcp::socket socket, SimulationState &state)
    : m_socket(std::move(socket)), m_state(state), m_peer(peerOf(m_socket)),
      m_caller(context, state.links, m_peer), m_delay(context)
{
    ++m_state.sessions;
}

void Session::start()
{
    ++m_state.statistics.sessionsAccepted;
    spdlog::debug("{}:{} connected", m_peer.address().to_string(), m_peer.port());
    Error ignored;
    m_socket.set_option(Tcp::no_delay(true), ignored);
    readMore();
}

// Whatever has come is taken at once; mostly it is a whole call.
void Session::readMore()
{
    m_input.resize(std::max(m_frame, initialInput));
    asio::mutable_buffer room(m_input.data() + m_filled, m_input.size() - m_filled);
    m_socket.async_read_some(room, [self = shared_from_this()](const Error &error, size_t size) {
        if (error)
            return self->close();
        self->m_filled += size;
        self->handleInput();
    });
}

void Session::handleInput()
{
    if (m_filled < wire::headerSize)
        return readMore();
    try {
        m_frame = wire::headerSize + wire::payloadLength(wire::headerOf(m_input));
    } catch (const wire::BadFrame &bad) {
        return fail(bad.what());
    }
    if (m_filled < m_frame)
        return readMore();
    handlePayload();
}

// The call has been answered; what came behind it is the next.
void Session::nextCall()
{
    m_unpacked = {};
    m_input.erase(0, m_frame);
    if (m_input.capacity() > keptInput)
        m_input.shrink_to_fit();
    m_filled -= m_frame;
    m_frame = 0;
    handleInput();
}

std::string_view Session::payload() const
{
    return std::string_view(m_input).substr(wire::headerSize, m_frame - wire::headerSize);
}

void Session::handlePayload()
{
    if (m_closed)
        return;
    try {
        m_unpacked = wire::unpackPayload(payload());
        m_call = wire::readCall(m_unpacked);
    } catch (const std::exception &error) {
        return fail(error.what());
    }
    m_fault = m_state.faults.takeCall(m_call.operation);
    if (m_fault.hangs)
        hold();
    else if (m_fault.delay.count() > 0)
        delay();
    else
        dispatch();
}

void Session::dispatch()
{
    try {
        write(calls::dispatch(
            {m_state.crate, m_state.shown, m_caller, m_state.faults, m_state.statistics.calls},
            m_call, m_fault.code));
    } catch (const std::exception &error) {
        fail(error.what());
    }
}

// The call of a caller that has given up meanwhile is not handled.
void Session::hold()
{
    m_held = true;
    spdlog::debug("{}:{}: call held back", m_peer.address().to_string(), m_peer.port());
    m_state.notify();
    m_socket.async_wait(Tcp::socket::wait_read,
                        [self = shared_from_this(), number = ++m_holds](const Error &error) {
                            Error readError;
                            const bool waits = self->m_held && self->m_holds == number;
                            if (waits && (error || self->m_socket.available(readError) == 0)) {
                                self->m_held = false;
                                self->close();
                            }
                        });
}

void Session::delay()
{
    hold();
    m_delay.expires_after(m_fault.delay);
    m_delay.async_wait([self = shared_from_this(), number = m_holds](const Error &error) {
        if (error || !self->m_held || self->m_holds != number)
            return;
        self->m_held = false;
        self->dispatch();
    });
}

void Session::resume()
{
    if (!m_held || !m_fault.hangs)
        return;
    m_held = false;
    dispatch();
}

void Session::write(std::string frame)
{
    m_answer = std::move(frame);
    asio::async_write(m_socket, asio::buffer(m_answer),
                      [self = shared_from_this()](const Error &error, size_t) {
                          if (error || self->m_caller.hasLoggedOut())
                              return self->close();
                          self->nextCall();
                      });
    m_state.notify();
}

void Session::fail(const char *reason)
{
    spdlog::warn("{}:{}: {}", m_peer.address().to_string(), m_peer.port(), reason);
    ++m_state.statistics.badFrames;
    close();
}

void Session::close()
{
    if (m_closed)
        return;
    m_closed = true;
    --m_state.sessions;
    spdlog::debug("{}:{} gone", m_peer.address().to_string(), m_peer.port());
    if (m_caller.isLoggedIn())
        spdlog::info("{}:{} left without logging out", m_peer.address().to_string(), m_peer.port());
    m_caller.logout();
    m_delay.cancel();
    Error ignored;
    m_socket.close(ignored);
    m_state.notify();
}

} // namespace sim::daemon
