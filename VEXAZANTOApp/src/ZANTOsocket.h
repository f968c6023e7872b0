// TCP sockets: a descriptor that is closed when it goes out of scope, and the system's calls.
#pragma once

#include <netinet/in.h>
#include <unistd.h>

#include <atomic>
#include <utility>

// Owns a descriptor; -1 owns nothing. Movable.
class ZANTOSocket {
public:
    explicit ZANTOSocket(int fd = -1) noexcept : m_fd(fd) {}
    ~ZANTOSocket() { reset(); }
    ZANTOSocket(ZANTOSocket &&other) noexcept : m_fd(other.release()) {}
    ZANTOSocket &operator=(ZANTOSocket &&other) noexcept
    {
        reset(other.release());
        return *this;
    }

    int fd() const noexcept { return m_fd; }
    bool isOpen() const noexcept { return m_fd >= 0; }
    // The descriptor is the caller's from now on.
    int release() noexcept { return std::exchange(m_fd, -1); }
    void reset(int fd = -1) noexcept
    {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = fd;
    }

private:
    int m_fd;
};

// What the server asks of the system's sockets; tests put their own in place. Each as the call
// of its name: -1 and an errno when it fails. Any thread may call any function.
struct ZANTOSocketCalls {
    int (*open)(); // TCP over IPv4, not inherited
    int (*bind)(int socket, const sockaddr_in &address);
    int (*listen)(int socket, int backlog);
    int (*accept)(int listener, sockaddr_in &peer); // not inherited; blocks
    int (*connect)(int socket, const sockaddr_in &address);
};
// The system's own.
extern const ZANTOSocketCalls ZANTOSystemSockets;
// The ones that are used, never null.
extern std::atomic<const ZANTOSocketCalls *> ZANTOPresentSockets;

inline const ZANTOSocketCalls &ZANTOSockets() { return *ZANTOPresentSockets.load(); }
