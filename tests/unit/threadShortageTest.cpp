// The listening server when it gets no thread for a connection.
#include "eventServerSupport.h"

#include "Installed.h"
#include "ZANTOthreads.h"

namespace {

// How many of the next event threads cannot be had.
std::atomic<int> missingThreads{0};
std::atomic<int> refusedThreads{0};

epicsThreadId startIfThereIsOne(const char *name, unsigned priority,
                                epicsThreadStackSizeClass stack, EPICSTHREADFUNC entry,
                                void *argument)
{
    if (entry == ZANTOEvents_Thread && missingThreads > 0) {
        --missingThreads;
        ++refusedThreads;
        return nullptr;
    }
    return ZANTOEpicsThreads.start(name, priority, stack, entry, argument);
}

class ThreadShortageDeathTest : public EventServerDeathTest {
    const ZANTOThreads m_scarce = {startIfThereIsOne};
    const Installed<ZANTOThreads> m_installed{ZANTOPresentThreads, m_scarce};
};

} // namespace

TEST_F(ThreadShortageDeathTest, TheConnectionIsClosedAndTheNextOneServed)
{
    inChild([this] {
        plantTree();
        serve();
        const int before = openDescriptors();
        missingThreads = 3;
        for (int i = 0; i < 3; ++i) {
            const Peer peer = connection();
            EXPECT_TRUE(peer.isHungUpOn());
        }
        EXPECT_TRUE(m_acceptCalls.reaches(4));
        EXPECT_EQ(refusedThreads, 3);
        EXPECT_EQ(openDescriptors(), before);
        EXPECT_EQ(ZANTOEventsThread, nullptr);
        const Peer peer = connection();
        peer.send('x');
        EXPECT_TRUE(m_bytes.reaches(1));
        EXPECT_TRUE(m_acceptCalls.reaches(5)); // the thread may read before its creator knows it
        EXPECT_NE(ZANTOEventsThread, nullptr);
    });
}

TEST_F(ThreadShortageDeathTest, AConnectionThatIsServedIsNotDisturbed)
{
    inChild([this] {
        plantTree();
        serve();
        const Peer served = connection();
        served.send('a');
        ASSERT_TRUE(m_bytes.reaches(1));
        missingThreads = 1;
        const Peer refused = connection();
        EXPECT_TRUE(refused.isHungUpOn());
        served.send('b');
        EXPECT_TRUE(m_bytes.reaches(2));
        EXPECT_EQ(socketsThatRead("ab").size(), 1U);
        EXPECT_EQ(m_ended.count(), 0);
    });
}
