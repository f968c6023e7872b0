#include "ZANTO.h"

#include "ZANTOconfig.h"
#include "ZANTOdbtext.h"
#include "ZANTOeventsthread.h"
#include "ZANTOfile.h"
#include "ZANTOlife.h"
#include "ZANTOnode.h"
#include "ZANTOnumeric.h"
#include "ZANTOscanhooks.h"
#include "ZANTOterminal.h"
#include "ZANTOtypes.h"
#include "ZANTOutils.h"
#include "vexahvwrapper.h"

#include <drvSup.h>
#include <epicsExit.h>
#include <epicsExport.h>
#include <epicsThread.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <unordered_set>

using std::chrono::milliseconds;
using std::chrono::seconds;

// ---- tree build ----

namespace {

constexpr const char *databasePath = "/tmp/ZANTO.db";
constexpr const char *pvListPath = "/tmp/pvlist.txt";

// System types of the two crate families.
constexpr int32_t largeCrate = 2;
constexpr int32_t smallCrate = 3;
constexpr size_t largeCrateSlots = 7;

int32_t buildError(const char *message, int32_t result = -1)
{
    if (DEBUG > 0)
        std::puts(message);
    return result;
}

/// Builds the tree under a root that systemNode names already, and writes the texts of each
/// node as soon as it is complete. For the main thread.
class TreeBuilder {
public:
    TreeBuilder(ZANTONode &root, ZANTOOutputFile &database, ZANTOOutputFile &pvList)
        : m_root(root), m_handle(root.getSysHandle()), m_crateName(root.getNodeName()),
          m_host(root.getInitParam()), m_database(database), m_pvList(pvList)
    {
    }

    void build()
    {
        addCommands();
        addProperties();
        addBoards();
        addFurtherParams();
    }

private:
    void exportNode(ZANTONode *node, int32_t board, int32_t channel)
    {
        const std::string records =
            ZANTOUtils::ZANTOCreateStringForDbRecord(node, board, channel);
        if (!claimNames(records)) {
            if (DEBUG > 0)
                std::printf("Error creating string for [%s] record\n",
                            node->getNodeName().c_str());
            return;
        }
        m_database.write(records);
        m_pvList.write(ZANTOUtils::ZANTOCreateStringForItemExporting(node, board, channel));
    }

    // Two records of one name and different types would end the load of the database and lose
    // all that follow: the first node keeps the name, as it does in the lookup. False when a
    // name is taken; then none is claimed.
    bool claimNames(const std::string &records)
    {
        const std::vector<std::string> names = ZANTORecordNames(records);
        for (const std::string &name : names) {
            if (m_recordNames.count(name) != 0)
                return false;
        }
        m_recordNames.insert(names.begin(), names.end());
        return true;
    }

    void addCommands()
    {
        for (ZANTONode *node : ZANTOConfig::ZANTOConfigCreateSystemExecComm(m_handle)) {
            node->setSysName(m_crateName);
            m_root.addParameter(node);
            exportNode(node, -1, -1);
        }
    }

    void addProperties()
    {
        for (ZANTONode *node : ZANTOConfig::ZANTOConfigCreateSystemProps(m_handle)) {
            node->setSysName(m_crateName);
            if (node->getNodeName() == "IPAddr") {
                variant address;
                address.setValue(m_host);
                node->setNodeValue(
                    ZANTONodeValue(address, nodeValueQualityGood, std::time(nullptr)));
            }
            m_root.addParameter(node);
            exportNode(node, -1, -1);
        }
    }

    void addBoards()
    {
        const auto boards = ZANTOConfig::ZANTOConfigCreateBoards(m_handle);
        m_root.setSlotCount(static_cast<uint16_t>(boards.size()));
        m_systemType = boards.size() < largeCrateSlots ? smallCrate : largeCrate;
        m_root.setSystemType(m_systemType);
        for (size_t position = 0; position < boards.size(); ++position) {
            ZANTONode *board = boards[position];
            m_root.addChildNode(board);
            board->setSysName(m_crateName);
            if (board->getNodeType() != nodeTypeEmptyNode)
                fillBoard(*board, static_cast<int32_t>(position));
        }
    }

