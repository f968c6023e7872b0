#include "ZANTOeventport.h"

#include "ZANTOmessages.h"
#include "ZANTOtypes.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdint>

namespace {

constexpr int backlog = 128;

bool bindTo(int socket, uint16_t port)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    address.sin_port = htons(port);
    return ZANTOSockets().bind(socket, address) == 0;
}

// The port that is really bound: 0 in the low 16 bits lets the kernel choose one.
void storeBoundPort(int socket)
{
    sockaddr_in address = {};
    socklen_t size = sizeof(address);
    if (getsockname(socket, reinterpret_cast<sockaddr *>(&address), &size) == 0)
        tcpPort = ntohs(address.sin_port);
}

void tryNextPort() { tcpPort = (tcpPort + 1) & 0xFFFF; }

enum class Listening { yes, portTaken, failed };

// Two processes that start together can both bind a port; the second to listen is then told
// that the port is taken.
Listening listenOnPort(int socket)
{
    if (!bindTo(socket, static_cast<uint16_t>(tcpPort))) {
        if (errno == EADDRINUSE)
            return Listening::portTaken;
        ZANTO_TRACE(0, "\nTCP port error\n");
        return Listening::failed;
    }
    if (ZANTOSockets().listen(socket, backlog) != 0) {
        if (errno == EADDRINUSE)
            return Listening::portTaken;
        ZANTO_TRACE(0, "\nTCP listen error\n");
        return Listening::failed;
    }
    storeBoundPort(socket);
    return Listening::yes;
}

} // namespace

// A socket that is bound stays bound, so each try has a fresh one.
ZANTOSocket ZANTOOpenEventPort()
{
    while (true) {
        ZANTOSocket listener(ZANTOSockets().open());
        if (!listener.isOpen()) {
            ZANTO_TRACE(0, "\nTCP socket error\n");
            return ZANTOSocket();
        }
        const int on = 1;
        setsockopt(listener.fd(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
        switch (listenOnPort(listener.fd())) {
        case Listening::yes: return listener;
        case Listening::failed: return ZANTOSocket();
        case Listening::portTaken: tryNextPort();
        }
    }
}
