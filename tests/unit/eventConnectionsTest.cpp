// Which event connection gives way to a new one.
#include "eventServerSupport.h"

#include "ZANTOeventconnections.h"

#include <sys/resource.h>

namespace {

constexpr bool stranger = false;
constexpr bool crates = true;
constexpr bool silent = false;
constexpr bool delivered = true;

ZANTOEventConnection connectionOf(bool isCrates, bool hasDelivered, bool isLeaving = false)
{
    return {-1, 0, isCrates, hasDelivered, isLeaving};
}

using EventConnections = ::testing::Test;
using EventConnectionsDeathTest = EventServerDeathTest;

} // namespace

TEST(EventConnectionToReplace, IsTheOldestSilentStrangerThenTheOldestSilentOfTheCrate)
{
    const std::vector<ZANTOEventConnection> list = {
        connectionOf(crates, silent), connectionOf(stranger, delivered),
        connectionOf(stranger, silent), connectionOf(stranger, silent),
        connectionOf(crates, silent)};
    for (const bool newIsCrates : {false, true}) {
        EXPECT_EQ(ZANTOConnectionToReplace(list, newIsCrates), 2U);
        EXPECT_EQ(ZANTOConnectionToReplace({list[4], list[1], list[0]}, newIsCrates), 0U);
        EXPECT_EQ(ZANTOConnectionToReplace({list[1], list[0], list[4]}, newIsCrates), 1U);
    }
}

TEST(EventConnectionToReplace, IsADeliveringStrangerForTheCrateAlone)
{
    const std::vector<ZANTOEventConnection> list = {connectionOf(crates, delivered),
                                                    connectionOf(stranger, delivered),
                                                    connectionOf(stranger, delivered)};
    EXPECT_EQ(ZANTOConnectionToReplace(list, crates), 1U);
    EXPECT_EQ(ZANTOConnectionToReplace(list, stranger), std::nullopt);
}

TEST(EventConnectionToReplace, IsNeverOneThatDeliversFromTheCrate)
{
    EXPECT_EQ(ZANTOConnectionToReplace({connectionOf(crates, delivered)}, crates), std::nullopt);
    EXPECT_EQ(ZANTOConnectionToReplace({connectionOf(crates, delivered)}, stranger), std::nullopt);
    EXPECT_EQ(ZANTOConnectionToReplace({}, crates), std::nullopt);
}

TEST(EventConnectionToReplace, IsNoneThatIsOnItsWayOut)
{
    constexpr bool leaving = true;
    EXPECT_EQ(
        ZANTOConnectionToReplace(
            {connectionOf(stranger, silent, leaving), connectionOf(stranger, silent)}, crates),
        1U);
    EXPECT_EQ(ZANTOConnectionToReplace({connectionOf(stranger, delivered, leaving)}, crates),
              std::nullopt);
}

TEST_F(EventConnections, AreNumberedInTheOrderOfAccept)
{
    ZANTOEventConnections connections;
    EXPECT_EQ(connections.admit(901, stranger), 1U);
    EXPECT_EQ(connections.admit(902, crates), 2U);
    EXPECT_EQ(connections.numberOf(902), 2U);
    connections.remove(2);
    EXPECT_EQ(connections.numberOf(902), 0U);
    EXPECT_EQ(connections.admit(902, crates), 3U) << "no number twice";
    EXPECT_EQ(connections.numberOf(902), 3U);
}

TEST_F(EventConnections, AreBoundedWithThoseOnTheirWayOut)
{
    ZANTOEventConnections connections;
    // No sockets: nothing hears that it is shut down, so nobody ever leaves.
    for (int i = 0; i < 256; ++i)
        ASSERT_NE(connections.admit(100000 + i, stranger), 0U) << i;
    EXPECT_EQ(connections.admit(200000, crates), 0U);
    connections.remove(1);
    EXPECT_NE(connections.admit(200000, crates), 0U);
    EXPECT_EQ(connections.admit(200001, crates), 0U);
}

TEST_F(EventConnections, ThatAllDeliverKeepTheirPlacesFromStrangers)
{
    ZANTOEventConnections connections;
    for (int i = 0; i < 128; ++i)
        connections.delivered(connections.admit(100000 + i, stranger));
    EXPECT_EQ(connections.admit(200000, stranger), 0U);
    EXPECT_NE(connections.admit(200000, crates), 0U);
}

// ---- on real sockets ----

