#include "ZANTOeventsthread.h"

#include "ZANTOAio.h"
#include "ZANTOBio.h"
#include "ZANTOMBBioDirect.h"
#include "ZANTOStringio.h"
#include "ZANTOconfig.h"
#include "ZANTOfile.h"
#include "ZANTOlife.h"
#include "ZANTOnode.h"
#include "ZANTOscanlist.h"
#include "ZANTOstatic.h"
#include "ZANTOtypes.h"
#include "ZANTOutils.h"

#include <epicsEvent.h>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <thread>

epicsThreadId tcpServerThread = nullptr;
epicsThreadId ZANTOEventsThread = nullptr;

namespace {

/// An EPICS event that no exit destroys.
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

// ---- events to nodes ----

namespace {

// The code space of system property types mapped into that of parameters.
int32_t parameterTypeOf(uint32_t wrapperType, nodeType type)
{
    const auto code = static_cast<int32_t>(wrapperType);
    if (type != nodeTypeSystemProp)
        return code;
    if (code == VEXAHV_SYSPROP_TEXT)
        return VEXAHV_PARAM_STRING;
    if (code >= VEXAHV_SYSPROP_REAL && code <= VEXAHV_SYSPROP_INT32)
        return VEXAHV_PARAM_NUMERIC;
    return code == VEXAHV_SYSPROP_BOOLEAN ? VEXAHV_PARAM_ONOFF : code;
}

void traceUpdate(const char *itemName, nodeDataType dataType, const variant &value)
{
    if (DEBUG <= 9)
        return;
    if (dataType == nodeDataTypeString)
        std::printf("Item [%s] updated - val = %s\n", itemName, value.toString().c_str());
    else // whatever the type, as the float that the bits make
        std::printf("Item [%s] updated - val = %lf \n", itemName,
                    static_cast<double>(value.toFloat()));
}

} // namespace

int32_t updateNode(int32_t boardIndex, int32_t channelIndex, const char *itemName,
                   const IDValue_t &value)
{
    const ZANTOTreeUse use;
    ZANTONode *root = use ? static_cast<ZANTONode *>(systemNode) : nullptr;
    if (root == nullptr) {
        if (DEBUG > 7)
            std::printf("\nError finding tree while updating item [%s]\n", itemName);
        return -1;
    }
    ZANTONode *node =
        ZANTOConfig::ZANTOConfigGetNodeFromItemId(root, itemName, boardIndex, channelIndex);
    if (node == nullptr) {
        if (DEBUG > 7)
            std::printf("\nError updating item [%s]\n", itemName);
        return -1;
    }
    const ZANTONodeValue newValue =
        ZANTOUtils::ZANTOCreateValueFromNodeTypeAndEventType(node, value);
    {
        const ZANTONode::SemGuard guard(*node);
        node->setNodeValue(newValue);
    }
    // Printing may block on a terminal that is stopped, so it holds no lock.
    traceUpdate(itemName, node->getDataType(), newValue.ZANTOGetValue());
    return parameterTypeOf(node->getParWrapperType(), node->getNodeType());
}

// ---- event thread ----

namespace {

/// A batch of events that the access library allocated.
class EventBatch {
public:
    EventBatch() = default;
    ~EventBatch()
    {
        if (m_events != nullptr)
            VEXAHV_FreeEventData(&m_events);
    }
    EventBatch(const EventBatch &) = delete;
    EventBatch &operator=(const EventBatch &) = delete;

