// The control port: a Unix socket with one JSON object per line in each
// direction.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "events/net.h"
#include "waits.h"
#include "simulation/state.h"

namespace sim::control {

using Local = asio::local::stream_protocol;

class ControlPort {
public:
    // Listens when it returns. Takes over the socket file of a crate that is
    // gone; throws when one still answers there, or on any other failure.
    ControlPort(asio::io_context &context, const std::string &path, SimulationState &state);
    ~ControlPort();
    ControlPort(const ControlPort &) = delete;
    ControlPort &operator=(const ControlPort &) = delete;

private:
    void accept();

    asio::io_context &m_context;
    SimulationState &m_state;
    const std::string m_path;
    Waits m_waits;
    Local::acceptor m_acceptor;
};

} // namespace sim::control