    void fillBoard(ZANTONode &board, int32_t position)
    {
        for (ZANTONodeProperty *item : ZANTOConfig::ZANTOConfigCreateBoardInfo(&board))
            board.addProperty(item);
        const uint16_t slot = board.getBdSlotNr();
        for (ZANTONode *parameter : ZANTOConfig::ZANTOConfigCreateBoardParams(m_handle, slot)) {
            parameter->setBdName(board.getNodeName());
            parameter->setSysName(m_crateName);
            addParameterProperties(
                *parameter, ZANTOConfig::ZANTOConfigCreateBoardParameterProperties(
                                m_handle, parameter->getNodeName(),
                                parameter->getParWrapperType(), slot));
            board.addParameter(parameter);
            exportNode(parameter, position, -1);
        }
        addChannels(board, position);
    }

    void addChannels(ZANTONode &board, int32_t boardPosition)
    {
        const auto channels = ZANTOConfig::ZANTOConfigCreateChannels(
            m_handle, board.getBdSlotNr(), board.getBdChCount());
        for (size_t position = 0; position < channels.size(); ++position) {
            ZANTONode *channel = channels[position];
            channel->setSysName(m_crateName);
            channel->setBdName(board.getNodeName());
            board.addChildNode(channel);
            fillChannel(board, *channel, boardPosition, static_cast<int32_t>(position));
        }
    }

    void fillChannel(const ZANTONode &board, ZANTONode &channel, int32_t boardPosition,
                     int32_t channelPosition)
    {
        const uint16_t slot = board.getBdSlotNr();
        const uint16_t index = channel.getChIdx();
        for (ZANTONode *parameter : ZANTOConfig::ZANTOConfigCreateChannelParams(
                 m_handle, m_systemType, slot, index)) {
            parameter->setBdName(board.getNodeName());
            parameter->setChName(channel.getNodeName());
            parameter->setChIdx(index);
            parameter->setSysName(m_crateName);
            channel.addParameter(parameter);
            addParameterProperties(
                *parameter, ZANTOConfig::ZANTOConfigCreateChannelParameterProperties(
                                m_handle, parameter->getNodeName(),
                                parameter->getParWrapperType(), slot, index));
            exportNode(parameter, boardPosition, channelPosition);
        }
    }

    // Board parameters show no decimals; channel parameters do.
    void addParameterProperties(ZANTONode &parameter,
                                const std::vector<ZANTONodeProperty *> &properties)
    {
        std::string unit;
        std::string prefix;
        for (ZANTONodeProperty *property : properties) {
            const std::string name = property->getPropName();
            const variant value = property->getPropVal().ZANTOGetValue();
            if (name == VEXAHV_PROP_UNIT)
                unit = ZANTOUtils::ZANTOConvertPropertyUnit(
                    static_cast<uint16_t>(value.toUInt()));
            else if (name == VEXAHV_PROP_EXP)
                prefix = ZANTOUtils::ZANTOConvertPropertyExp(static_cast<int16_t>(value.toInt()));
            else if (name == VEXAHV_PROP_MINVAL)
                parameter.setMinVal(value.toFloat());
            else if (name == VEXAHV_PROP_MAXVAL) // whole numbers only
                parameter.setMaxVal(ZANTOTruncate<int32_t>(static_cast<double>(value.toFloat())));
            else if (name == VEXAHV_PROP_ONSTATE)
                parameter.setOnString(value.toString());
            else if (name == VEXAHV_PROP_OFFSTATE)
                parameter.setOffString(value.toString());
            else if (name == VEXAHV_PROP_DECIMAL &&
                     parameter.getNodeType() == nodeTypeChannelParam)
                parameter.setNodeDecimals(value.toShort());
            parameter.addProperty(property);
        }
        parameter.setExpUnit(prefix + unit);
    }

    void addFurtherParams()
    {
        for (ZANTONode *node : ZANTOConfig::ZANTOConfigCreateSystemFurtherParams(
                 m_root.getConnectionStatus(), m_root.getSlotCount())) {
            node->setSysHandle(m_handle);
            m_root.addParameter(node);
        }
    }

