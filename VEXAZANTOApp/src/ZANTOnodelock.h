// The two locks of a node in one word, with the mark of a value that waits for them.
#pragma once

#include <atomic>
#include <cstdint>

// Two recursive locks: a thread may have either or both, two threads one each. Order: record
// before members. A value that finds the locks taken is kept elsewhere and marked here. As the
// locks and the mark change in one step, whoever lets go learns whether the value is his to take
// in: there is a mark only while somebody has a lock.
//
// Nobody spins: a thread sleeps while another one has what it wants. Sixteen bytes, no resource.
class ZANTONodeLock {
public:
    enum Part : uint32_t {
        record = 1,  // one record access or one event update at a time
        members = 2, // the node's members and lists
        both = record | members
    };

    // Blocks while another thread has the part. True if the calling thread did not have it yet.
    // For one part.
    bool lock(Part part);
    // Takes both parts unless another thread has one. Never blocks.
    bool tryLockBoth();
    // Undoes one lock() of the part, or of each. True when nobody has any part any more and there
    // is a mark: then the calling thread has both parts again and the value to take in.
    bool unlock(Part which);

    // Both parts of a node that nobody has, for a moment in which the calling thread takes no
    // part of it: what tryLockBoth and unlock do at a third of the cost. False, without waiting,
    // if anybody has a part, also the calling thread.
    bool tryHold()
    {
        uint32_t nobody = 0;
        return m_word.compare_exchange_strong(nobody, both, std::memory_order_acquire);
    }
    // As unlock(both) after tryHold.
    bool letHoldGo()
    {
        uint32_t held = both;
        return !m_word.compare_exchange_strong(held, 0, std::memory_order_release) && letGo(both);
    }

    // Marks that a value waits. False, without a mark, if nobody has any part: the calling thread
    // has both then. For one thread at a time, as is unmark.
    bool markOrLockBoth();
    // For the holder of both parts.
    void unmark() { m_word.fetch_and(~mark); }
    bool isMarked() const { return (m_word.load(std::memory_order_acquire) & mark) != 0; }

    // Nobody is in a record access or an event update, and no value waits.
    bool isReadable() const
    {
        return (m_word.load(std::memory_order_acquire) & (record | mark)) == 0;
    }

private:
    static constexpr uint32_t parts = 2;
    static constexpr uint32_t bitOf(uint32_t part) { return 1U << part; }
    static constexpr uint32_t mark = 4;
    static constexpr uint32_t sleepers = 8; // threads wait for a part

    uint32_t ownParts() const;
    void enter(uint32_t which);
    uint32_t leave(uint32_t which);
    bool tryTake(Part part);
    void sleepFor(Part part);
    bool letGo(uint32_t which);
    void wakeAll();

    std::atomic<uint32_t> m_word{0};
    // By part: the number of the thread that has it, written by that thread and compared by any;
    // how often it has taken it, that thread's alone.
    std::atomic<uint32_t> m_holder[parts] = {};
    uint16_t m_depth[parts] = {};
};
