#include "unitSupport.h"

#include "ZANTO.h"
#include "ZANTOeventsthread.h"
#include "ZANTOlife.h"

#include <epicsExit.h>

#include <arpa/inet.h>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <netinet/in.h>
#include <set>
#include <stdio_ext.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

using std::chrono::milliseconds;

// ---- faults of the C library: its calls go through here ----

namespace {

template <typename Function> Function *original(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

/// The next calls fail with an error, told by errno.
struct Fault {
    std::atomic<int> error{0};
    std::atomic<int> times{0};

    void set(int withError, int howOften = 1)
    {
        error = withError;
        times = howOften;
    }
    bool strikes()
    {
        if (times <= 0)
            return false;
        --times;
        errno = error;
        return true;
    }
};

Fault bindFault;
Fault listenFault;
Fault acceptFault;
std::function<void()> onAccept;
std::function<void()> onAccepted;

} // namespace

extern "C" {

int bind(int fd, const sockaddr *address, socklen_t size) noexcept
{
    return bindFault.strikes() ? -1 : original<decltype(bind)>("bind")(fd, address, size);
}

int listen(int fd, int backlog) noexcept
{
    return listenFault.strikes() ? -1 : original<decltype(listen)>("listen")(fd, backlog);
}

int accept4(int fd, sockaddr *address, socklen_t *size, int flags)
{
    if (onAccept)
        onAccept();
    if (acceptFault.strikes())
        return -1;
    const int accepted = original<decltype(accept4)>("accept4")(fd, address, size, flags);
    if (onAccepted)
        onAccepted();
    return accepted;
}
}

namespace {

constexpr milliseconds watchdog{15000};

/// A number that one thread raises and another waits for.
class Counter {
public:
    void raise()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        ++m_count;
        m_changed.notify_all();
    }
    bool reaches(int count)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, watchdog, [&] { return m_count >= count; });
    }
    int count() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_count;
    }

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_count = 0;
};

/// The mainframe's end of an event connection, or a listener of somebody else.
class Peer {
public:
    Peer() : m_fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        const timeval limit = {15, 0};
        setsockopt(m_fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
    }
    Peer(Peer &&other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    ~Peer() { hangUp(); }

    static Peer connectedTo(uint16_t port)
    {
        Peer peer;
        const sockaddr_in address = at(INADDR_LOOPBACK, port);
        EXPECT_EQ(connect(peer.m_fd, reinterpret_cast<const sockaddr *>(&address),
                          sizeof(address)),
                  0)
            << "port " << port;
        return peer;
    }

    bool listens(uint16_t port) const
    {
        const sockaddr_in address = at(INADDR_ANY, port);
        return bind(m_fd, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0 &&
               listen(m_fd, 1) == 0;
    }
    uint16_t port() const
    {
        sockaddr_in address = {};
        socklen_t size = sizeof(address);
        getsockname(m_fd, reinterpret_cast<sockaddr *>(&address), &size);
        return ntohs(address.sin_port);
    }

    void send(char byte) const { EXPECT_EQ(::send(m_fd, &byte, 1, MSG_NOSIGNAL), 1); }
    bool isHungUpOn() const
    {
        char byte = 0;
        return recv(m_fd, &byte, 1, 0) == 0;
    }
    void hangUp()
    {
        if (m_fd >= 0)
            close(m_fd);
        m_fd = -1;
    }
    // Without the orderly end: the other side's next read fails.
    void reset()
    {
        const linger atOnce = {1, 0};
        setsockopt(m_fd, SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce));
        hangUp();
    }

private:
    static sockaddr_in at(uint32_t host, uint16_t port)
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(host);
        address.sin_port = htons(port);
        return address;
    }

    int m_fd;
};

// The first of `count` ports in a row that nobody listens on.
uint16_t freePorts(int count)
{
    while (true) {
        std::vector<Peer> held(1);
        held[0].listens(0);
        const uint16_t first = held[0].port();
        bool free = first < 65000;
        for (int i = 1; free && i < count; ++i)
            free = held.emplace_back().listens(static_cast<uint16_t>(first + i));
        if (free)
            return first;
    }
}

