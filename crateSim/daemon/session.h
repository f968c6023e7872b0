// One connection of the access library: reads calls, answers them one by one.
// A connection that never says anything is somebody testing whether the crate
// is up.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "protocol/codec.h"
#include "simulation/world.h"

namespace sim::daemon {

class Session : public std::enable_shared_from_this<Session> {
public:
    Session(asio::io_context &context, Tcp::socket socket, World &world);

    void start();
    bool isClosed() const { return m_closed; }
    // Answers a call that hangs.
    void resume();
    void close();

    // ---- For the calls

    World &world() { return m_world; }
    bool isLoggedIn() const { return m_loggedIn; }
    void login(int32_t handle);
    void logout();
    // The link to a port of the caller's, made when there is none yet; null when
    // it has links enough. A program listens on one port.
    static constexpr size_t maxLinks = 16;
    EventLink *link(uint16_t port);
    EventLink *findLink(uint16_t port);
    void closeLink(uint16_t port);

private:
    void readMore();
    void handleInput();
    void handlePayload();
    void nextCall();
    std::string_view payload() const;
    void carryOut();
    void hold();
    void delay();
    void write(std::string frame);
    void fail(const char *reason);

    asio::io_context &m_context;
    Tcp::socket m_socket;
    World &m_world;
    const Tcp::endpoint m_peer;
    std::string m_input; // as far as it is filled: the call under way and what follows it
    size_t m_filled = 0;
    size_t m_frame = 0; // bytes of the call under way; 0: not known yet
    std::string m_answer;
    CallFault m_fault; // of the call that is under way
    asio::steady_timer m_delay;
    bool m_held = false;  // the call waits, delayed or hanging
    uint64_t m_holds = 0; // tells late completions of an older wait
    bool m_closed = false;
    bool m_loggedIn = false;
    bool m_ending = false; // logged out: the answer is the last thing sent
    int32_t m_handle = -1;
    std::map<uint16_t, std::shared_ptr<EventLink>> m_links;
};

} // namespace sim::daemon
