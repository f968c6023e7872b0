#include "eventServerSupport.h"

#include "ZANTOclock.h"

#include <fcntl.h>

using std::chrono::milliseconds;

// ---- sockets ----

namespace {

int failingBind(int socket, const sockaddr_in &address)
{
    return bindFault.strikes() ? -1 : ZANTOSystemSockets.bind(socket, address);
}

int failingListen(int socket, int backlog)
{
    lastBacklog = backlog;
    return listenFault.strikes() ? -1 : ZANTOSystemSockets.listen(socket, backlog);
}

int failingAccept(int listener, sockaddr_in &peer)
{
    if (onAccept)
        onAccept();
    if (acceptFault.strikes())
        return -1;
    const int accepted = ZANTOSystemSockets.accept(listener, peer);
    if (onAccepted)
        onAccepted();
    return accepted;
}

} // namespace

const ZANTOSocketCalls failingSockets = {ZANTOSystemSockets.open, failingBind, failingListen,
                                         failingAccept, ZANTOSystemSockets.connect};
Fault bindFault;
Fault listenFault;
Fault acceptFault;
std::atomic<int> lastBacklog{-1};
std::function<void()> onAccept;
std::function<void()> onAccepted;

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
                      level == 10 ? "\nTCP server thread started\n\nTCP waiting for connection..\n"
                                  : "");
        });
    }
}

TEST_F(EventServerDeathTest, AnAcceptThatFailsIsToldAndTriedAgain)
{
    const struct {
        int error;
        int16_t level;
    } cases[] = {{ECONNABORTED, 0}, {ECONNABORTED, 1}, {EINTR, 1}, {EPERM, 1}};
    for (const auto &c : cases) {
        inChild([this, error = c.error, level = c.level] {
            plantTree();
            DEBUG = level;
            StdoutCapture output;
            acceptFault.set(error, 3);
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

namespace {

std::atomic<int64_t> paused{0}; // milliseconds

const ZANTOClock withoutPauses = {ZANTOSystemClock.now, ZANTOSystemClock.steadyNow,
                                  [](milliseconds time) { paused += time.count(); }};

} // namespace

TEST_F(EventServerDeathTest, WithoutADescriptorOrMemoryItWaitsALittleBeforeItTriesAgain)
{
    const struct {
        int error;
        int pausedFor;
    } cases[] = {{EMFILE, 300}, {ENFILE, 300}, {ENOBUFS, 300}, {ENOMEM, 300}, {ECONNABORTED, 0}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.error);
        inChild([this, error = c.error, pausedFor = c.pausedFor] {
            const Installed<ZANTOClock> installed(ZANTOPresentClock, withoutPauses);
            acceptFault.set(error, 3);
            serve();
            ASSERT_TRUE(m_acceptCalls.reaches(4));
            EXPECT_EQ(paused, pausedFor);
        });
    }
}
