// The misbehaviour that is ordered and still to come, as far as it is not tied
// to an event connection, and how often each kind has been applied.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "order.h"

namespace sim {

// An order counts itself down: what it holds is what is left of it.
struct ActiveFault {
    uint64_t number; // tells orders apart that are alike
    FaultOrder order;
};

using ActiveFaults = std::vector<ActiveFault>;

// Takes away one application of those that are left, and with the last one the
// order; returns the order that follows.
ActiveFaults::iterator consume(ActiveFaults &faults, ActiveFaults::iterator fault);

// No kind: all of them.
void clearFaults(ActiveFaults &faults, std::optional<FaultKind> kind);

// Whether a fault of that kind happens to event connections, and whether it
// then happens to each one there will ever be.
bool isOfEvents(FaultKind kind);
bool isOfAllConnections(const FaultOrder &order);

class FaultCounts {
public:
    void add(FaultKind kind) { ++m_counts[static_cast<size_t>(kind)]; }
    uint64_t of(FaultKind kind) const { return m_counts[static_cast<size_t>(kind)]; }

private:
    std::array<uint64_t, static_cast<size_t>(FaultKind::Count_)> m_counts{};
};

// What happens to a call; decided when it arrives.
struct CallFault {
    std::chrono::milliseconds delay{0};
    bool hangs = false;
    std::optional<int32_t> code; // fails with it and is not carried out
};

// Whatever is taken counts and is used up.
class Faults {
public:
    explicit Faults(FaultCounts &counts) : m_counts(counts) {}

    void add(const ActiveFault &fault) { m_active.push_back(fault); }
    void clear(std::optional<FaultKind> kind) { clearFaults(m_active, kind); }
    const ActiveFaults &active() const { return m_active; }
    bool none() const { return m_active.empty(); }

    bool takeRefusal();
    CallFault takeCall(wire::Operation operation);
    // How an answer of that form has to be corrupt.
    std::optional<Corruption> takeCorruption(wire::Operation operation, wire::AnswerForm form);
    // What waits for an event connection; not counted yet.
    ActiveFaults takeForConnection();

private:
    using Condition = std::function<bool(const FaultOrder &)>;
    std::optional<FaultOrder> take(FaultKind kind, const Condition &applies);

    FaultCounts &m_counts;
    ActiveFaults m_active;
};

} // namespace sim