    ZANTONode &m_root;
    const int32_t m_handle;
    const std::string m_crateName;
    const std::string m_host;
    ZANTOOutputFile &m_database;
    ZANTOOutputFile &m_pvList;
    int32_t m_systemType = largeCrate;
    std::unordered_set<std::string> m_recordNames;
};

void createRoot(const std::string &sysName, const std::string &host, const std::string &user,
                const std::string &password, int32_t handle)
{
    auto root = std::make_unique<ZANTONode>();
    root->ZANTOPrepareNode(sysName, nodeTypeSystemItem, VEXAHV_SYSTEM_MAINFRAME,
                           VEXAHV_LINK_TCPIP, host, user, password);
    root->setAccessRights(nodeAccessNone);
    root->setConnectionStatus(connStatus_OK);
    root->setSysHandle(handle);
    systemNode = root.release();
}

int32_t buildAfterLogin(ZANTOOutputFile &database, ZANTOOutputFile &pvList)
{
    try {
        TreeBuilder(*systemNode, database, pvList).build();
    } catch (const std::exception &error) {
        if (DEBUG > 0)
            std::printf("\nError building the crate's tree: %s\n", error.what());
        return -1;
    }
    // A database that lost its end on a full disk would load without a message and serve a part
    // of the crate.
    if (!database.close())
        return buildError("\nUnable to write file for database");
    if (DEBUG > 0)
        std::printf("Database written into file [%s]\n", databasePath);
    if (!pvList.close())
        return buildError("\nUnable to write file for PV list");
    if (DEBUG > 0)
        std::printf("PV list written into file [%s]\n", pvListPath);
    return 0;
}

} // namespace

int32_t createSystemTree(const std::string &sysName, const std::string &sysInitParam,
                         const std::string &usrnm, const std::string &pswd)
{
    const ZANTOStartupWork work;
    ZANTOBeginTree();
    if (!ZANTOWriteLiveInsertionFlag("0\n"))
        return buildError("\nUnable to open file for live insertion event");
    if (DEBUG > 0)
        std::printf("Live insertion event flag reset into file [%s]\n", ZANTOLiveInsertionPath);
    ZANTOOutputFile pvList(pvListPath);
    if (!pvList.isOpen())
        return buildError("\nUnable to open file for PV list");
    ZANTOOutputFile database(databasePath);
    if (!database.isOpen())
        return buildError("\nUnable to open file for dabatase");
    if (sysInitParam.empty())
        return buildError("\nIP address not valid");

    int32_t handle = -1;
    const int32_t result =
        VEXAHV_InitSystem(VEXAHV_SYSTEM_MAINFRAME, VEXAHV_LINK_TCPIP, sysInitParam.c_str(),
                          usrnm.c_str(), pswd.c_str(), &handle);
    if (result != 0) {
        ZANTOStartupCheckpoint();
        return buildError("\nError initializing mainframe", result);
    }

    ZANTOUtils::SysName = sysName;
    std::printf("SYSTEMNAME = %s\n", sysName.c_str());
    createRoot(sysName, sysInitParam, usrnm, pswd, handle);
    ZANTOStartupCheckpoint();
    if (buildAfterLogin(database, pvList) != 0) {
        ZANTOStartupCheckpoint();
        const std::unique_ptr<ZANTONode> unfinished(systemNode);
        systemNode = nullptr; // so that no signal logs out once more
        VEXAHV_DeinitSystem(handle);
        return -1;
    }
    ZANTOOpenTree();
    return 0;
}

// ---- subscription ----

namespace {

// Raised by every call of an orderly end: the watchdog strikes only when it stands still.
std::atomic<uint32_t> endProgress{0};

/// One call's names, joined as the access library wants them.
struct WatchList {
    std::string text;
    std::vector<std::string> names;

    // A list that does not start with the first parameter of its level begins with ":".
    void addAtPosition(size_t position, const std::string &name)
    {
        text += (position == 0 ? "" : ":") + name;
        names.push_back(name);
    }

