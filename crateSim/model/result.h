// Outcome of an operation on the crate. The numbers are what a caller of the
// access library sees.
#pragma once

#include <cstdint>

namespace sim {

enum class Result : int32_t {
    Ok = 0,
    BadRequest = 1,
    NotLoggedIn = 2,
    LoginRefused = 3,
    NoSlot = 4,
    NoChannel = 5,
    NoItem = 6,
    NoProperty = 7,
    NotReadable = 8,
    NotWritable = 9,
    OutOfRange = 10,
    Locked = 11,
    NoCommand = 12,
    Refused = 13
};

const char *resultText(Result result);

} // namespace sim