namespace {

constexpr const char *cratesAddress = "127.0.0.1";
constexpr uint32_t cratesHost = INADDR_LOOPBACK;
constexpr uint32_t strangersHost = INADDR_LOOPBACK + 1;

} // namespace

TEST_F(EventConnectionsDeathTest, OfSilentStrangersGiveWayToTheCrate)
{
    // A name is nobody's address.
    for (const char *address : {cratesAddress, "crate.example", ""}) {
        inChild([this, address] {
            plantTree();
            systemNode->setInitParam(address);
            serve();
            std::vector<Peer> strangers;
            for (int i = 0; i < 128; ++i)
                strangers.push_back(connection(strangersHost));
            EXPECT_TRUE(m_acceptCalls.reaches(129));
            const int full = openDescriptors();
            const Peer crate = connection(cratesHost);
            crate.send('c');
            EXPECT_TRUE(m_bytes.reaches(1));
            EXPECT_TRUE(strangers[0].isHungUpOn()) << "the oldest";
            EXPECT_TRUE(m_ended.reaches(1));
            strangers[1].send('x');
            EXPECT_TRUE(m_bytes.reaches(2)) << "the others are served on";
            EXPECT_LE(openDescriptors(), full + 2);
        });
    }
}

TEST_F(EventConnectionsDeathTest, OfTheCrateOutlastStrangers)
{
    inChild([this] {
        plantTree();
        systemNode->setInitParam(cratesAddress);
        serve();
        const Peer crate = connection(cratesHost);
        std::vector<Peer> strangers;
        for (int i = 0; i < 127 + 50; ++i)
            strangers.push_back(connection(strangersHost));
        for (std::size_t i = 0; i < 50; ++i)
            EXPECT_TRUE(strangers[i].isHungUpOn()) << i;
        crate.send('c');
        EXPECT_TRUE(m_bytes.reaches(1));
        EXPECT_TRUE(m_ended.reaches(50));
        EXPECT_EQ(m_ended.count(), 50);
    });
}

TEST_F(EventConnectionsDeathTest, ThatDeliverGiveWayToTheCrateAlone)
{
    for (const int16_t level : {int16_t{0}, int16_t{1}}) {
        inChild([this, level] {
            plantTree();
            systemNode->setInitParam(cratesAddress);
            serve();
            std::vector<Peer> strangers;
            for (int i = 0; i < 128; ++i) {
                strangers.push_back(connection(strangersHost));
                strangers.back().send('d');
            }
            ASSERT_TRUE(m_bytes.reaches(128));
            for (const Peer &peer : strangers)
                peer.send('e'); // who reads the second has delivered the first
            ASSERT_TRUE(m_bytes.reaches(256));
            {
                DEBUG = level;
                StdoutCapture output;
                const Peer late = connection(strangersHost);
                EXPECT_TRUE(late.isHungUpOn());
                EXPECT_TRUE(m_acceptCalls.reaches(130));
                EXPECT_EQ(output.text(),
                          level == 1 ? "\nToo many event connections, the new one is closed\n"
                                     : "");
                DEBUG = 0;
            }
            EXPECT_EQ(m_ended.count(), 0);
            const Peer crate = connection(cratesHost);
            crate.send('c');
            EXPECT_TRUE(m_bytes.reaches(257));
            EXPECT_TRUE(strangers[0].isHungUpOn());
        });
    }
}

// The numbers that the server gives reach the nodes.
TEST_F(EventConnectionsDeathTest, OfEarlierAcceptDoNotOverwriteLaterOnes)
{
    inChild([this] {
        plantTree();
        serve();
        ZANTONode *node = bareNode("VMon", nodeTypeSystemProp);
        node->setDataType(nodeDataTypeInt);
        systemNode->addParameter(node);
        const auto bring = [&](int32_t value) {
            m_brings = [value] {
                return FakeAccessLibrary::event(-1, -1, "VMon", FakeBytes::of(value));
            };
        };
        const Peer first = connection();
        const Peer second = connection();
        bring(1);
        first.send('a');
        first.send('b'); // read when the first event has been applied
        ASSERT_TRUE(m_bytes.reaches(2));
        bring(2);
        second.send('c');
        second.send('d');
        ASSERT_TRUE(m_bytes.reaches(4));
        bring(3);
        first.send('e');
        first.send('f');
        ASSERT_TRUE(m_bytes.reaches(6));
        EXPECT_EQ(node->getNodeValue().ZANTOGetValue().toInt(), 2);
    });
}
