#include "ZANTOnodelock.h"

#include "ZANTOstatic.h"

#include <array>
#include <condition_variable>
#include <cstddef>
#include <mutex>

namespace {

// Never 0.
uint32_t threadNumber() noexcept
{
    static std::atomic<uint32_t> last{0};
    thread_local uint32_t number = 0;
    while (number == 0)
        number = ++last;
    return number;
}

// Where the threads sleep that wait for one of many nodes.
struct Waiters {
    std::mutex mutex;
    std::condition_variable wake;
};

Waiters &waitersOf(const void *lock)
{
    constexpr std::size_t count = 64; // few threads ever wait at the same time
    static ZANTONeverDestroyed<std::array<Waiters, count>> waiters;
    return waiters.get()[reinterpret_cast<std::uintptr_t>(lock) / 64 % count];
}

} // namespace

// ---- recursion ----

uint32_t ZANTONodeLock::ownParts() const
{
    const uint32_t self = threadNumber();
    uint32_t own = 0;
    for (uint32_t part = 0; part < parts; ++part) {
        if (m_holder[part].load(std::memory_order_relaxed) == self)
            own |= bitOf(part);
    }
    return own;
}

// After they have been taken, or once more.
void ZANTONodeLock::enter(uint32_t which)
{
    for (uint32_t part = 0; part < parts; ++part) {
        if ((which & bitOf(part)) != 0 && m_depth[part]++ == 0)
            m_holder[part].store(threadNumber(), std::memory_order_relaxed);
    }
}

// Those that the thread has left as often as it entered them.
uint32_t ZANTONodeLock::leave(uint32_t which)
{
    uint32_t left = 0;
    for (uint32_t part = 0; part < parts; ++part) {
        if ((which & bitOf(part)) == 0 || --m_depth[part] > 0)
            continue;
        m_holder[part].store(0, std::memory_order_relaxed);
        left |= bitOf(part);
    }
    return left;
}

// ---- taking ----

bool ZANTONodeLock::lock(Part part)
{
    const bool isNew = (ownParts() & part) == 0;
    while (isNew && !tryTake(part))
        sleepFor(part);
    enter(part);
    return isNew;
}

bool ZANTONodeLock::tryTake(Part part)
{
    uint32_t word = m_word.load(std::memory_order_relaxed);
    while ((word & part) == 0) {
        if (m_word.compare_exchange_weak(word, word | part, std::memory_order_acquire))
            return true;
    }
    return false;
}

bool ZANTONodeLock::tryLockBoth()
{
    const uint32_t own = ownParts();
    uint32_t word = m_word.load(std::memory_order_relaxed);
    do {
        if ((word & both & ~own) != 0)
            return false;
    } while (!m_word.compare_exchange_weak(word, word | both, std::memory_order_acquire));
    enter(both);
    return true;
}

// ---- letting go ----

bool ZANTONodeLock::unlock(Part which)
{
    const uint32_t left = leave(which);
    return left != 0 && letGo(left);
}

bool ZANTONodeLock::letGo(uint32_t which)
{
    uint32_t word = m_word.load(std::memory_order_relaxed);
    while (true) {
        const bool settles = (word & mark) != 0 && (word & both & ~which) == 0;
        const uint32_t next = settles ? word | both : word & ~(which | sleepers);
        if (!m_word.compare_exchange_weak(word, next, std::memory_order_acq_rel))
            continue;
        if (settles)
            enter(both);
        else if ((word & sleepers) != 0)
            wakeAll();
        return settles;
    }
}

bool ZANTONodeLock::markOrLockBoth()
{
    uint32_t word = m_word.load(std::memory_order_relaxed);
    while (true) {
        const bool isFree = (word & both) == 0;
        const uint32_t next = word | (isFree ? static_cast<uint32_t>(both) : mark);
        if (!m_word.compare_exchange_weak(word, next, std::memory_order_acq_rel))
            continue;
        if (isFree)
            enter(both);
        return !isFree;
    }
}

// ---- sleeping ----

// The bit is set under the mutex and so is the sleep begun, and whoever clears the bit takes the
// mutex before it wakes: no wake-up comes too early.
void ZANTONodeLock::sleepFor(Part part)
{
    Waiters &waiters = waitersOf(this);
    std::unique_lock<std::mutex> lock(waiters.mutex);
    uint32_t word = m_word.load(std::memory_order_relaxed);
    while ((word & part) != 0) {
        if (m_word.compare_exchange_weak(word, word | sleepers, std::memory_order_relaxed)) {
            waiters.wake.wait(lock);
            return;
        }
    }
}

void ZANTONodeLock::wakeAll()
{
    Waiters &waiters = waitersOf(this);
    std::lock_guard<std::mutex> lock(waiters.mutex);
    waiters.wake.notify_all();
}