int openDescriptors()
{
    int count = 0;
    DIR *folder = opendir("/proc/self/fd");
    while (readdir(folder) != nullptr)
        ++count;
    closedir(folder);
    return count;
}

/// The server in a process of its own for each test: it never ends by itself. GetEventData
/// reads one byte of its socket for each batch, and fails when there is none to come.
class EventServerDeathTest : public ZantoTest {
protected:
    void SetUp() override
    {
        ZantoTest::SetUp();
        GTEST_FLAG_SET(death_test_style, "threadsafe");
    }

    // What fails in there is printed by the child.
    void inChild(const std::function<void()> &scenario)
    {
        EXPECT_EXIT(
            {
                __fpurge(stdout); // what the test program has printed itself
                alarm(20);
                scenario();
                _exit(HasFailure() ? 1 : 0);
            },
            ::testing::ExitedWithCode(0), "");
    }

    void plantTree()
    {
        systemNode = bareNode("CRATE", nodeTypeSystemItem);
        systemNode->setSysHandle(crateHandle);
        systemNode->addParameter(
            makeItem("Prop", nodeTypeSystemProp, 0, nodeAccessRead).release());
        ZANTOOpenTree();
    }

    // On a port of the kernel's choosing unless `port` names one.
    void serve(int32_t port = 0)
    {
        fake.setHook([this](const std::string &call) {
            if (call.rfind("GetEventData(", 0) == 0)
                readByte(std::atoi(call.c_str() + std::strlen("GetEventData(")));
        });
        onAccept = [this] { m_acceptCalls.raise(); };
        onAccepted = [this] { m_accepted.raise(); };
        tcpPort = port;
        tcpServerThread = epicsThreadCreate("ZANTOTcpServerThread", 55,
                                            epicsThreadGetStackSize(epicsThreadStackBig),
                                            tcpServer_Thread, nullptr);
        EXPECT_TRUE(ZANTOWaitForEventPort(watchdog));
        EXPECT_TRUE(m_acceptCalls.reaches(1));
    }

    static Peer connection() { return Peer::connectedTo(static_cast<uint16_t>(tcpPort)); }

    std::set<int> socketsThatRead(const std::string &bytes)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        std::set<int> sockets;
        for (const char byte : bytes)
            sockets.insert(m_readOn.count(byte) != 0 ? m_readOn[byte] : -1);
        return sockets;
    }

    Counter m_acceptCalls;
    Counter m_accepted;
    Counter m_bytes;
    Counter m_ended; // event threads
    std::function<void(int socket)> m_onEventThread;

private:
    // On an event thread.
    void readByte(int socket)
    {
        thread_local bool known = false;
        if (!known) {
            known = true;
            epicsAtThreadExit([](void *ended) { static_cast<Counter *>(ended)->raise(); },
                              &m_ended);
            if (m_onEventThread)
                m_onEventThread(socket);
        }
        char byte = 0;
        if (recv(socket, &byte, 1, 0) != 1)
            return;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_readOn[byte] = socket;
        }
        fake.queueEvents(
            {FakeAccessLibrary::event(-1, -1, "", FakeBytes::of(0), KEEPALIVE)});
        m_bytes.raise();
    }

    std::mutex m_mutex;
    std::map<char, int> m_readOn; // guarded by m_mutex
};

using EventServer = ZantoTest;

} // namespace

// ---- connections ----

TEST_F(EventServerDeathTest, AConnectionGetsAnEventThreadOfItsOwn)
{
    inChild([this] {
        plantTree();
        serve();
        std::string name;
        unsigned priority = 0;
        int socket = -1;
        m_onEventThread = [&](int fd) {
            name = epicsThreadGetNameSelf();
            priority = epicsThreadGetPrioritySelf();
            socket = fd;
        };
        const Peer peer = connection();
        peer.send('x');
        ASSERT_TRUE(m_bytes.reaches(1));
        EXPECT_EQ(name, "ZANTOEventsThread");
        EXPECT_EQ(priority, 90U);
        EXPECT_EQ(systemNode->getSysSocket(), socket);
        EXPECT_TRUE(m_acceptCalls.reaches(2));
        EXPECT_NE(ZANTOEventsThread, nullptr);
    });
}