    /// Blocks until a batch has arrived; the library's result.
    int32_t receive(int32_t socket)
    {
        VEXAHVSystemStatus_t status;
        return VEXAHV_GetEventData(socket, &status, &m_events, &m_count);
    }
    bool isEmpty() const { return m_events == nullptr || m_count == 0; }
    const VEXAHVEventData_t *begin() const { return m_events; }
    const VEXAHVEventData_t *end() const
    {
        return m_events != nullptr ? m_events + m_count : nullptr;
    }

private:
    VEXAHVEventData_t *m_events = nullptr;
    uint32_t m_count = 0;
};

void raiseLiveInsertionFlag()
{
    if (DEBUG > 0)
        std::puts("\nLive insertion signal");
    if (!ZANTOWriteLiveInsertionFlag("1\n") && DEBUG > 0)
        std::puts("\nUnable to open file for live insertion event");
}

// The parameter type of the node that was updated, or -1. What memory does not suffice for is
// one lost value and not the end of the server.
int32_t applyParameter(const VEXAHVEventData_t &event)
{
    // The slot of the name may lack its NUL.
    char name[VEXAHV_ITEM_ID_SIZE + 1] = {};
    std::memcpy(name, event.ItemID, VEXAHV_ITEM_ID_SIZE);
    try {
        return updateNode(event.BoardIndex, event.ChannelIndex, name, event.Value);
    } catch (const std::exception &error) {
        if (DEBUG > 0)
            std::printf("\nError updating item [%s]: %s\n", name, error.what());
        return -1;
    }
}

// One bit per parameter type of which a node was updated.
uint32_t applyBatch(const EventBatch &batch)
{
    uint32_t mask = 0;
    for (const VEXAHVEventData_t &event : batch) {
        if (event.Type == PARAMETER) {
            const int32_t code = applyParameter(event);
            if (code >= 0)
                mask |= 1U << (static_cast<uint32_t>(code) % 32U);
        } else if (event.Type == ALARM) {
            raiseLiveInsertionFlag();
        }
    }
    return mask;
}

constexpr uint32_t bit(uint32_t code) { return 1U << code; }

struct ScanRequest {
    uint32_t mask;
    const char *recordType;
    ZANTOScanList &list;
};

// In the order of the requests. Status words are shown by ai records as well; enumerations have
// no records.
const ScanRequest scanRequests[] = {
    {bit(VEXAHV_PARAM_NUMERIC), "recordAi", ioscanpvt_ai},
    {bit(VEXAHV_PARAM_ONOFF), "recordBi", ioscanpvt_bi},
    {bit(VEXAHV_PARAM_CHANNEL_STATUS) | bit(VEXAHV_PARAM_BOARD_STATUS), "recordAi", ioscanpvt_ai},
    {bit(VEXAHV_PARAM_INTEGER), "recordMBBiDirect", ioscanpvt_mbbiDirect},
    {bit(VEXAHV_PARAM_STRING), "recordStringin", ioscanpvt_stringin},
};

void requestScans(uint32_t mask)
{
    for (const ScanRequest &request : scanRequests) {
        if ((mask & request.mask) == 0)
            continue;
        if (DEBUG > 6)
            std::printf("Processing scanIoRequest - %s\n", request.recordType);
        request.list.request();
    }
}

// True once the connection has failed.
bool handleNextBatch(int32_t socket)
{
    EventBatch batch;
    const int32_t result = batch.receive(socket);
    if (result != 0) {
        if (DEBUG > 0)
            std::printf("\nGetEventData error, update thread exits - error code = [%d]\n",
                        result);
        return true;
    }
    const uint32_t mask = applyBatch(batch);
    if (DEBUG > 9)
        std::printf("Type of events received - callback type = %x\n", mask);
    requestScans(mask);
    return false;
}

// Whether the event thread started last found its socket; read by the server once it is told.
std::atomic<bool> socketFound{false};

bool takeSocket(int32_t &socket)
{
    const ZANTOTreeUse use;
    ZANTONode *root = use ? static_cast<ZANTONode *>(systemNode) : nullptr;
    if (root != nullptr)
        socket = root->getSysSocket();
    socketFound = root != nullptr;
    epicsEventSignal(socketTaken());
    return root != nullptr;
}

std::atomic<int> eventThreads{0};

/// Counts a running event thread, for a scope.
class EventThreadCount {
public:
    EventThreadCount() { ++eventThreads; }
    ~EventThreadCount() { --eventThreads; }
    EventThreadCount(const EventThreadCount &) = delete;
    EventThreadCount &operator=(const EventThreadCount &) = delete;
};

} // namespace

void ZANTOEvents_Thread(void *)
{
    const EventThreadCount count;
    int32_t socket = -1;
    if (!takeSocket(socket)) {
        if (DEBUG > 0)
            std::puts("\nSystem node not found, update thread exits");
        return;
    }
    while (!handleNextBatch(socket)) {
    }
    close(socket);
}

// ---- listening server ----

namespace {

constexpr int backlog = 128;
constexpr unsigned eventThreadPriority = 90;
// A peer that vanished without a word is noticed after about two minutes.
constexpr int keepAliveIdleSeconds = 60;
constexpr int keepAliveIntervalSeconds = 15;
constexpr int keepAliveProbes = 4;
// Pause before the next accept when there is no descriptor or memory for a connection: the
// connection stays in the queue, and asking again at once would burn a core.
constexpr std::chrono::milliseconds acceptPause{100};

int failListening(const char *message, int socket)
{
    if (DEBUG > 0)
        std::puts(message);
    if (socket >= 0)
        close(socket);
    return -1;
}

bool bindTo(int socket, uint16_t port)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    address.sin_port = htons(port);
    return bind(socket, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0;
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
        failListening("\nTCP port error", -1);
        return Listening::failed;
    }
    if (listen(socket, backlog) != 0) {
        if (errno == EADDRINUSE)
            return Listening::portTaken;
        failListening("\nTCP listen error", -1);
        return Listening::failed;
    }
    storeBoundPort(socket);
    return Listening::yes;
}

// A listening socket, or -1 when there can be none. A socket that is bound stays bound, so each
// try has a fresh one.
int openListeningSocket()
{
    while (true) {
        const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (fd < 0)
            return failListening("\nTCP socket error", fd);
        const int on = 1;
        setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
        const Listening listening = listenOnPort(fd);
        if (listening == Listening::yes)
            return fd;
        close(fd);
        if (listening == Listening::failed)
            return -1;
        tryNextPort();
    }
}

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

// More than any number of mainframes that one server follows. Without a bound, peers that only
// connect would take every descriptor, and those of the clients' servers with them.
constexpr int maxEventThreads = 128;

// Waits until the new thread has taken the socket: two connections in quick succession must
// not end up with two threads on the second one's socket.
void startEventThread(int socket)
{
    {
        const ZANTOTreeUse use;
        ZANTONode *root = use ? static_cast<ZANTONode *>(systemNode) : nullptr;
        if (root == nullptr) {
            close(socket);
            return;
        }
        root->setSysSocket(socket);
    }
    const epicsThreadId thread = epicsThreadCreate(
        "ZANTOEventsThread", eventThreadPriority, epicsThreadGetStackSize(epicsThreadStackBig),
        ZANTOEvents_Thread, nullptr);
    if (thread == nullptr) {
        close(socket);
        return;
    }
    ZANTOEventsThread = thread;
    epicsEventMustWait(socketTaken());
    if (!socketFound)
        close(socket);
}

void acceptConnection(int listener)
{
    if (DEBUG > 9)
        std::puts("\nTCP waiting for connection..");
    sockaddr_in peer = {};
    socklen_t size = sizeof(peer);
    const int fd =
        accept4(listener, reinterpret_cast<sockaddr *>(&peer), &size, SOCK_CLOEXEC);
    if (fd < 0) {
        const bool exhausted =
            errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM;
        if (DEBUG > 0)
            std::puts("\nTCP accept connection error");
        if (exhausted)
            std::this_thread::sleep_for(acceptPause);
        return;
    }
    if (DEBUG > 9)
        std::puts("Device connected");
    if (eventThreads >= maxEventThreads) {
        if (DEBUG > 0)
            std::puts("\nToo many event connections, the new one is closed");
        close(fd);
        return;
    }
    keepAlive(fd);
    // Whoever connects before the tree exists is served once it does.
    ZANTOWaitForTree();
    startEventThread(fd);
}

} // namespace

void tcpServer_Thread(void *)
{
    if (DEBUG > 9)
        std::puts("\nTCP server thread started");
    const int listener = openListeningSocket();
    epicsEventSignal(portSettled());
    if (listener < 0)
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
