// What is ordered for one event connection: where its stream ends and how, in
// which pieces it goes out, what goes out instead of a batch. Offsets count the
// bytes sent to the subscriber since the order, over all its connections. Knows
// no socket.
#pragma once

#include <cstddef>
#include <optional>

#include "active.h"

namespace sim {

// Whatever is taken counts and is used up.
class StreamFaults {
public:
    explicit StreamFaults(FaultCounts &counts) : m_counts(counts) {}

    // An order that the connection has already changes nothing.
    void add(const ActiveFault &fault);
    void clear(std::optional<FaultKind> kind) { clearFaults(m_active, kind); }
    const ActiveFaults &active() const { return m_active; }

    // Before a batch: the number of bytes of garbage that go out instead, or 0;
    // whether malformed events go out instead.
    size_t takeGarbage();
    bool takeMalformedEvents();

    // Of so many bytes to be sent, those that may go out in one piece. Not 0
    // unless an end is due.
    size_t piece(size_t bytes) const;
    // Whether what is left is to wait until the loop has turned.
    bool isSplit() const;
    void noteSent(size_t bytes);
    void noteBatchSent();
    // The kind of end that is due at this byte.
    std::optional<FaultKind> takeEnd();

private:
    template <class Condition> std::optional<FaultOrder> take(Condition applies);

    FaultCounts &m_counts;
    ActiveFaults m_active;
};

} // namespace sim
