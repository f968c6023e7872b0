// What the server counts of itself, and the rates that come of it.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <mutex>

// Since the start of the process. Any thread may raise or read a count; a count says nothing about
// the order of anything else. On cache lines of their own: events are counted where time is dear.
struct alignas(64) ZANTOHealthCounts {
    std::atomic<uint64_t> events{0};
    std::atomic<uint64_t> batches{0}; // of events, empty ones too
    std::atomic<uint64_t> heldValues{0};
    std::atomic<uint64_t> failedCalls{0};
    std::atomic<bool> inserted{false}; // the live-insertion flag
    std::atomic<std::time_t> started{0};
};
extern ZANTOHealthCounts ZANTOPresentCounts;

inline void ZANTOCount(std::atomic<uint64_t> &count, uint64_t times = 1) noexcept
{
    count.fetch_add(times, std::memory_order_relaxed);
}

// Passes on the result of a call of the access library and counts a failure.
inline int32_t ZANTOCountCall(int32_t result) noexcept
{
    if (result != 0)
        ZANTOCount(ZANTOPresentCounts.failedCalls);
    return result;
}

// The process starts now, unless it was said before.
void ZANTONoteStart() noexcept;

// What becomes of the counts with time; the time is the caller's. Any thread may call any
// function; none blocks.
class ZANTOHealthRates {
public:
    using Time = std::chrono::steady_clock::time_point;

    struct Figures {
        double events = 0.0;  // per second, between the last two ticks
        double batches = 0.0; // likewise
        // Whole seconds since the last batch, or since begin() if none has come.
        double quietSeconds = 0.0;
    };

    // What has been counted up to here counts no more.
    void begin(const ZANTOHealthCounts &counts, Time now);
    void tick(const ZANTOHealthCounts &counts, Time now);
    Figures figures() const;

private:
    mutable std::mutex m_mutex;
    // Guarded by m_mutex.
    Figures m_figures;
    uint64_t m_events = 0;
    uint64_t m_batches = 0;
    Time m_lastTick;
    Time m_lastDelivery;
};
