// A socket's descriptor, closed when it goes out of scope.
#pragma once

#include <unistd.h>

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
