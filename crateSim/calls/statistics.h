// What the crate has been asked, for the control port.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <string>

#include "protocol/operations.h"

namespace sim::calls {

class CallStatistics {
public:
    // The oldest lines of the call log give way beyond this.
    static constexpr size_t logLimit = 65536;

    void countCall(wire::Operation operation, std::string text);
    void countFailure(wire::Operation operation) { ++m_failures[index(operation)]; }
    void countRefusedLogin() { ++m_loginsRefused; }

    uint64_t count(wire::Operation operation) const { return m_counts[index(operation)]; }
    uint64_t failures(wire::Operation operation) const { return m_failures[index(operation)]; }
    uint64_t loginsRefused() const { return m_loginsRefused; }
    uint64_t total() const { return m_total; }
    const std::deque<std::string> &log() const { return m_log; }

private:
    static size_t index(wire::Operation operation) { return static_cast<size_t>(operation); }

    std::array<uint64_t, wire::operationCount> m_counts{};
    std::array<uint64_t, wire::operationCount> m_failures{};
    uint64_t m_loginsRefused = 0;
    uint64_t m_total = 0;
    std::deque<std::string> m_log;
};

} // namespace sim::calls
