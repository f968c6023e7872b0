// How fast the passes of one scan thread may follow each other.
#pragma once

#include <algorithm>
#include <chrono>

// What of it depends on how much a pass does.
struct ZANTOPaceLimits {
    using Duration = std::chrono::microseconds;

    // Between the begins of two passes: in the long run, and once so many have followed each
    // other without a rest.
    Duration period;
    Duration storm;
    int inARow;
    // What may be ahead of the long run.
    Duration burst;
};

// Of passes over a whole list of records.
constexpr ZANTOPaceLimits ZANTOListPace = {
    std::chrono::milliseconds{1}, std::chrono::milliseconds{20}, 4, std::chrono::milliseconds{8}};

// A storm of events asks for the next pass before the present one is over: without a pause each
// list would take a processor for itself, and the thread that reads the events would fall behind.
// A list of a few records keeps up with the storm instead, and its thread would be woken by every
// event. For one thread; the times are the caller's.
class ZANTOScanPace {
public:
    using Time = std::chrono::steady_clock::time_point;

    constexpr explicit ZANTOScanPace(const ZANTOPaceLimits &limits = ZANTOListPace)
        : m_limits(limits)
    {
    }

    // A pass lasted from `begin` to `end`; `more` when the next one has been asked for already.
    // Returns the time before which that must not begin, which may be long past.
    Time nextPass(Time begin, Time end, bool more)
    {
        m_used = std::max(m_used, begin) + m_limits.period;
        m_inARow = more ? m_inARow + 1 : 0;
        if (m_inARow < m_limits.inARow)
            return m_used - m_limits.burst;
        // Long passes leave half of the time to others.
        return std::max(begin + m_limits.storm, end + (end - begin));
    }

private:
    const ZANTOPaceLimits m_limits;
    Time m_used{}; // a period for each pass, as if they followed each other evenly
    int m_inARow = 0;
};
