// When the tree may be used.
#include "unitSupport.h"

#include "ZANTOlife.h"

#include <atomic>
#include <future>
#include <thread>

using std::chrono::milliseconds;

namespace {

// Longer than any test takes: a wait that lasts as long has failed.
constexpr milliseconds watchdog{20000};

using TreeLife = ZantoTest;

} // namespace

// ---- use of the tree ----

TEST_F(TreeLife, IsOpenUntilItIsClosed)
{
    EXPECT_TRUE(ZANTOTreeUse());
    EXPECT_TRUE(ZANTOCloseTree(milliseconds(0)));
    EXPECT_FALSE(ZANTOTreeUse());
    EXPECT_FALSE(ZANTOTreeUse());
}

TEST_F(TreeLife, ATreeThatIsOpenedAgainIsUsable)
{
    EXPECT_TRUE(ZANTOCloseTree(milliseconds(0)));
    ZANTOOpenTree();
    EXPECT_TRUE(ZANTOTreeUse());
}

TEST_F(TreeLife, ManyUsesMayOverlap)
{
    const ZANTOTreeUse outer;
    const ZANTOTreeUse inner;
    EXPECT_TRUE(outer);
    EXPECT_TRUE(inner);
    std::thread([] { EXPECT_TRUE(ZANTOTreeUse()); }).join();
}

TEST_F(TreeLife, ClosingGivesUpOnAUseThatDoesNotEnd)
{
    const ZANTOTreeUse use;
    EXPECT_FALSE(ZANTOCloseTree(milliseconds(0)));
    EXPECT_FALSE(ZANTOCloseTree(milliseconds(5)));
    EXPECT_TRUE(use) << "the present use keeps what it was told";
    EXPECT_FALSE(ZANTOTreeUse()) << "the tree stays closed";
}

TEST_F(TreeLife, AUseThatWasRefusedDoesNotCountOnceItIsOver)
{
    ZANTOCloseTree(milliseconds(0));
    {
        const ZANTOTreeUse refused;
    }
    EXPECT_TRUE(ZANTOCloseTree(milliseconds(0)));
}

TEST_F(TreeLife, ClosingWaitsForTheLastUseToEnd)
{
    std::atomic<bool> used{true};
    std::promise<void> inUse;
    std::thread user([&] {
        const ZANTOTreeUse use;
        inUse.set_value();
        while (ZANTOTreeUse()) // until the tree is being closed
            std::this_thread::yield();
        used = false;
    });
    inUse.get_future().wait();
    EXPECT_TRUE(ZANTOCloseTree(watchdog));
    EXPECT_FALSE(used);
    user.join();
}

// A thread passes its counter on when it ends, with whatever it had counted.
TEST_F(TreeLife, ManyThreadsOneAfterTheOtherLeaveNothingBehind)
{
    for (int i = 0; i < 200; ++i)
        std::thread([] {
            const ZANTOTreeUse outer;
            EXPECT_TRUE(ZANTOTreeUse());
        }).join();
    EXPECT_TRUE(ZANTOCloseTree(milliseconds(0)));
}

TEST_F(TreeLife, AUseWithoutMemoryForACounterCountsToo)
{
    constexpr int users = 64; // more than one block of counters
    std::promise<void> beginning;
    std::promise<void> over;
    const std::shared_future<void> begun = beginning.get_future().share();
    const std::shared_future<void> ended = over.get_future().share();
    std::atomic<int> inUse{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < users; ++i)
        threads.emplace_back([&] {
            begun.wait();
            const ZANTOTreeUse use;
            EXPECT_TRUE(use);
            ++inUse;
            ended.wait();
        });
    {
        const AllocationFailure none(1, 1000000);
        beginning.set_value();
        while (inUse < users)
            std::this_thread::yield();
    }
    EXPECT_FALSE(ZANTOCloseTree(milliseconds(0)));
    over.set_value();
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_TRUE(ZANTOCloseTree(milliseconds(0)));
}

// The tree must be gone for whoever comes after it was closed, however many threads try.
TEST_F(TreeLife, NobodyUsesATreeThatIsClosed)
{
    std::atomic<bool> alive{true};
    std::atomic<bool> stop{false};
    std::atomic<int> wrong{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i)
        readers.emplace_back([&] {
            while (!stop) {
                const ZANTOTreeUse use;
                if (use && !alive)
                    ++wrong;
            }
        });
    for (int round = 0; round < 10; ++round) {
        EXPECT_TRUE(ZANTOCloseTree(watchdog));
        alive = false;
        std::this_thread::yield();
        alive = true;
        ZANTOOpenTree();
    }
    stop = true;
    for (std::thread &reader : readers)
        reader.join();
    EXPECT_EQ(wrong, 0);
}

// ---- completeness ----

TEST_F(TreeLife, IsCompleteWithARootAndNoUnfinishedBuild)
{
    EXPECT_FALSE(ZANTOTreeIsComplete());
    systemNode = bareNode("CRATE", nodeTypeSystemItem);
    EXPECT_TRUE(ZANTOTreeIsComplete());
    ZANTOBeginTree();
    EXPECT_FALSE(ZANTOTreeIsComplete());
    ZANTOOpenTree();
    EXPECT_TRUE(ZANTOTreeIsComplete());
}

TEST_F(TreeLife, WhoWaitsForTheTreeGoesOnOnceItIsComplete)
{
    ZANTOBeginTree();
    auto waiter = std::async(std::launch::async, [] {
        ZANTOWaitForTree();
        return ZANTOTreeIsComplete();
    });
    systemNode = bareNode("CRATE", nodeTypeSystemItem);
    EXPECT_EQ(waiter.wait_for(milliseconds(0)), std::future_status::timeout);
    ZANTOOpenTree();
    ASSERT_EQ(waiter.wait_for(watchdog), std::future_status::ready);
    EXPECT_TRUE(waiter.get());
}

TEST_F(TreeLife, NobodyWaitsForATreeThatIsComplete)
{
    systemNode = bareNode("CRATE", nodeTypeSystemItem);
    auto waiter = std::async(std::launch::async, ZANTOWaitForTree);
    EXPECT_EQ(waiter.wait_for(watchdog), std::future_status::ready);
}
