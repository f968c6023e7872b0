// A TCP socket with deadlines.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

#include "failure.h"

struct addrinfo;

namespace sim::accesslib {

using Deadline = std::chrono::steady_clock::time_point;

// Owns its descriptor. Whatever fails throws CallFailure; it is interrupted by
// signals if such misbehaviour is asked for.
class Socket {
public:
    // Connects.
    Socket(const std::string &host, uint16_t port, Deadline deadline);
    Socket(const Socket &) = delete;
    Socket &operator=(const Socket &) = delete;
    ~Socket() { close(); }

    void close();

    void send(const void *data, size_t size, Deadline deadline);
    // Waits for data and takes what there is, at most size bytes.
    size_t receive(void *data, size_t size, Deadline deadline);

private:
    void waitFor(short events, Deadline deadline) const;
    void waitForAnswer(Deadline deadline) const;
    void connectTo(const addrinfo &address, Deadline deadline);

    int m_descriptor = -1;
};

// Reads from a descriptor that belongs to somebody else, for as long as it
// takes, at least 1 byte and at most size. The connection counts as lost at the
// end of the stream, on an error, and when a signal ends the wait. Blocking or
// not, the descriptor's mode is kept.
size_t receiveSome(int descriptor, void *data, size_t size);

} // namespace sim::accesslib
