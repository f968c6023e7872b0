#include "ZANTOsocket.h"

#include <sys/socket.h>

namespace {

int openSocket() { return socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP); }

int bindSocket(int socket, const sockaddr_in &address)
{
    return bind(socket, reinterpret_cast<const sockaddr *>(&address), sizeof(address));
}

int listenOn(int socket, int backlog) { return listen(socket, backlog); }

int acceptFrom(int listener, sockaddr_in &peer)
{
    socklen_t size = sizeof(peer);
    return accept4(listener, reinterpret_cast<sockaddr *>(&peer), &size, SOCK_CLOEXEC);
}

int connectSocket(int socket, const sockaddr_in &address)
{
    return connect(socket, reinterpret_cast<const sockaddr *>(&address), sizeof(address));
}

} // namespace

const ZANTOSocketCalls ZANTOSystemSockets = {openSocket, bindSocket, listenOn, acceptFrom,
                                             connectSocket};

std::atomic<const ZANTOSocketCalls *> ZANTOPresentSockets{&ZANTOSystemSockets};
