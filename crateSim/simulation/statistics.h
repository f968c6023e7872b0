// What the crate has been asked and what it has sent, for the control port.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <string>

#include "protocol/operations.h"
#include "faults/active.h"

namespace sim {

class Statistics {
public:
    // The oldest lines of the call log give way beyond this.
    static constexpr size_t logLimit = 65536;

    void countCall(wire::Operation operation, std::string text);
    void countFailure(wire::Operation operation);
    void clear();

    uint64_t calls(wire::Operation operation) const { return m_calls[index(operation)]; }
    uint64_t failures(wire::Operation operation) const { return m_failures[index(operation)]; }
    uint64_t allCalls() const { return m_allCalls; }
    const std::deque<std::string> &log() const { return m_log; }

    uint64_t eventsSent = 0;
    uint64_t batchesSent = 0;
    uint64_t keepAlivesSent = 0;
    uint64_t eventConnectionsOpened = 0;
    uint64_t eventConnectionsLost = 0;
    uint64_t sessionsAccepted = 0;
    uint64_t loginsRefused = 0;
    uint64_t badFrames = 0;
    FaultCounts faults;

private:
    static size_t index(wire::Operation operation) { return static_cast<size_t>(operation); }

    std::array<uint64_t, wire::operationCount> m_calls{};
    std::array<uint64_t, wire::operationCount> m_failures{};
    uint64_t m_allCalls = 0;
    std::deque<std::string> m_log;
};

} // namespace sim
