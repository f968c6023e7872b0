#include "ZANTOthreads.h"

namespace {

epicsThreadId start(const char *name, unsigned priority, epicsThreadStackSizeClass stack,
                    EPICSTHREADFUNC entry, void *argument)
{
    return epicsThreadCreate(name, priority, epicsThreadGetStackSize(stack), entry, argument);
}

} // namespace

const ZANTOThreads ZANTOEpicsThreads = {start};

std::atomic<const ZANTOThreads *> ZANTOPresentThreads{&ZANTOEpicsThreads};