    void addNext(const std::string &name) { addAtPosition(names.size(), name); }
};

/// A level's own words in its messages: "system properties" or "board [3] parameters".
using LevelName = std::string;

// Reports the names that were not accepted; false when there are any.
bool reportRefused(const LevelName &level, const WatchList &list, bool called,
                   const std::vector<char> &results)
{
    std::string refused;
    for (size_t i = 0; i < list.names.size(); ++i) {
        if (!called || results[i] != 0)
            refused += "[" + list.names[i] + "]";
    }
    if (!refused.empty() && DEBUG > 0)
        std::printf("Error subscribing %s: %s\n", level.c_str(), refused.c_str());
    if (!refused.empty() && DEBUG > 7)
        std::printf("sent: %s\n", list.text.c_str());
    return called && refused.empty();
}

// Makes the call `watch(list, count, results)`; false when it or any of its names failed.
template <typename Watch>
bool watchLevel(const LevelName &level, const WatchList &list, const Watch &watch)
{
    ++endProgress;
    ZANTOStartupCheckpoint();
    std::vector<char> results;
    try {
        // Two more than names, should a library count the empty place before a leading ":".
        results.resize(list.names.size() + 2);
    } catch (const std::bad_alloc &) {
        if (DEBUG > 0)
            std::printf("Error subscribing %s - ALL\n", level.c_str());
        return false;
    }
    const auto count = static_cast<uint32_t>(list.names.size());
    const bool called = watch(list.text.c_str(), count, results.data()) == 0;
    return reportRefused(level, list, called, results);
}

bool watchSystem(bool subscribe, const ZANTONode &root, int16_t port)
{
    WatchList list;
    const auto parameters = root.getParameters();
    for (size_t i = 0; i < parameters.size(); ++i) {
        const std::string name = parameters[i]->getNodeName();
        // The last two are the server's own; the mainframe does not know them.
        if (parameters[i]->getAccessRights() != nodeAccessWrite && name != "ConnStat" &&
            name != "NrOfSlot")
            list.addAtPosition(i, name);
    }
    const auto call =
        subscribe ? VEXAHV_SubscribeSystemParams : VEXAHV_UnSubscribeSystemParams;
    return watchLevel("system properties", list,
                      [&](const char *names, uint32_t count, char *results) {
                          return call(root.getSysHandle(), port, names, count, results);
                      });
}

bool watchBoard(bool subscribe, const ZANTONode &board, int32_t handle, int16_t port,
                uint16_t slot)
{
    WatchList list;
    const auto parameters = board.getParameters();
    for (size_t i = 0; i < parameters.size(); ++i) {
        if (parameters[i]->getAccessRights() != nodeAccessWrite)
            list.addAtPosition(i, parameters[i]->getNodeName());
    }
    const auto call = subscribe ? VEXAHV_SubscribeBoardParams : VEXAHV_UnSubscribeBoardParams;
    return watchLevel("board [" + std::to_string(slot) + "] parameters", list,
                      [&](const char *names, uint32_t count, char *results) {
                          return call(handle, port, slot, names, count, results);
                      });
}

bool watchChannel(bool subscribe, const ZANTONode &node, int32_t handle, int16_t port,
                  uint16_t slot, uint16_t channel)
{
    WatchList list;
    for (const ZANTONode *parameter : node.getParameters()) {
        const std::string name = parameter->getNodeName();
        if (parameter->getAccessRights() != nodeAccessWrite && name != "Name")
            list.addNext(name);
    }
    const auto call =
        subscribe ? VEXAHV_SubscribeChannelParams : VEXAHV_UnSubscribeChannelParams;
    const LevelName level = "channel [" + std::to_string(slot) + ":" + std::to_string(channel) +
                            "] parameters";
    return watchLevel(level, list, [&](const char *names, uint32_t count, char *results) {
        return call(handle, port, slot, channel, names, count, results);
    });
}

// A level that memory does not suffice for has failed; the others are attempted all the same.
template <typename Level> bool attemptLevel(const Level &level)
{
    try {
        return level();
    } catch (const std::exception &error) {
        if (DEBUG > 0)
            std::printf("Error subscribing: %s\n", error.what());
        return false;
    }
}

} // namespace

int32_t subscribeForParameters(int32_t subscribe)
{
    const ZANTONode *root = systemNode;
    if (root == nullptr)
        return -1;
    const bool on = subscribe != 0;
    const auto port = static_cast<int16_t>(tcpPort);
    const int32_t handle = root->getSysHandle();
    bool accepted = attemptLevel([&] { return watchSystem(on, *root, port); });
    for (int32_t slot = 0; const ZANTONode *board = root->childAt(slot); ++slot) {
        if (board->getNodeType() == nodeTypeEmptyNode)
            continue;
        const auto slotNr = static_cast<uint16_t>(slot);
        const auto watchThis = [&] { return watchBoard(on, *board, handle, port, slotNr); };
        accepted = attemptLevel(watchThis) && accepted;
        for (int32_t channel = 0; const ZANTONode *node = board->childAt(channel); ++channel) {
            const auto watchOne = [&] {
                return watchChannel(on, *node, handle, port, slotNr,
                                    static_cast<uint16_t>(channel));
            };
            accepted = attemptLevel(watchOne) && accepted;
        }
    }
    return accepted ? 0 : -1;
}