TEST_F(EventServerDeathTest, TwoConnectionsAtOnceEachReadTheirOwnSocket)
{
    inChild([this] {
        plantTree();
        serve();
        const Peer first = connection();
        const Peer second = connection();
        first.send('1');
        second.send('2');
        ASSERT_TRUE(m_bytes.reaches(2));
        EXPECT_EQ(socketsThatRead("12").size(), 2U);
    });
}

TEST_F(EventServerDeathTest, ABurstOfConnectionsIsNotMixedUp)
{
    inChild([this] {
        plantTree();
        serve();
        const std::string names = "abcdefghijklmnopqrst";
        std::vector<Peer> peers;
        for (std::size_t i = 0; i < names.size(); ++i)
            peers.push_back(connection());
        for (std::size_t i = names.size(); i-- > 0;)
            peers[i].send(names[i]);
        ASSERT_TRUE(m_bytes.reaches(static_cast<int>(names.size())));
        EXPECT_EQ(socketsThatRead(names).size(), names.size());
    });
}

TEST_F(EventServerDeathTest, TheFirstConnectionRunsOnUntilItFailsItself)
{
    inChild([this] {
        plantTree();
        serve();
        Peer first = connection();
        first.send('a');
        ASSERT_TRUE(m_bytes.reaches(1));
        const Peer second = connection();
        second.send('b');
        ASSERT_TRUE(m_bytes.reaches(2));
        first.send('c');
        ASSERT_TRUE(m_bytes.reaches(3));
        EXPECT_EQ(socketsThatRead("ac").size(), 1U);
        first.hangUp();
        ASSERT_TRUE(m_ended.reaches(1));
        second.send('d');
        ASSERT_TRUE(m_bytes.reaches(4));
        EXPECT_EQ(socketsThatRead("bd").size(), 1U);
        EXPECT_EQ(m_ended.count(), 1);
    });
}

TEST_F(EventServerDeathTest, APortScannerLeaksNeitherDescriptorNorThread)
{
    inChild([this] {
        plantTree();
        serve();
        constexpr int rounds = 20;
        const int before = openDescriptors();
        for (int i = 0; i < rounds; ++i) {
            Peer scanner = connection();
            if (i % 2 == 0)
                scanner.reset();
        }
        EXPECT_TRUE(m_ended.reaches(rounds)) << "every connection's thread ends";
        EXPECT_EQ(m_ended.count(), rounds);
        EXPECT_EQ(openDescriptors(), before);
        const Peer peer = connection();
        peer.send('x');
        EXPECT_TRUE(m_bytes.reaches(1)) << "and the next connection is served";
    });
}

TEST_F(EventServerDeathTest, APeerIsToldTheEndWhenItsThreadEnds)
{
    inChild([this] {
        plantTree();
        serve();
        fake.failCalls("GetEventData", 9);
        const Peer peer = connection();
        peer.send('x');
        EXPECT_TRUE(peer.isHungUpOn());
        EXPECT_TRUE(m_ended.reaches(1));
    });
}

TEST_F(EventServerDeathTest, AConnectionBeforeTheTreeExistsIsHeldAndThenServed)
{
    inChild([this] {
        serve();
        const Peer peer = connection();
        peer.send('x');
        ASSERT_TRUE(m_accepted.reaches(1));
        EXPECT_EQ(m_bytes.count(), 0);
        plantTree();
        EXPECT_TRUE(m_bytes.reaches(1));
    });
}

