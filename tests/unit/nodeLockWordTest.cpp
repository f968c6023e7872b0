// The two locks of a node, and the mark of a value that waits for them.
#include "Contender.h"
#include "ZANTOnodelock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

constexpr auto record = ZANTONodeLock::record;
constexpr auto members = ZANTONodeLock::members;
constexpr auto both = ZANTONodeLock::both;

// Runs an action on a thread of its own to its end.
template <typename Action> void elsewhere(const Action &action) { std::thread(action).join(); }

bool freeForOthers(ZANTONodeLock &lock)
{
    bool isFree = false;
    elsewhere([&] {
        isFree = lock.tryLockBoth();
        if (isFree)
            lock.unlock(both);
    });
    return isFree;
}

} // namespace

TEST(NodeLockWord, FitsIntoSixteenBytes) { EXPECT_EQ(sizeof(ZANTONodeLock), 16U); }

TEST(NodeLockWord, APartIsHadUntilItIsUnlockedAsOftenAsLocked)
{
    for (const auto part : {record, members}) {
        ZANTONodeLock lock;
        EXPECT_TRUE(lock.lock(part)) << "new";
        EXPECT_FALSE(lock.lock(part)) << "once more";
        EXPECT_FALSE(freeForOthers(lock));
        EXPECT_FALSE(lock.unlock(part));
        EXPECT_FALSE(freeForOthers(lock));
        EXPECT_FALSE(lock.unlock(part));
        EXPECT_TRUE(freeForOthers(lock));
    }
}

TEST(NodeLockWord, TwoThreadsMayHaveOnePartEach)
{
    ZANTONodeLock lock;
    lock.lock(record);
    elsewhere([&] {
        EXPECT_TRUE(lock.lock(members));
        EXPECT_FALSE(lock.tryLockBoth());
        lock.unlock(members);
    });
    EXPECT_TRUE(lock.tryLockBoth()) << "one of them is the thread's own";
    lock.unlock(both);
    EXPECT_FALSE(freeForOthers(lock)) << "it still has the first one";
    lock.unlock(record);
    EXPECT_TRUE(freeForOthers(lock));
}

TEST(NodeLockWord, IsReadableWhileOnlyMembersAreHad)
{
    ZANTONodeLock lock;
    EXPECT_TRUE(lock.isReadable());
    lock.lock(members);
    EXPECT_TRUE(lock.isReadable());
    lock.lock(record);
    EXPECT_FALSE(lock.isReadable());
    lock.unlock(record);
    EXPECT_TRUE(lock.isReadable());
    elsewhere([&] { EXPECT_TRUE(lock.markOrLockBoth()); });
    EXPECT_FALSE(lock.isReadable());
    EXPECT_TRUE(lock.unlock(members));
    lock.unmark();
    lock.unlock(both);
    EXPECT_TRUE(lock.isReadable());
}

TEST(NodeLockWord, IsHeldOnlyIfNobodyHasIt)
{
    for (const auto part : {record, members, both}) {
        ZANTONodeLock lock;
        lock.tryLockBoth();
        lock.unlock(both);
        if (part == both)
            lock.tryLockBoth();
        else
            lock.lock(part);
        EXPECT_FALSE(lock.tryHold()) << "not even for the thread itself";
        lock.unlock(part);
        EXPECT_TRUE(lock.tryHold());
        EXPECT_FALSE(lock.isReadable());
        EXPECT_FALSE(freeForOthers(lock));
        EXPECT_FALSE(lock.letHoldGo());
        EXPECT_TRUE(freeForOthers(lock));
    }
}

TEST(NodeLockWord, AHeldNodeIsSettledAndWaitedForLikeALockedOne)
{
    ZANTONodeLock lock;
    ASSERT_TRUE(lock.tryHold());
    elsewhere([&] { EXPECT_TRUE(lock.markOrLockBoth()); });
    EXPECT_TRUE(lock.letHoldGo());
    lock.unmark();
    EXPECT_FALSE(lock.unlock(both));

    ASSERT_TRUE(lock.tryHold());
    Contender sleeper([&] {
        lock.lock(record);
        lock.unlock(record);
    });
    EXPECT_TRUE(sleeper.waits());
    EXPECT_FALSE(lock.letHoldGo());
    sleeper.join();
}

// ---- marks ----

