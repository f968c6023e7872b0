// The simulated mainframe on the network: listens for the access library's
// connections, lets the crate's time pass, serves the control port.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "faults/order.h"
#include "control/port.h"
#include "session.h"
#include "simulation/state.h"

namespace sim::daemon {

struct ServerSettings {
    std::string address = "127.0.0.1";
    uint16_t port = 3180;     // 0: one that is free
    std::string controlPath;  // empty: no control port
    bool needsControl = true; // false: runs without when the path is taken
    std::chrono::milliseconds tick{50};
    double speed = 1; // crate time per wall-clock time
    uint64_t seed = 1;
    std::vector<FaultOrder> faults; // in force from the start
    LinkSettings links;
};

class Server {
public:
    // Listens when it returns. Throws std::system_error or
    // std::invalid_argument with a text for the user.
    Server(CrateDescription description, const ServerSettings &settings);
    ~Server();
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;

    uint16_t port() const { return m_port; }

    // Serves until stop().
    void run();
    // From any thread, or from a handler of the loop.
    void stop();

    asio::io_context &context() { return m_context; }
    // For the thread that runs the loop, or while nobody runs it.
    SimulationState &state() { return m_state; }

private:
    void listen(const ServerSettings &settings);
    void openControl(const ServerSettings &settings);
    void accept();
    void tick();
    void stormTick();
    void resumeSessions();
    void removeClosedSessions();

    SimulationState m_state;
    // Handlers and what they own go before the state that they refer to.
    asio::io_context m_context{1};
    Tcp::acceptor m_acceptor;
    asio::steady_timer m_timer;
    asio::steady_timer m_stormTimer;
    std::chrono::steady_clock::time_point m_stormed; // up to when it has been made
    const std::chrono::milliseconds m_tick;
    uint16_t m_port = 0;
    std::vector<std::shared_ptr<Session>> m_sessions;
    std::optional<control::ControlPort> m_control;
};

} // namespace sim::daemon