TEST_F(EventServerDeathTest, AConnectionDuringTheBuildIsHeldAndThenServed)
{
    inChild([this] {
        serve();
        ZANTOBeginTree();
        systemNode = bareNode("CRATE", nodeTypeSystemItem);
        const Peer first = connection();
        const Peer second = connection();
        first.send('1');
        second.send('2');
        ASSERT_TRUE(m_accepted.reaches(1));
        EXPECT_EQ(m_bytes.count(), 0);
        ZANTOOpenTree();
        EXPECT_TRUE(m_bytes.reaches(2));
        EXPECT_EQ(socketsThatRead("12").size(), 2U);
    });
}

TEST_F(EventServerDeathTest, AConnectionToAClosedTreeIsClosed)
{
    inChild([this] {
        plantTree();
        serve();
        ZANTOCloseTree(milliseconds(0));
        const int before = openDescriptors();
        {
            const Peer peer = connection();
            EXPECT_TRUE(peer.isHungUpOn());
        }
        EXPECT_TRUE(m_acceptCalls.reaches(2));
        EXPECT_EQ(openDescriptors(), before);
        EXPECT_EQ(m_ended.count(), 0);
    });
}

TEST_F(EventServerDeathTest, AConnectionIsKeptAliveAndNotInherited)
{
    inChild([this] {
        plantTree();
        serve();
        int keepAlive = 0;
        int flags = 0;
        m_onEventThread = [&](int fd) {
            socklen_t size = sizeof(keepAlive);
            getsockopt(fd, SOL_SOCKET, SO_KEEPALIVE, &keepAlive, &size);
            flags = fcntl(fd, F_GETFD);
        };
        const Peer peer = connection();
        peer.send('x');
        ASSERT_TRUE(m_bytes.reaches(1));
        EXPECT_EQ(keepAlive, 1);
        EXPECT_EQ(flags & FD_CLOEXEC, FD_CLOEXEC);
    });
}

// ---- messages ----

TEST_F(EventServerDeathTest, TellsItsConnectionsFromLevel10On)
{
    for (const int16_t level : {int16_t{9}, int16_t{10}}) {
        inChild([this, level] {
            plantTree();
            serve();
            DEBUG = level;
            StdoutCapture output;
            const Peer peer = connection();
            EXPECT_TRUE(m_acceptCalls.reaches(2));
            EXPECT_EQ(output.text(),
                      level == 10 ? "Device connected\n\nTCP waiting for connection..\n" : "");
        });
    }
}

TEST_F(EventServerDeathTest, TellsItsStartFromLevel10On)
{
    for (const int16_t level : {int16_t{9}, int16_t{10}}) {
        inChild([this, level] {
            DEBUG = level;
            StdoutCapture output;
            serve();
            EXPECT_EQ(output.text(),
                      level == 10
                          ? "\nTCP server thread started\n\nTCP waiting for connection..\n"
                          : "");
        });
    }
}

TEST_F(EventServerDeathTest, AnAcceptThatFailsIsToldAndTriedAgain)
{
    for (const int16_t level : {int16_t{0}, int16_t{1}}) {
        inChild([this, level] {
            plantTree();
            DEBUG = level;
            StdoutCapture output;
            acceptFault.set(ECONNABORTED, 3);
            serve();
            ASSERT_TRUE(m_acceptCalls.reaches(4));
            EXPECT_EQ(output.text(),
                      level == 1 ? repeated("\nTCP accept connection error\n", 3) : "");
            const Peer peer = connection();
            peer.send('x');
            EXPECT_TRUE(m_bytes.reaches(1));
        });
    }
}

TEST_F(EventServerDeathTest, WithoutADescriptorItWaitsALittleBeforeItTriesAgain)
{
    inChild([this] {
        acceptFault.set(EMFILE);
        const auto begin = std::chrono::steady_clock::now();
        serve();
        ASSERT_TRUE(m_acceptCalls.reaches(2));
        EXPECT_GE(std::chrono::steady_clock::now() - begin, milliseconds(50));
    });
}

// ---- port ----

