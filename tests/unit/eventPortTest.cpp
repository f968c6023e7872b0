#include "eventServerSupport.h"

#include "ZANTO.h"
#include "ZANTOeventport.h"

#include <sys/resource.h>

using std::chrono::milliseconds;

namespace {

class EventPort : public ZantoTest {
    const Installed<ZANTOSocketCalls> m_installed{ZANTOPresentSockets, failingSockets};
};

using EventPortDeathTest = EventServerDeathTest;

} // namespace

TEST_F(EventPortDeathTest, APortThatIsTakenLeadsToTheNextOneAndThatIsAnnounced)
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

TEST_F(EventPortDeathTest, GoesOnUntilAPortIsFree)
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
TEST_F(EventPortDeathTest, APortOnWhichSomebodyElseListenedFirstIsTaken)
{
    inChild([this] {
        const uint16_t port = freePorts(2);
        listenFault.set(EADDRINUSE);
        serve(port);
        EXPECT_EQ(tcpPort, port + 1);
        connection();
    });
}

TEST_F(EventPortDeathTest, BehindTheLastPortAnnouncesTheOneThatTheKernelChose)
{
    inChild([this] {
        bindFault.set(EADDRINUSE);
        serve(65535);
        EXPECT_GT(tcpPort, 0);
        EXPECT_LT(tcpPort, 65536);
        connection();
    });
}

TEST_F(EventPortDeathTest, OnlyTheLow16BitsOfThePortCount)
{
    inChild([this] {
        const uint16_t port = freePorts(1);
        serve(0x30000 + port);
        EXPECT_EQ(tcpPort, port);
        connection();
    });
}

TEST_F(EventPortDeathTest, LeavesNoDescriptorOfATakenPortOpen)
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

TEST_F(EventPort, WithoutASocketItEndsWithAMessageFromLevel1On)
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

TEST_F(EventPort, WithoutAPortItEndsWithAMessageFromLevel1On)
{
    const int before = openDescriptors();
    expectPrintedFrom(1, "\nTCP port error\n", [] {
        bindFault.set(EACCES);
        tcpServer_Thread(nullptr);
    });
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(tcpPort, 5180);
}

TEST_F(EventPort, ThatCannotListenEndsWithAMessageFromLevel1On)
{
    const int before = openDescriptors();
    tcpPort = 0;
    expectPrintedFrom(1, "\nTCP listen error\n", [] {
        listenFault.set(EOPNOTSUPP);
        tcpServer_Thread(nullptr);
    });
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(EventPort, ThatGivesUpSettlesThePort)
{
    bindFault.set(EACCES);
    tcpServer_Thread(nullptr);
    EXPECT_TRUE(ZANTOWaitForEventPort(milliseconds(0)));
    EXPECT_TRUE(ZANTOWaitForEventPort(milliseconds(0))) << "for every thread that asks";
}

TEST_F(EventPortDeathTest, ThePortIsNotSettledWithoutAServer)
{
    inChild([] { EXPECT_FALSE(ZANTOWaitForEventPort(milliseconds(0))); });
}

// ---- the listening socket itself ----

TEST_F(EventPort, IsOpenOnEveryAddressWithABacklogOf128)
{
    tcpPort = 0;
    const ZANTOSocket listener = ZANTOOpenEventPort();
    ASSERT_TRUE(listener.isOpen());
    sockaddr_in address = {};
    socklen_t size = sizeof(address);
    ASSERT_EQ(getsockname(listener.fd(), reinterpret_cast<sockaddr *>(&address), &size), 0);
    EXPECT_EQ(ntohl(address.sin_addr.s_addr), INADDR_ANY);
    EXPECT_EQ(ntohs(address.sin_port), tcpPort);
    EXPECT_EQ(lastBacklog, 128);
}

TEST_F(EventPort, IsHadAgainAtOnceWhileAnOldConnectionStillLingers)
{
    tcpPort = freePorts(1);
    const int32_t port = tcpPort;
    {
        const ZANTOSocket listener = ZANTOOpenEventPort();
        const Peer peer = Peer::connectedTo(static_cast<uint16_t>(port));
        // The side that closes first is the one that lingers.
        ZANTOSocket(accept4(listener.fd(), nullptr, nullptr, SOCK_CLOEXEC));
        EXPECT_TRUE(peer.isHungUpOn());
    }
    const ZANTOSocket again = ZANTOOpenEventPort();
    EXPECT_TRUE(again.isOpen());
    EXPECT_EQ(tcpPort, port);
}
