// Misbehaviour ordered through the control port.
#pragma once

#include <cstdint>
#include <map>
#include <optional>

#include "../protocol/operations.h"

namespace sim::daemon {

class Faults {
public:
    void refuseLogins(uint32_t count) { m_refusals = count; }
    bool takeRefusal() { return m_refusals > 0 && m_refusals-- > 0; }

    // The next calls of the operation, after letting some pass, answer with
    // the code.
    void fail(wire::Operation operation, int32_t code, uint32_t count, uint32_t after)
    {
        m_failures[operation] = {code, count, after};
    }

    // The code with which this call has to fail, if it has to.
    std::optional<int32_t> takeFailure(wire::Operation operation)
    {
        const auto found = m_failures.find(operation);
        if (found == m_failures.end())
            return std::nullopt;
        Failure &failure = found->second;
        if (failure.after > 0) {
            --failure.after;
            return std::nullopt;
        }
        const int32_t code = failure.code;
        if (failure.count <= 1)
            m_failures.erase(found);
        else
            --failure.count;
        return code;
    }

    void hang(bool on) { m_hanging = on; }
    bool isHanging() const { return m_hanging; }

private:
    struct Failure {
        int32_t code;
        uint32_t count;
        uint32_t after;
    };

    uint32_t m_refusals = 0;
    std::map<wire::Operation, Failure> m_failures;
    bool m_hanging = false;
};

} // namespace sim::daemon
