#include "server.h"

#include <algorithm>
#include <spdlog/spdlog.h>
#include <stdexcept>
#include <thread>

namespace sim::daemon {

namespace {

constexpr size_t maxSessions = 256;

// At the rates that a storm is for, a batch of a model step would be long.
constexpr std::chrono::milliseconds stormStep{1};

} // namespace

Server::Server(CrateDescription description, const ServerSettings &settings)
    : m_state(std::move(description), settings.seed, settings.tick, settings.links),
      m_acceptor(m_context), m_timer(m_context), m_stormTimer(m_context), m_tick(settings.tick)
{
    if (!m_state.clock.setSpeed(settings.speed))
        throw std::invalid_argument("the speed is out of range");
    listen(settings);
    m_state.onRelease = [this] { resumeSessions(); };
    m_state.onStorm = [this] {
        m_stormed = std::chrono::steady_clock::now();
        stormTick();
    };
    openControl(settings);
    for (const auto &fault : settings.faults)
        m_state.orderFault(fault);
    accept();
    m_timer.expires_after(m_tick);
    tick();
}

Server::~Server()
{
    m_state.onChange = nullptr;
    m_state.onRelease = nullptr;
    m_state.onStorm = nullptr;
    for (const auto &session : m_sessions)
        session->close();
}

void Server::listen(const ServerSettings &settings)
{
    Error error;
    const auto address = asio::ip::make_address(settings.address, error);
    if (error)
        throw std::invalid_argument("\"" + settings.address + "\" is not an IP address");
    const Tcp::endpoint endpoint(address, settings.port);
    try {
        m_acceptor.open(endpoint.protocol());
        m_acceptor.set_option(Tcp::acceptor::reuse_address(true));
        m_acceptor.bind(endpoint);
        m_acceptor.listen();
    } catch (const asio::system_error &failure) {
        throw asio::system_error(failure.code(), "cannot listen on " + settings.address + ":" +
                                                     std::to_string(settings.port));
    }
    m_port = m_acceptor.local_endpoint().port();
}

void Server::openControl(const ServerSettings &settings)
{
    if (settings.controlPath.empty())
        return;
    try {
        m_control.emplace(m_context, settings.controlPath, m_state);
    } catch (const std::exception &failure) {
        if (settings.needsControl)
            throw;
        spdlog::warn("{}; the crate runs without a control port", failure.what());
    }
}

// Without a free descriptor the next attempt waits for a tick.
void Server::accept()
{
    m_acceptor.async_accept([this](const Error &error, Tcp::socket socket) {
        if (error == asio::error::operation_aborted)
            return;
        if (error) {
            spdlog::warn("cannot accept: {}", error.message());
            auto pause = std::make_shared<asio::steady_timer>(m_context, m_tick);
            pause->async_wait([this, pause](const Error &) { accept(); });
            return;
        }
        if (m_state.sessions < maxSessions) {
            const auto session = std::make_shared<Session>(m_context, std::move(socket), m_state);
            m_sessions.push_back(session);
            session->start();
        } else {
            spdlog::warn("connection refused: {} sessions are open", m_state.sessions);
        }
        accept();
    });
}

void Server::removeClosedSessions()
{
    const auto gone = [](const auto &session) { return session->isClosed(); };
    m_sessions.erase(std::remove_if(m_sessions.begin(), m_sessions.end(), gone), m_sessions.end());
}

// Ticks that were missed are made up for, unless the process was asleep.
void Server::tick()
{
    m_timer.async_wait([this](const Error &error) {
        if (error)
            return;
        removeClosedSessions();
        m_state.tick();
        constexpr auto asleep = std::chrono::seconds(1);
        const auto now = std::chrono::steady_clock::now();
        const auto due = m_timer.expiry() + m_tick;
        m_timer.expires_at(now - due > asleep ? now + m_tick : due);
        tick();
    });
}

// Ends by itself with the storm; a new storm replaces the wait of the old one.
void Server::stormTick()
{
    m_stormTimer.expires_after(stormStep);
    m_stormTimer.async_wait([this](const Error &error) {
        if (error || !m_state.storm.isRunning())
            return;
        const auto now = std::chrono::steady_clock::now();
        m_state.advanceStorm(now - m_stormed);
        m_stormed = now;
        stormTick();
    });
}

void Server::resumeSessions()
{
    for (const auto &session : m_sessions)
        asio::post(m_context, [session] { session->resume(); });
}

// Who has made a call often makes the next one as soon as it has the answer, and
// on a machine with nothing else to do waking up takes longer than a call: after
// one the loop looks again a while before it sleeps, leaving the processor to others.
void Server::run()
{
    using Clock = std::chrono::steady_clock;
    constexpr auto spinTime = std::chrono::microseconds(100);
    uint64_t calls = m_state.statistics.calls.total();
    Clock::time_point sleepAt;
    while (!m_context.stopped()) {
        if (Clock::now() >= sleepAt)
            m_context.run_one();
        else if (m_context.poll() == 0)
            std::this_thread::yield();
        if (m_state.statistics.calls.total() != calls) {
            calls = m_state.statistics.calls.total();
            sleepAt = Clock::now() + spinTime;
        }
    }
}

void Server::stop() { m_context.stop(); }

} // namespace sim::daemon