TEST_F(EventServerDeathTest, APortThatIsTakenLeadsToTheNextOneAndThatIsAnnounced)
{
    inChild([this] {
        plantTree();
        const uint16_t port = freePorts(2);
        const Peer other;
        ASSERT_TRUE(other.listens(port));
        serve(port);
        EXPECT_EQ(tcpPort, port + 1);
        const Peer peer = connection();
        peer.send('x');
        EXPECT_TRUE(m_bytes.reaches(1));
        fake.forgetCalls();
        subscribeParameters();
        const auto announced = static_cast<int16_t>(port + 1);
        EXPECT_EQ(fake.callsOf("SubscribeSystemParams"),
                  Lines{"SubscribeSystemParams(7, " + std::to_string(announced) + ", Prop, 1)"});
    });
}

TEST_F(EventServerDeathTest, GoesOnUntilAPortIsFree)
{
    inChild([this] {
        const uint16_t port = freePorts(6);
        bindFault.set(EADDRINUSE, 5);
        serve(port);
        EXPECT_EQ(tcpPort, port + 5);
        connection();
    });
}

// Two processes that start together can both bind a port.
TEST_F(EventServerDeathTest, APortOnWhichSomebodyElseListenedFirstIsTaken)
{
    inChild([this] {
        const uint16_t port = freePorts(2);
        listenFault.set(EADDRINUSE);
        serve(port);
        EXPECT_EQ(tcpPort, port + 1);
        connection();
    });
}

TEST_F(EventServerDeathTest, BehindTheLastPortAnnouncesTheOneThatTheKernelChose)
{
    inChild([this] {
        bindFault.set(EADDRINUSE);
        serve(65535);
        EXPECT_GT(tcpPort, 0);
        EXPECT_LT(tcpPort, 65536);
        connection();
    });
}

TEST_F(EventServerDeathTest, OnlyTheLow16BitsOfThePortCount)
{
    inChild([this] {
        const uint16_t port = freePorts(1);
        serve(0x30000 + port);
        EXPECT_EQ(tcpPort, port);
        connection();
    });
}

TEST_F(EventServerDeathTest, LeavesNoDescriptorOfATakenPortOpen)
{
    inChild([this] {
        const uint16_t port = freePorts(8);
        const int before = openDescriptors();
        bindFault.set(EADDRINUSE, 3);
        listenFault.set(EADDRINUSE, 3);
        serve(port);
        EXPECT_EQ(openDescriptors(), before + 1) << "the listening socket";
    });
}

TEST_F(EventServer, WithoutASocketItEndsWithAMessageFromLevel1On)
{
    const int before = openDescriptors();
    expectPrintedFrom(1, "\nTCP socket error\n", [] {
        rlimit limit = {};
        getrlimit(RLIMIT_NOFILE, &limit);
        const rlimit none = {0, limit.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
        tcpServer_Thread(nullptr);
        setrlimit(RLIMIT_NOFILE, &limit);
    });
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(EventServer, WithoutAPortItEndsWithAMessageFromLevel1On)
{
    const int before = openDescriptors();
    expectPrintedFrom(1, "\nTCP port error\n", [] {
        bindFault.set(EACCES);
        tcpServer_Thread(nullptr);
    });
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(tcpPort, 5180);
}

TEST_F(EventServer, ThatCannotListenEndsWithAMessageFromLevel1On)
{
    const int before = openDescriptors();
    tcpPort = 0;
    expectPrintedFrom(1, "\nTCP listen error\n", [] {
        listenFault.set(EOPNOTSUPP);
        tcpServer_Thread(nullptr);
    });
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(EventServer, ThatGivesUpSettlesThePort)
{
    bindFault.set(EACCES);
    tcpServer_Thread(nullptr);
    EXPECT_TRUE(ZANTOWaitForEventPort(milliseconds(0)));
    EXPECT_TRUE(ZANTOWaitForEventPort(milliseconds(0))) << "for every thread that asks";
}

TEST_F(EventServerDeathTest, ThePortIsNotSettledWithoutAServer)
{
    inChild([] { EXPECT_FALSE(ZANTOWaitForEventPort(milliseconds(0))); });
}
