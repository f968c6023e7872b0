// One connection of the access library: reads calls, answers them one by one.
// A connection that never says anything is somebody testing whether the crate
// is up.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "calls/caller.h"
#include "protocol/codec.h"
#include "simulation/state.h"

namespace sim::daemon {

class Session : public std::enable_shared_from_this<Session> {
public:
    Session(asio::io_context &context, Tcp::socket socket, SimulationState &state);

    void start();
    bool isClosed() const { return m_closed; }
    // Answers a call that hangs.
    void resume();
    void close();

private:
    void readMore();
    void handleInput();
    void handlePayload();
    void nextCall();
    std::string_view payload() const;
    void dispatch();
    void hold();
    void delay();
    void write(std::string frame);
    void fail(const char *reason);

    Tcp::socket m_socket;
    SimulationState &m_state;
    const Tcp::endpoint m_peer;
    calls::Caller m_caller;
    std::string m_input; // as far as it is filled: the call under way and what follows it
    size_t m_filled = 0;
    size_t m_frame = 0; // bytes of the call under way; 0: not known yet
    std::string m_answer;
    wire::Unpacked m_unpacked; // the call that is under way, as far as it is understood
    wire::Call m_call;
    CallFault m_fault;
    asio::steady_timer m_delay;
    bool m_held = false;  // the call waits, delayed or hanging
    uint64_t m_holds = 0; // tells late completions of an older wait
    bool m_closed = false;
};

} // namespace sim::daemon
