// A crate that runs in this process on a thread of its own and a port that was free, with the
// access library pointed at it.
#pragma once

#include "daemon/serverthread.h"

#include <cstdint>

namespace crateBench {

// 16 boards of 48 channels, of the built-in crate's kinds.
sim::CrateDescription fullCrate();

class BenchCrate {
public:
    explicit BenchCrate(sim::CrateDescription description);

    static sim::daemon::ServerSettings settings();

    // Runs a function on the crate's thread and returns its result.
    template <class Function> auto on(Function function) { return m_server.on(function); }

    // Seconds that the crate's thread has kept a core busy.
    double cpuSeconds();

private:
    sim::daemon::ServerThread m_server;
};

// A login that ends with the object; handle is negative when it failed.
class Login {
public:
    Login();
    ~Login();
    Login(const Login &) = delete;
    Login &operator=(const Login &) = delete;

    int32_t handle = -1;
};

// What a program does to receive events.
class Subscriber {
public:
    Subscriber();
    ~Subscriber();
    Subscriber(const Subscriber &) = delete;
    Subscriber &operator=(const Subscriber &) = delete;

    // Subscribes a parameter of every channel. False when something was refused.
    bool subscribe(int32_t handle, const sim::CrateDescription &crate, const char *name);
    // Waits for the crate's connection.
    bool accept();
    // The number of events of the next batch; 0 at the end of the stream.
    uint32_t nextBatch();

private:
    int m_listener = -1;
    int m_socket = -1;
    uint16_t m_port = 0;
};

} // namespace crateBench