TEST(NodeLockWord, AFreeNodeIsTakenInsteadOfMarked)
{
    ZANTONodeLock lock;
    EXPECT_FALSE(lock.markOrLockBoth());
    EXPECT_FALSE(lock.isMarked());
    EXPECT_FALSE(freeForOthers(lock));
    EXPECT_FALSE(lock.unlock(both));
    EXPECT_TRUE(freeForOthers(lock));
}

TEST(NodeLockWord, WhoeverLetsGoLastGetsBothAndTheValue)
{
    for (const auto first : {record, members}) {
        const auto second = first == record ? members : record;
        ZANTONodeLock lock;
        lock.lock(first);
        lock.lock(second);
        lock.lock(second);
        elsewhere([&] { EXPECT_TRUE(lock.markOrLockBoth()); });
        EXPECT_FALSE(lock.unlock(first));
        EXPECT_FALSE(lock.unlock(second));
        EXPECT_TRUE(lock.unlock(second));
        EXPECT_FALSE(freeForOthers(lock)) << "to settle it takes both";
        EXPECT_TRUE(lock.isMarked());
        lock.unmark();
        EXPECT_FALSE(lock.unlock(both));
        EXPECT_TRUE(freeForOthers(lock));
    }
}

TEST(NodeLockWord, AMarkThatComesWhileOneIsSettledIsSettledToo)
{
    ZANTONodeLock lock;
    lock.lock(record);
    elsewhere([&] { lock.markOrLockBoth(); });
    EXPECT_TRUE(lock.unlock(record));
    lock.unmark();
    elsewhere([&] { EXPECT_TRUE(lock.markOrLockBoth()); });
    EXPECT_TRUE(lock.unlock(both));
    lock.unmark();
    EXPECT_FALSE(lock.unlock(both));
}

TEST(NodeLockWord, APartThatAnotherThreadHasKeepsTheMark)
{
    ZANTONodeLock lock;
    lock.lock(record);
    std::atomic<bool> hasMembers{false};
    std::atomic<bool> letGo{false};
    std::atomic<bool> settles{false};
    std::thread other([&] {
        lock.lock(members);
        hasMembers = true;
        while (!letGo)
            std::this_thread::yield();
        settles = lock.unlock(members);
        if (settles) {
            lock.unmark();
            lock.unlock(both);
        }
    });
    while (!hasMembers)
        std::this_thread::yield();
    EXPECT_TRUE(lock.markOrLockBoth());
    EXPECT_FALSE(lock.unlock(record)) << "the other one has still to let go";
    letGo = true;
    other.join();
    EXPECT_TRUE(settles);
    EXPECT_TRUE(freeForOthers(lock));
}

// ---- waiting ----

TEST(NodeLockWord, NobodyIsForgottenAmongThreadsThatWait)
{
    ZANTONodeLock lock;
    int64_t recordCount = 0;  // under record
    int64_t membersCount = 0; // under members
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < 5000; ++i) {
                const bool nested = (i + t) % 3 == 0;
                if (nested || t % 2 == 0)
                    lock.lock(record);
                if (nested || t % 2 == 0)
                    ++recordCount;
                if (nested || t % 2 != 0) {
                    lock.lock(members);
                    ++membersCount;
                    lock.unlock(members);
                }
                if (nested || t % 2 == 0)
                    lock.unlock(record);
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_TRUE(freeForOthers(lock));
    EXPECT_EQ(recordCount, 13333);
    EXPECT_EQ(membersCount, 13334);
}

// Each mark is settled by exactly one thread, and nobody has to come by once more for the last.
TEST(NodeLockWord, EveryMarkIsSettledOnceByOneOfManyThreads)
{
    ZANTONodeLock lock;
    std::atomic<int> left{0};
    std::atomic<int> settled{0};
    std::atomic<bool> stop{false};
    const auto settle = [&] {
        do {
            settled += left.exchange(0);
            lock.unmark();
            settled += left.exchange(0); // the one thread that marks counts before it marks
        } while (lock.unlock(both));
    };
    std::vector<std::thread> holders;
    for (const auto part : {record, members, record})
        holders.emplace_back([&, part] {
            while (!stop) {
                lock.lock(part);
                if (lock.unlock(part))
                    settle();
            }
        });
    constexpr int values = 20000;
    for (int i = 0; i < values; ++i) {
        ++left;
        if (!lock.markOrLockBoth())
            settle();
    }
    stop = true;
    for (std::thread &holder : holders)
        holder.join();
    EXPECT_EQ(settled, values);
    EXPECT_FALSE(lock.isMarked());
    EXPECT_TRUE(freeForOthers(lock));
}