int32_t subscribeParameters() { return subscribeForParameters(1); }
int32_t unsubscribeParameters() { return subscribeForParameters(0); }

// ---- firmware wait ----

namespace {

constexpr uint16_t firmwarePort = 3180;

/// Owns a socket.
class Socket {
public:
    explicit Socket(int fd) : m_fd(fd) {}
    ~Socket()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    Socket(const Socket &) = delete;
    Socket &operator=(const Socket &) = delete;
    int fd() const { return m_fd; }

private:
    int m_fd;
};

} // namespace

int32_t tryToConnectLoop(const char *host)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = inet_addr(host);
    address.sin_port = htons(firmwarePort);

    const Socket probe(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP));
    if (probe.fd() < 1) {
        std::puts("\nUnable to create socket for connection");
        return 1;
    }
    const int on = 1;
    setsockopt(probe.fd(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    if (DEBUG > 0)
        std::puts("Attempt to connect to firmware..");
    while (connect(probe.fd(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)) !=
           0) {
        if (DEBUG > 0)
            std::puts("error");
        sleep(1);
    }
    return 0;
}

// ---- shutdown ----

namespace {

// Longest that an orderly end waits for a thread inside the access library. A login that is under
// way gets the time that a call to a dead crate takes to fail, so that it is not left logged in.
constexpr milliseconds loginLimit{6000};
constexpr milliseconds startupWorkLimit{2000};
constexpr milliseconds treeUseLimit{2000};
// Longest pause between two steps of the logout: more than a call to a dead crate takes to fail.
constexpr milliseconds stallLimit{10000};
// Longest that the exit hooks of EPICS may take, once the mainframe has nothing to do with it.
constexpr milliseconds exitLimit{4000};
constexpr milliseconds watchPeriod{250};

std::atomic<bool> loggedOut{false};

// A library call that never returns, or an exit hook that waits for one, must not keep the
// process alive. Runs until the process is gone.
void watchEnd(void *)
{
    uint32_t seen = endProgress;
    milliseconds still{0};
    while (still < (loggedOut ? exitLimit : stallLimit)) {
        std::this_thread::sleep_for(watchPeriod);
        still = seen == endProgress ? still + watchPeriod : milliseconds(0);
        seen = endProgress;
    }
    _exit(0);
}

void startEndWatch()
{
    static std::atomic<bool> started{false};
    if (started.exchange(true))
        return;
    // Without a thread to be had the end goes on unwatched.
    epicsThreadCreate("ZANTOEndWatch", epicsThreadPriorityMax,
                      epicsThreadGetStackSize(epicsThreadStackSmall), watchEnd, nullptr);
}

// Threads that do not come back from the access library, or from the start-up script.
struct Stragglers {
    bool mainThread = false;
    bool recordThreads = false;
};
// Written once, before the exit.
Stragglers stragglers;

void logOut()
{
    const milliseconds limit = systemNode == nullptr ? loginLimit : startupWorkLimit;
    stragglers.mainThread = !ZANTOEndStartupWork(limit) || ZANTOScriptIsRunning();
    ZANTONode *root = systemNode;
    if (root == nullptr)
        return;
    if (ZANTOTreeIsComplete())
        unsubscribeParameters();
    ++endProgress;
    // No record may start a call once the logout is on its way. One whose write hangs in the
    // library keeps its node; so does a start-up that does not stop. The tree then goes with the
    // process.
    stragglers.recordThreads = !ZANTOCloseTree(treeUseLimit);
    ++endProgress;
    VEXAHV_DeinitSystem(root->getSysHandle());
    ++endProgress;
    systemNode = nullptr;
    if (!stragglers.recordThreads && !stragglers.mainThread)
        delete root;
}

// Once: the thread that comes second waits until the first is through.
void closeCrate()
{
    static std::once_flag closed;
    std::call_once(closed, [] {
        startEndWatch();
        if (DEBUG > 0)
            std::puts("\nShutting down crate");
        logOut();
        ++endProgress;
        loggedOut = true;
        if (DEBUG > 0)
            std::puts("\nCrate disconnected");
    });
}

// For a thread that comes to the end after another one: two must not run the exit hooks.
[[noreturn]] void waitForTheEnd()
{
    while (true)
        pause();
}

std::atomic<bool> ending{false};

// EPICS' exit hooks run before exit(), whose destructors of static objects would otherwise come
// first and take from the hooks what they use. With a thread still inside the access library or
// the script there are no destructors at all, and no hooks while the script may be inside iocInit.
[[noreturn]] void exitProcess()
{
    if (!stragglers.mainThread && !stragglers.recordThreads)
        epicsExit(0);
    if (!stragglers.mainThread)
        epicsExitCallAtExits();
    std::fflush(nullptr);
    _exit(0);
}

[[noreturn]] void endProcess()
{
    const bool first = !ending.exchange(true);
    closeCrate();
    if (!first)
        waitForTheEnd();
    ZANTORestoreTerminal();
    exitProcess();
}

// Number of the first termination signal, 0 before.
std::atomic<int> caughtSignal{0};

} // namespace

void Shutdown()
{
    // A signal interrupts the shell's reading: the thread that answers the signal ends the
    // process, and says so first.
    if (caughtSignal != 0)
        waitForTheEnd();
    endProcess();
}

void ZANTOLeaveMain()
{
    if (ending.exchange(true))
        waitForTheEnd();
    exit(0);
}

// ---- signals ----

namespace {

constexpr int terminationSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM};
// Signal numbers that the handler takes notice of.
constexpr int signalBound = 260;

std::atomic<int> signalEvent{-1};

void resetSignals()
{
    for (const int number : terminationSignals)
        signal(number, SIG_DFL);
}

void waitForSignal()
{
    uint64_t count = 0;
    while (read(signalEvent, &count, sizeof(count)) < 0 && errno == EINTR) {
    }
}

void signalThread(void *)
{
    waitForSignal();
    // First of all: printing may block on a terminal that is stopped.
    startEndWatch();
    if (DEBUG > 1)
        std::printf("\nCaught a termination signal (%s).\n", strsignal(caughtSignal));
    endProcess();
}

} // namespace

