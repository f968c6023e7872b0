#include "session.h"

#include <spdlog/spdlog.h>

#include "calls.h"

namespace sim::daemon {

namespace {

Tcp::endpoint peerOf(const Tcp::socket &socket)
{
    Error ignored;
    return socket.remote_endpoint(ignored);
}

} // namespace

Session::Session(asio::io_context &context, Tcp::socket socket, World &world)
    : m_context(context), m_socket(std::move(socket)), m_world(world),
      m_peer(peerOf(m_socket)), m_delay(context)
{
    ++m_world.sessions;
}

void Session::start()
{
    ++m_world.statistics.sessionsAccepted;
    Error ignored;
    m_socket.set_option(Tcp::no_delay(true), ignored);
    readHeader();
}

void Session::readHeader()
{
    asio::async_read(m_socket, asio::buffer(m_header),
                     [self = shared_from_this()](const Error &error, size_t) {
                         if (error)
                             return self->close();
                         try {
                             self->readPayload(wire::payloadLength(self->m_header));
                         } catch (const wire::BadFrame &bad) {
                             self->fail(bad.what());
                         }
                     });
}

void Session::readPayload(uint32_t length)
{
    m_payload.resize(length);
    asio::async_read(m_socket, asio::buffer(m_payload),
                     [self = shared_from_this()](const Error &error, size_t) {
                         if (error)
                             return self->close();
                         self->handlePayload();
                     });
}

void Session::handlePayload()
{
    if (m_closed)
        return;
    try {
        m_fault = m_world.faults.none() ? CallFault() : takeCallFault(m_world.faults, m_payload);
    } catch (const std::exception &error) {
        return fail(error.what());
    }
    if (m_fault.hangs)
        hold();
    else if (m_fault.delay.count() > 0)
        delay();
    else
        carryOut();
}

void Session::carryOut()
{
    try {
        write(answerCall(*this, m_payload, m_fault.code));
    } catch (const std::exception &error) {
        fail(error.what());
    }
}

// A caller that has given up meanwhile does not get its call carried out.
void Session::hold()
{
    m_held = true;
    m_world.notify();
    m_socket.async_wait(Tcp::socket::wait_read, [self = shared_from_this(),
                                                 number = ++m_holds](const Error &error) {
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
        self->carryOut();
    });
}

void Session::resume()
{
    if (!m_held || !m_fault.hangs)
        return;
    m_held = false;
    carryOut();
}

void Session::write(std::string frame)
{
    m_answer = std::move(frame);
    asio::async_write(m_socket, asio::buffer(m_answer),
                      [self = shared_from_this()](const Error &error, size_t) {
                          if (error || self->m_ending)
                              return self->close();
                          self->readHeader();
                      });
    m_world.notify();
}

void Session::fail(const char *reason)
{
    spdlog::warn("{}:{}: {}", m_peer.address().to_string(), m_peer.port(), reason);
    ++m_world.statistics.badFrames;
    close();
}

void Session::close()
{
    if (m_closed)
        return;
    m_closed = true;
    --m_world.sessions;
    if (m_loggedIn)
        spdlog::info("{}:{} left without logging out", m_peer.address().to_string(),
                     m_peer.port());
    m_loggedIn = false;
    logout();
    m_delay.cancel();
    Error ignored;
    m_socket.close(ignored);
    m_world.notify();
}

void Session::login(int32_t handle)
{
    m_loggedIn = true;
    m_handle = handle;
}

void Session::logout()
{
    m_ending = true;
    m_loggedIn = false;
    for (const auto &[port, link] : m_links)
        m_world.closeLink(link);
    m_links.clear();
}

EventLink &Session::link(uint16_t port)
{
    auto &link = m_links[port];
    if (!link)
        link = m_world.openLink(m_context, Tcp::endpoint(m_peer.address(), port), m_handle);
    return *link;
}

EventLink *Session::findLink(uint16_t port)
{
    const auto found = m_links.find(port);
    return found == m_links.end() ? nullptr : found->second.get();
}

void Session::closeLink(uint16_t port)
{
    const auto found = m_links.find(port);
    if (found == m_links.end())
        return;
    m_world.closeLink(found->second);
    m_links.erase(found);
}

} // namespace sim::daemon
