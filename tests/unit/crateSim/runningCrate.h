// A crate that runs in this process on a thread of its own and a port that was
// free, with the access library pointed at it.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "daemon/serverthread.h"
#include "vexahvwrapper.h"

namespace crateTest {

constexpr auto patience = std::chrono::seconds(20);

class RunningCrate {
public:
    explicit RunningCrate(sim::daemon::ServerSettings settings = quick());
    explicit RunningCrate(sim::CrateDescription description,
                          sim::daemon::ServerSettings settings = quick());

    // Every tick is short; the crate's time passes as the clock's.
    static sim::daemon::ServerSettings quick();

    uint16_t port() const { return m_server.port(); }
    const std::string &address() const { return m_settings.address; }

    // Runs a function on the crate's thread and returns its result.
    template <class Function> auto on(Function function) { return m_server.on(function); }

    // Whether a condition, tested on the crate's thread, comes to hold while there is
    // patience.
    template <class Condition> bool until(Condition condition)
    {
        const auto end = std::chrono::steady_clock::now() + patience;
        while (!on(condition)) {
            if (std::chrono::steady_clock::now() > end)
                return false;
            std::this_thread::yield();
        }
        return true;
    }

    // Orders misbehaviour by the fields of the order.
    void order(const sim::FaultFields &fields);
    uint64_t applied(sim::FaultKind kind);

private:
    const sim::daemon::ServerSettings m_settings;
    sim::daemon::ServerThread m_server;
};

// A login that ends with the object.
class Login {
public:
    explicit Login(const RunningCrate &crate, const char *user = "admin",
                   const char *password = "admin");
    ~Login();
    Login(const Login &) = delete;
    Login &operator=(const Login &) = delete;

    VEXAHVRESULT result = 0;
    int32_t handle = -99;
};

struct SeenEvent {
    int32_t type;
    int32_t handle;
    int32_t slot;
    int32_t channel;
    std::string name;
    float real;
    int32_t integer;
    std::string text;
};

// What a program does to receive events: listens, accepts, reads batches.
class EventReceiver {
public:
    EventReceiver();
    ~EventReceiver();
    EventReceiver(const EventReceiver &) = delete;
    EventReceiver &operator=(const EventReceiver &) = delete;

    int16_t port() const { return static_cast<int16_t>(m_port); }
    // Waits for the crate's connection, at most as long as there is patience.
    bool accept();
    // The next batch, nothing when it did not come or the library failed.
    std::vector<SeenEvent> nextBatch();
    // Reads until an event of that name fulfils the condition.
    bool waitFor(const std::string &name, const std::function<bool(const SeenEvent &)> &condition);
    // True once the crate has closed the connection.
    bool isClosed();
    // The connection that was accepted last; stays with the receiver.
    int descriptor() const { return m_socket; }
    void hangUp();

private:
    int m_listener = -1;
    int m_socket = -1;
    uint16_t m_port = 0;
};

} // namespace crateTest
