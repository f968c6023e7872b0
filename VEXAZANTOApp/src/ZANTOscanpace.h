/// How fast the passes of one scan list and priority may follow each other.
#ifndef ZANTOSCANPACE_H
#define ZANTOSCANPACE_H

#include <algorithm>
#include <chrono>

/// A storm of events asks for the next pass before the present one is over: without a pause each
/// list would take a processor for itself, and the thread that reads the events would fall behind.
/// A list of a few records keeps up with the storm instead, and its thread would be woken by every
/// event. For one thread; the times are the caller's.
class ZANTOScanPace {
public:
    using Time = std::chrono::steady_clock::time_point;

    /// A pass lasted from `begin` to `end`; `more` when the next one has been asked for already.
    /// Returns the time before which that must not begin, which may be long past.
    Time nextPass(Time begin, Time end, bool more)
    {
        m_used = std::max(m_used, begin) + period;
        m_inARow = more ? m_inARow + 1 : 0;
        if (m_inARow < inARow)
            return m_used - burst;
        // Long passes leave half of the time to others.
        return std::max(begin + storm, end + (end - begin));
    }

private:
    // Between the begins of two passes: in the long run, and once so many have followed each
    // other without a rest.
    static constexpr std::chrono::milliseconds period{1};
    static constexpr std::chrono::milliseconds storm{20};
    static constexpr int inARow = 4;
    // What may be ahead of the long run.
    static constexpr std::chrono::milliseconds burst{8};

    Time m_used{}; // a period for each pass, as if they followed each other evenly
    int m_inARow = 0;
};

#endif
