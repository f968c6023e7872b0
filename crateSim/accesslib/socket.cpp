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
#include <utility>

#include "misbehaviour.h"

namespace sim::accesslib {

namespace {

using Clock = std::chrono::steady_clock;

// Of an interruption that does not end the wait.
bool isPassedOver(int error) { return error == EINTR && !misbehaviour().failsInterrupted; }

Transfer failureOf(int error) { return error == EINTR ? Transfer::Interrupted : Transfer::Lost; }

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

Socket::Socket(Socket &&other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}

Socket &Socket::operator=(Socket &&other) noexcept
{
    std::swap(m_descriptor, other.m_descriptor);
    return *this;
}

void Socket::close()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
    m_descriptor = -1;
}

Transfer Socket::waitFor(short events, Deadline deadline) const
{
    for (;;) {
        pollfd entry{m_descriptor, events, 0};
        const int ready = poll(&entry, 1, millisecondsUntil(deadline));
        if (ready > 0)
            return Transfer::Done;
        if (ready == 0)
            return Transfer::TimedOut;
        if (!isPassedOver(errno))
            return failureOf(errno);
    }
}

Transfer Socket::connect(const std::string &host, uint16_t port, Deadline deadline)
{
    const Addresses addresses = resolve(host, port);
    Transfer result = Transfer::Lost;
    for (auto *each = addresses.get(); each != nullptr; each = each->ai_next) {
        result = connectTo(*each, deadline);
        if (result == Transfer::Done)
            break;
        close();
        if (result == Transfer::Interrupted)
            break;
    }
    return result;
}

Transfer Socket::connectTo(const addrinfo &address, Deadline deadline)
{
    m_descriptor = socket(address.ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (m_descriptor < 0)
        return Transfer::Lost;
    const int on = 1;
    setsockopt(m_descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (::connect(m_descriptor, address.ai_addr, address.ai_addrlen) == 0)
        return Transfer::Done;
    if (errno != EINPROGRESS && !isPassedOver(errno))
        return failureOf(errno);
    const Transfer waited = waitFor(POLLOUT, deadline);
    if (waited != Transfer::Done)
        return waited;
    int error = 0;
    socklen_t size = sizeof error;
    getsockopt(m_descriptor, SOL_SOCKET, SO_ERROR, &error, &size);
    return error == 0 ? Transfer::Done : Transfer::Lost;
}

Transfer Socket::send(const void *data, size_t size, Deadline deadline)
{
    const char *position = static_cast<const char *>(data);
    while (size > 0) {
        const ssize_t sent = ::send(m_descriptor, position, size, MSG_NOSIGNAL);
        if (sent > 0) {
            position += sent;
            size -= static_cast<size_t>(sent);
        } else if (sent < 0 && wouldBlock(errno)) {
            if (const Transfer waited = waitFor(POLLOUT, deadline); waited != Transfer::Done)
                return waited;
        } else if (sent == 0) {
            return Transfer::Lost;
        } else if (!isPassedOver(errno)) {
            return failureOf(errno);
        }
    }
    return Transfer::Done;
}

// An answer is usually a matter of microseconds, and on a machine with nothing
// else to do it takes longer than that to wake a thread that sleeps: look again
// a while, leaving the processor to others, before going to sleep.
Transfer Socket::waitForAnswer(Deadline deadline) const
{
    constexpr auto spinTime = std::chrono::microseconds(100);
    const Deadline sleepAt = std::min(deadline, std::chrono::steady_clock::now() + spinTime);
    pollfd entry{m_descriptor, POLLIN, 0};
    int ready = poll(&entry, 1, 0);
    while (ready == 0 && std::chrono::steady_clock::now() < sleepAt) {
        std::this_thread::yield();
        ready = poll(&entry, 1, 0);
    }
    if (ready < 0 && !isPassedOver(errno))
        return failureOf(errno);
    return waitFor(POLLIN, deadline);
}

Transfer Socket::receive(void *data, size_t size, size_t &received, Deadline deadline)
{
    for (;;) {
        if (const Transfer waited = waitForAnswer(deadline); waited != Transfer::Done)
            return waited;
        const ssize_t taken = recv(m_descriptor, data, size, 0);
        if (taken > 0) {
            received = static_cast<size_t>(taken);
            return Transfer::Done;
        }
        if (taken == 0)
            return Transfer::Lost;
        if (!wouldBlock(errno) && !isPassedOver(errno))
            return failureOf(errno);
    }
}

size_t receiveSome(int descriptor, void *data, size_t size)
{
    for (;;) {
        const ssize_t received = recv(descriptor, data, size, 0);
        if (received >= 0)
            return static_cast<size_t>(received);
        pollfd entry{descriptor, POLLIN, 0};
        if (wouldBlock(errno) && poll(&entry, 1, -1) >= 0)
            continue;
        if (!isPassedOver(errno))
            return 0;
    }
}

} // namespace sim::accesslib