void SetSigShutdownHandler()
{
    // Writes to peers that have gone must fail, not kill; EPICS sees to this only later.
    signal(SIGPIPE, SIG_IGN);
    if (signalEvent < 0)
        signalEvent = eventfd(0, EFD_CLOEXEC);
    struct sigaction action = {};
    action.sa_handler = SigShutdownHandler;
    action.sa_flags = SA_RESETHAND | SA_NOCLDSTOP;
    sigemptyset(&action.sa_mask);
    for (const int number : terminationSignals)
        sigaction(number, &action, nullptr);
}

void SigShutdownHandler(int signal)
{
    if (signal >= signalBound)
        return;
    const int savedErrno = errno;
    resetSignals();
    caughtSignal = signal;
    const uint64_t one = 1;
    if (write(signalEvent, &one, sizeof(one)) < 0)
        _exit(0); // no thread can be told: better no logout than a server that cannot be ended
    errno = savedErrno;
}

void ZANTOStartSignalThread()
{
    const bool started =
        signalEvent >= 0 &&
        epicsThreadCreate("ZANTOSignalThread", epicsThreadPriorityMedium,
                          epicsThreadGetStackSize(epicsThreadStackBig), signalThread,
                          nullptr) != nullptr;
    if (started)
        return;
    std::puts("Unable to start the signal thread: a termination signal ends without a logout");
    resetSignals();
}

// ---- driver ----

namespace {

constexpr milliseconds eventPortLimit{2000};

void atExit(void *) { closeCrate(); }

long init()
{
    std::puts("Starting VEXA ZANTO driver");
    ZANTORegisterScanHooks();
    epicsAtExit(atExit, nullptr);
    // The subscriptions announce the port, so it must be settled.
    ZANTOWaitForEventPort(eventPortLimit);
    {
        const ZANTOStartupWork work;
        subscribeParameters();
    }
    if (DEBUG >= 1)
        std::puts("\nVEXA ZANTO driver ready");
    return 0;
}

drvet drvVEXAZANTO = {2, nullptr, reinterpret_cast<DRVSUPFUN>(init)};

} // namespace

extern "C" {
epicsExportAddress(drvet, drvVEXAZANTO);
}
