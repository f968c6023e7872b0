// A TCP socket with deadlines.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

struct addrinfo;

namespace sim::accesslib {

using Deadline = std::chrono::steady_clock::time_point;

// Interrupted: by a signal, if such misbehaviour is asked for.
enum class Transfer : uint8_t { Done, TimedOut, Lost, Interrupted };

// Owns its descriptor.
class Socket {
public:
    Socket() = default;
    explicit Socket(int descriptor) : m_descriptor(descriptor) {}
    Socket(Socket &&other) noexcept;
    Socket &operator=(Socket &&other) noexcept;
    ~Socket() { close(); }

    bool isOpen() const { return m_descriptor >= 0; }
    void close();

    Transfer connect(const std::string &host, uint16_t port, Deadline deadline);
    Transfer send(const void *data, size_t size, Deadline deadline);
    // Waits for data and takes what there is, at most size bytes.
    Transfer receive(void *data, size_t size, size_t &received, Deadline deadline);

private:
    Transfer waitFor(short events, Deadline deadline) const;
    Transfer waitForAnswer(Deadline deadline) const;
    Transfer connectTo(const addrinfo &address, Deadline deadline);

    int m_descriptor = -1;
};

// Reads from a descriptor that belongs to somebody else, for as long as it
// takes, at most size bytes. Returns the number of bytes, 0 at the end of the
// stream, on an error, or when a signal ends the wait. Blocking or not, the
// descriptor's mode is kept.
size_t receiveSome(int descriptor, void *data, size_t size);

} // namespace sim::accesslib
