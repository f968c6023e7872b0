// Why a call failed.
#pragma once

#include <cstdint>

namespace sim::accesslib {

// Failures found on this side; the crate's own codes are positive.
namespace failure {
constexpr int32_t badArgument = -1;
constexpr int32_t noSession = -2;
constexpr int32_t cannotConnect = -3;
constexpr int32_t timedOut = -4;
constexpr int32_t connectionLost = -5;
constexpr int32_t notUnderstood = -6;
constexpr int32_t noMemory = -7;
constexpr int32_t interrupted = -8;
} // namespace failure

// Carries a failure to the C boundary.
struct CallFailure {
    int32_t code;
};

} // namespace sim::accesslib
