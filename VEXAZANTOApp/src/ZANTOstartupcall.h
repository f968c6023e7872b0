// Calls of the access library that the start-up makes.
#pragma once

#include "ZANTOlife.h"

#include <cstdint>

// ZANTOStartupCheckpoint, without a lock as long as nothing ends the process.
inline void ZANTOQuickCheckpoint()
{
    if (!ZANTOMaySpeak())
        ZANTOStartupCheckpoint();
}

// Runs `call` between two checkpoints and returns its result. A termination signal may make the
// library give up a call: then the result means nothing, and once the process is ending nothing
// may be printed or decided from it. Off the start-up's thread it is a plain call.
template <typename Call> int32_t ZANTOStartupCall(const Call &call)
{
    ZANTOQuickCheckpoint();
    const int32_t result = call();
    ZANTOQuickCheckpoint();
    return result;
}
