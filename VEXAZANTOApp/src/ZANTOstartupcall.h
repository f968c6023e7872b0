/// Calls of the access library that the start-up makes.
#ifndef ZANTOSTARTUPCALL_H
#define ZANTOSTARTUPCALL_H

#include "ZANTOlife.h"

#include <cstdint>

/// Runs `call` between two checkpoints and returns its result. A termination signal may make the
/// library give up a call: then the result means nothing, and once the process is ending nothing
/// may be printed or decided from it. Off the start-up's thread it is a plain call.
template <typename Call> int32_t ZANTOStartupCall(const Call &call)
{
    ZANTOStartupCheckpoint();
    const int32_t result = call();
    ZANTOStartupCheckpoint();
    return result;
}

#endif
