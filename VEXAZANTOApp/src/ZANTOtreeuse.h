// Who uses the tree, so that it is deleted only when nobody does.
#pragma once

#include "ZANTOtypes.h"

#include <atomic>
#include <chrono>
#include <cstdint>

// The uses of one thread, on a cache line that no other thread writes to.
struct alignas(64) ZANTOTreeUser {
    std::atomic<uint32_t> uses{0}; // nested ones count
    // The thread must make itself seen with locked instructions; written before the first use.
    bool isLocked = true;
    bool isTaken = true; // guarded by the mutex of all users
};

// One use of the tree by a record or an event, for a scope. False when the tree is closed:
// then no node may be touched. Never blocks.
//
// Each access of a record is one, so it writes to nothing that threads share and costs no locked
// instruction: each thread counts its own uses. Whoever closes the tree first has every processor
// run a memory barrier in place of the threads and then looks at their counters.
class ZANTOTreeUse {
public:
    ZANTOTreeUse() noexcept : m_user(t_user != nullptr ? *t_user : join())
    {
        if (m_user.isLocked) {
            m_user.uses.fetch_add(1);
        } else {
            const uint32_t uses = m_user.uses.load(std::memory_order_relaxed);
            m_user.uses.store(uses + 1, std::memory_order_relaxed);
            std::atomic_signal_fence(std::memory_order_seq_cst);
        }
        m_open = !s_closed.load();
    }
    ~ZANTOTreeUse()
    {
        if (m_user.isLocked)
            m_user.uses.fetch_sub(1);
        else
            m_user.uses.store(m_user.uses.load(std::memory_order_relaxed) - 1,
                              std::memory_order_release);
    }
    ZANTOTreeUse(const ZANTOTreeUse &) = delete;
    ZANTOTreeUse &operator=(const ZANTOTreeUse &) = delete;

    explicit operator bool() const noexcept { return m_open; }
    // Null also where there is none.
    ZANTONode *root() const noexcept
    {
        return m_open ? static_cast<ZANTONode *>(systemNode) : nullptr;
    }

    // Allows uses, as before the first close().
    static void open() noexcept { s_closed = false; }
    // Refuses further uses and waits for the present ones to end. False when some did not end in
    // time; then the tree must not be deleted.
    static bool close(std::chrono::milliseconds limit);

private:
    static ZANTOTreeUser &join() noexcept;

    static inline std::atomic<bool> s_closed{false};
    static inline thread_local ZANTOTreeUser *t_user = nullptr;

    ZANTOTreeUser &m_user;
    bool m_open;
};
