#include "socket.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include "misbehaviour.h"

namespace sim::accesslib {

namespace {

using Clock = std::chrono::steady_clock;

// Throws unless it is an interruption that does not end the wait.
void requirePassedOver(int error)
{
    if (error != EINTR)
        throw CallFailure{failure::connectionLost};
    if (misbehaviour().failsInterrupted)
        throw CallFailure{failure::interrupted};
}

bool wouldBlock(int error) { return error == EAGAIN || error == EWOULDBLOCK; }

// Rounded up, so that a poll never ends before the deadline and spins.
int millisecondsUntil(Deadline deadline)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0)
        return 0;
    return left.count() > INT_MAX ? INT_MAX : static_cast<int>(left.count());
}

using Addresses = std::unique_ptr<addrinfo, decltype(&freeaddrinfo)>;

Addresses resolve(const std::string &host, uint16_t port)
{
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV;
    addrinfo *found = nullptr;
    if (getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found) != 0)
        found = nullptr;
    return Addresses(found, &freeaddrinfo);
}

} // namespace

Socket::Socket(const std::string &host, uint16_t port, Deadline deadline)
{
    const Addresses addresses = resolve(host, port);
    for (auto *each = addresses.get(); each != nullptr; each = each->ai_next) {
        try {
            connectTo(*each, deadline);
            return;
        } catch (const CallFailure &failed) {
            close();
            if (failed.code == failure::interrupted)
                throw;
        }
    }
    throw CallFailure{failure::cannotConnect};
}

void Socket::close()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
    m_descriptor = -1;
}

void Socket::waitFor(short events, Deadline deadline) const
{
    for (;;) {
        pollfd entry{m_descriptor, events, 0};
        const int ready = poll(&entry, 1, millisecondsUntil(deadline));
        if (ready > 0)
            return;
        if (ready == 0)
            throw CallFailure{failure::timedOut};
        requirePassedOver(errno);
    }
}

void Socket::connectTo(const addrinfo &address, Deadline deadline)
{
    m_descriptor = socket(address.ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (m_descriptor < 0)
        throw CallFailure{failure::connectionLost};
    const int on = 1;
    setsockopt(m_descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (::connect(m_descriptor, address.ai_addr, address.ai_addrlen) == 0)
        return;
    if (errno != EINPROGRESS)
        requirePassedOver(errno);
    waitFor(POLLOUT, deadline);
    int error = 0;
    socklen_t size = sizeof error;
    getsockopt(m_descriptor, SOL_SOCKET, SO_ERROR, &error, &size);
    if (error != 0)
        throw CallFailure{failure::connectionLost};
}

void Socket::send(const void *data, size_t size, Deadline deadline)
{
    const char *position = static_cast<const char *>(data);
    while (size > 0) {
        const ssize_t sent = ::send(m_descriptor, position, size, MSG_NOSIGNAL);
        if (sent >= 0) {
            position += sent;
            size -= static_cast<size_t>(sent);
        } else if (wouldBlock(errno)) {
            waitFor(POLLOUT, deadline);
        } else {
            requirePassedOver(errno);
        }
    }
}

// An answer is usually a matter of microseconds, and on a machine with nothing
// else to do it takes longer than that to wake a thread that sleeps: look again
// a while, leaving the processor to others, before going to sleep.
void Socket::waitForAnswer(Deadline deadline) const
{
    constexpr auto spinTime = std::chrono::microseconds(100);
    const Deadline sleepAt = std::min(deadline, Clock::now() + spinTime);
    pollfd entry{m_descriptor, POLLIN, 0};
    int ready = poll(&entry, 1, 0);
    while (ready == 0 && Clock::now() < sleepAt) {
        std::this_thread::yield();
        ready = poll(&entry, 1, 0);
    }
    if (ready < 0)
        requirePassedOver(errno);
    waitFor(POLLIN, deadline);
}

size_t Socket::receive(void *data, size_t size, Deadline deadline)
{
    for (;;) {
        waitForAnswer(deadline);
        const ssize_t taken = recv(m_descriptor, data, size, 0);
        if (taken > 0)
            return static_cast<size_t>(taken);
        if (taken == 0)
            throw CallFailure{failure::connectionLost};
        if (!wouldBlock(errno))
            requirePassedOver(errno);
    }
}

size_t receiveSome(int descriptor, void *data, size_t size)
{
    for (;;) {
        const ssize_t received = recv(descriptor, data, size, 0);
        if (received > 0)
            return static_cast<size_t>(received);
        pollfd entry{descriptor, POLLIN, 0};
        if (received < 0 && wouldBlock(errno) && poll(&entry, 1, -1) >= 0)
            continue;
        if (received == 0 || errno != EINTR || misbehaviour().failsInterrupted)
            throw CallFailure{failure::connectionLost};
    }
}

} // namespace sim::accesslib
