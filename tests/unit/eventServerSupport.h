// Shared by the tests of the listening server.
#pragma once

#include "unitSupport.h"

#include "Installed.h"
#include "ZANTOeventsthread.h"
#include "ZANTOlife.h"
#include "ZANTOsocket.h"

#include <epicsExit.h>

#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <map>
#include <mutex>
#include <netinet/in.h>
#include <set>
#include <stdio_ext.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

// The next calls fail with an error, told by errno.
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

// The server's own sockets but for these faults and calls, the last two around accept.
extern const ZANTOSocketCalls failingSockets;
extern Fault bindFault;
extern Fault listenFault;
extern Fault acceptFault;
extern std::atomic<int> lastBacklog; // of listen
extern std::function<void()> onAccept;
extern std::function<void()> onAccepted;

inline constexpr std::chrono::milliseconds serverWatchdog{15000};

// A number that one thread raises and another waits for.
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
        return m_changed.wait_for(lock, serverWatchdog, [&] { return m_count >= count; });
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

// The mainframe's end of an event connection, or a listener of somebody else.
class Peer {
public:
    Peer() : m_fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        const timeval limit = {15, 0};
        setsockopt(m_fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
    }
    Peer(Peer &&other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    ~Peer() { hangUp(); }

    static Peer connectedTo(uint16_t port, uint32_t from = INADDR_LOOPBACK)
    {
        Peer peer;
        const sockaddr_in own = at(from, 0);
        EXPECT_EQ(bind(peer.m_fd, reinterpret_cast<const sockaddr *>(&own), sizeof(own)), 0);
        const sockaddr_in address = at(INADDR_LOOPBACK, port);
        EXPECT_EQ(connect(peer.m_fd, reinterpret_cast<const sockaddr *>(&address), sizeof(address)),
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
inline uint16_t freePorts(int count)
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

inline int openDescriptors()
{
    int count = 0;
    DIR *folder = opendir("/proc/self/fd");
    while (readdir(folder) != nullptr)
        ++count;
    closedir(folder);
    return count;
}

// The server in a process of its own for each test: it never ends by itself. GetEventData
// reads one byte of its socket for each batch, and fails when there is none to come.
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
        systemNode->addParameter(makeItem("Prop", nodeTypeSystemProp, 0, nodeAccessRead).release());
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
        EXPECT_TRUE(ZANTOWaitForEventPort(serverWatchdog));
        EXPECT_TRUE(m_acceptCalls.reaches(1));
    }

    static Peer connection(uint32_t from = INADDR_LOOPBACK)
    {
        return Peer::connectedTo(static_cast<uint16_t>(tcpPort), from);
    }

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
    // The event that a byte stands for.
    std::function<VEXAHVEventData_t()> m_brings = [] {
        return FakeAccessLibrary::event(-1, -1, "", FakeBytes::of(0), KEEPALIVE);
    };

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
        fake.queueEvents({m_brings()});
        m_bytes.raise();
    }

    const Installed<ZANTOSocketCalls> m_installed{ZANTOPresentSockets, failingSockets};
    std::mutex m_mutex;
    std::map<char, int> m_readOn; // guarded by m_mutex
};
