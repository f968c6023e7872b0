// A crate of any number of boards that lives in memory: what the access library of the two
// programs answers from, fast enough to be nothing beside what they measure.
#pragma once

#include "vexahvwrapper.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <vector>

// What a kind of parameter does not have is 0 or null.
struct MemoryParameter {
    const char *name;
    uint32_t type;
    uint32_t mode;
    float lowest;
    float highest;
    uint16_t unit;
    int16_t exponent;
    int16_t decimals;
    const char *on;
    const char *off;
};

struct MemoryProperty {
    const char *name;
    uint32_t type;
    uint32_t mode;
    const char *text; // of a text
};

// An item of a channel that events name. The last one is the channel's name, which is no
// parameter of the crate's.
struct MemoryPlace {
    uint16_t slot;
    uint16_t channel;
    uint16_t item;
};

// There is one in a process, and its layout stays as it is once setBoards() has been called.
// Any thread may call any function.
class MemoryCrate {
public:
    static constexpr const char *name = "FULL";
    static constexpr const char *host = "127.0.0.1";
    static constexpr int32_t handle = 7;
    static constexpr uint16_t channels = 48;

    static const std::vector<MemoryParameter> &boardParameters();
    static const std::vector<MemoryParameter> &channelParameters();
    static const std::vector<MemoryProperty> &properties();
    static const std::vector<const char *> &commands();

    static MemoryCrate &instance();

    void setBoards(uint16_t boards);
    uint16_t boards() const { return m_boards; }

    uint32_t value(const MemoryPlace &place) const;
    void setValue(const MemoryPlace &place, uint32_t value);
    void noteCall() { m_calls.fetch_add(1, std::memory_order_relaxed); }
    // Of the access library, those that release memory not counted.
    uint32_t calls() const { return m_calls; }

    // ---- events ----

    // From now on each batch is there at once: `size` events, in an order that jumps over all
    // channels and names every item before it begins anew, each with another value.
    void storm(uint32_t size);
    // From now on each write is told by an event, and who asks for events waits for one.
    void answerWrites();
    std::size_t stormItems() const { return m_order.size(); }

    // A batch that the caller releases with free().
    VEXAHVEventData_t *takeBatch(uint32_t &count);

private:
    MemoryCrate() = default;
    void takeStorm(VEXAHVEventData_t *events);
    void takeAnswers(VEXAHVEventData_t *events);

    uint16_t m_boards = 0;
    std::atomic<uint32_t> m_calls{0};
    // All of what follows is guarded by m_mutex.
    mutable std::mutex m_mutex;
    std::condition_variable m_written;
    std::vector<uint32_t> m_values; // of the channels
    bool m_answersWrites = false;
    std::deque<MemoryPlace> m_answers;
    std::vector<MemoryPlace> m_order;
    std::size_t m_next = 0;
    uint32_t m_round = 0;
    uint32_t m_batch = 0; // no storm: 0
};
