#include "ZANTOeventsthread.h"

#include "ZANTOclock.h"
#include "ZANTOeventbatch.h"
#include "ZANTOeventconnections.h"
#include "ZANTOeventport.h"
#include "ZANTOeventupdate.h"
#include "ZANTOlife.h"
#include "ZANTOmessages.h"
#include "ZANTOnode.h"
#include "ZANTOsocket.h"
#include "ZANTOstatic.h"
#include "ZANTOthreads.h"
#include "ZANTOtypes.h"

#include <epicsEvent.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <atomic>
#include <cerrno>
#include <utility>

epicsThreadId tcpServerThread = nullptr;
epicsThreadId ZANTOEventsThread = nullptr;

namespace {

// An EPICS event that no exit destroys.
struct Signal {
    Signal() : event(epicsEventMustCreate(epicsEventEmpty)) {}
    epicsEventId event;
};

// Set by an event thread once it has read its socket from the system node: until then the
// server must not store the next one there.
epicsEventId socketTaken()
{
    static ZANTONeverDestroyed<Signal> signal;
    return signal.get().event;
}

// Set when the server listens or has given up.
epicsEventId portSettled()
{
    static ZANTONeverDestroyed<Signal> signal;
    return signal.get().event;
}

} // namespace

int32_t updateNode(int32_t boardIndex, int32_t channelIndex, const char *itemName,
                   const IDValue_t &value)
{
    return ZANTOUpdateItem(boardIndex, channelIndex, itemName, value, ZANTONode::noConnection);
}

// ---- event thread ----

namespace {

// Whether the event thread started last found its socket; read by the server once it is told.
std::atomic<bool> socketFound{false};

bool takeSocket(int32_t &socket)
{
    const ZANTOTreeUse use;
    ZANTONode *root = use.root();
    if (root != nullptr)
        socket = root->getSysSocket();
    socketFound = root != nullptr;
    return root != nullptr;
}

} // namespace

void ZANTOEvents_Thread(void *)
{
    int32_t fd = -1;
    const bool found = takeSocket(fd);
    const ZANTOSocket socket(fd);
    auto &connections = ZANTOEventConnections::instance();
    ZANTOEventSource source = {socket.fd(), connections.numberOf(socket.fd())};
    epicsEventSignal(socketTaken());
    if (!found) {
        ZANTO_TRACE(0, "\nSystem node not found, update thread exits\n");
        return;
    }
    while (!ZANTOHandleNextBatch(source)) {
    }
    connections.remove(source.connection);
}

// ---- listening server ----

namespace {

constexpr unsigned eventThreadPriority = 90;
// A peer that vanished without a word is noticed after about two minutes.
constexpr int keepAliveIdleSeconds = 60;
constexpr int keepAliveIntervalSeconds = 15;
constexpr int keepAliveProbes = 4;
// Pause before the next accept when there is no descriptor or memory for a connection: the
// connection stays in the queue, and asking again at once would burn a core.
constexpr std::chrono::milliseconds acceptPause{100};

void keepAlive(int socket)
{
    const struct {
        int level;
        int option;
        int value;
    } options[] = {{SOL_SOCKET, SO_KEEPALIVE, 1},
                   {IPPROTO_TCP, TCP_KEEPIDLE, keepAliveIdleSeconds},
                   {IPPROTO_TCP, TCP_KEEPINTVL, keepAliveIntervalSeconds},
                   {IPPROTO_TCP, TCP_KEEPCNT, keepAliveProbes}};
    for (const auto &option : options)
        setsockopt(socket, option.level, option.option, &option.value, sizeof(option.value));
}

// Into the system node, for the event thread to find. False when there is no tree.
bool storeSocket(int socket)
{
    const ZANTOTreeUse use;
    ZANTONode *root = use.root();
    if (root != nullptr)
        root->setSysSocket(socket);
    return root != nullptr;
}

// True when a thread has taken the socket, which is its own from then on. Two connections in
// quick succession must not end up with two threads on the second one's socket.
bool startEventThread(int socket)
{
    if (!storeSocket(socket))
        return false;
    const epicsThreadId thread = ZANTOStartThread("ZANTOEventsThread", eventThreadPriority,
                                                  epicsThreadStackBig, ZANTOEvents_Thread);
    if (thread == nullptr)
        return false;
    ZANTOEventsThread = thread;
    epicsEventMustWait(socketTaken());
    return socketFound;
}

// Whether it is the address that the login was made to; a name there is nobody's address.
bool isCratesAddress(in_addr address)
{
    const ZANTOTreeUse use;
    ZANTONode *root = use.root();
    in_addr crates = {};
    return root != nullptr && inet_pton(AF_INET, root->getInitParam().c_str(), &crates) == 1 &&
           crates.s_addr == address.s_addr;
}

void serve(ZANTOSocket socket, bool isCrates)
{
    auto &connections = ZANTOEventConnections::instance();
    const uint64_t number = connections.admit(socket.fd(), isCrates);
    if (number == 0) {
        ZANTO_TRACE(0, "\nToo many event connections, the new one is closed\n");
        return;
    }
    if (startEventThread(socket.fd()))
        socket.release();
    else
        connections.remove(number);
}

void acceptConnection(const ZANTOSocket &listener)
{
    ZANTO_TRACE(9, "\nTCP waiting for connection..\n");
    sockaddr_in peer = {};
    ZANTOSocket socket(ZANTOSockets().accept(listener.fd(), peer));
    if (!socket.isOpen()) {
        const bool exhausted =
            errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM;
        ZANTO_TRACE(0, "\nTCP accept connection error\n");
        if (exhausted)
            ZANTOPause(acceptPause);
        return;
    }
    ZANTO_TRACE(9, "Device connected\n");
    keepAlive(socket.fd());
    // Whoever connects before the tree exists is served once it does.
    ZANTOWaitForTree();
    serve(std::move(socket), isCratesAddress(peer.sin_addr));
}

} // namespace

void tcpServer_Thread(void *)
{
    ZANTO_TRACE(9, "\nTCP server thread started\n");
    const ZANTOSocket listener = ZANTOOpenEventPort();
    epicsEventSignal(portSettled());
    if (!listener.isOpen())
        return;
    while (true)
        acceptConnection(listener);
}

bool ZANTOWaitForEventPort(std::chrono::milliseconds limit)
{
    const double limitSeconds = std::chrono::duration<double>(limit).count();
    if (epicsEventWaitWithTimeout(portSettled(), limitSeconds) != epicsEventWaitOK)
        return false;
    epicsEventSignal(portSettled()); // for the next to ask
    return true;
}
