// Puts a test's own clock, sockets or threads in place of the server's.
#pragma once

#include <atomic>

// For a scope. A thread of the server may read the place at any time, so `services` must live on
// where one may outlast the scope.
template <typename Services> class Installed {
public:
    Installed(std::atomic<const Services *> &place, const Services &services)
        : m_place(place), m_before(place.exchange(&services))
    {
    }
    ~Installed() { m_place = m_before; }
    Installed(const Installed &) = delete;
    Installed &operator=(const Installed &) = delete;

private:
    std::atomic<const Services *> &m_place;
    const Services *const m_before;
};
