// A server on a thread of its own, for tests and benchmarks that have the crate in their process.
#pragma once

#include <future>
#include <thread>

#include "server.h"

namespace sim::daemon {

class ServerThread {
public:
    ServerThread(CrateDescription description, const ServerSettings &settings)
        : m_server(std::move(description), settings), m_thread([this] { m_server.run(); })
    {
    }
    ~ServerThread()
    {
        m_server.stop();
        m_thread.join();
    }
    ServerThread(const ServerThread &) = delete;
    ServerThread &operator=(const ServerThread &) = delete;

    uint16_t port() const { return m_server.port(); }
    std::thread &thread() { return m_thread; }

    // Runs a function on the server's thread and returns its result.
    template <class Function> auto on(Function function)
    {
        std::packaged_task<decltype(function(m_server.state()))()> task(
            [&] { return function(m_server.state()); });
        auto result = task.get_future();
        asio::post(m_server.context(), [&task] { task(); });
        return result.get();
    }

private:
    Server m_server;
    std::thread m_thread;
};

} // namespace sim::daemon
