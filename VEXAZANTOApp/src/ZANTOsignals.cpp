#include "ZANTOsignals.h"

#include "ZANTOend.h"
#include "ZANTOlife.h"
#include "ZANTOmessages.h"
#include "ZANTOthreads.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>

namespace {

constexpr int terminationSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM};

// Wakes the thread that answers; made once, before the handler is installed.
std::atomic<int> wakeUp{-1};

void resetSignals()
{
    for (const int number : terminationSignals)
        signal(number, SIG_DFL);
}

void waitForSignal()
{
    uint64_t count = 0;
    while (read(wakeUp, &count, sizeof(count)) < 0 && errno == EINTR) {
    }
}

void answerSignal(void *)
{
    waitForSignal();
    ZANTOTakeOverEnd();
    ZANTOCloseCrate();
    ZANTOExit();
}

} // namespace

void ZANTOCatchSignals(void (*handler)(int))
{
    // Writes to peers that have gone must fail, not kill; EPICS sees to this only later.
    signal(SIGPIPE, SIG_IGN);
    if (wakeUp < 0)
        wakeUp = eventfd(0, EFD_CLOEXEC);
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESETHAND | SA_NOCLDSTOP;
    sigemptyset(&action.sa_mask);
    sigset_t caught;
    sigemptyset(&caught);
    for (const int number : terminationSignals) {
        sigaction(number, &action, nullptr);
        sigaddset(&caught, number);
    }
    // A supervisor may have blocked them for itself, and a new process inherits that.
    pthread_sigmask(SIG_UNBLOCK, &caught, nullptr);
}

void ZANTOTakeSignal(int32_t number)
{
    const int savedErrno = errno;
    resetSignals();
    // During an end that has another cause there is nobody to wake.
    const uint64_t one = 1;
    if (ZANTONoteSignal(static_cast<uint16_t>(number)) && write(wakeUp, &one, sizeof(one)) < 0)
        _exit(0); // no thread can be told: better no logout than a server that cannot be ended
    errno = savedErrno;
}

void ZANTOStartSignalAnswer()
{
    ZANTOStartEndWatch();
    const bool started =
        wakeUp >= 0 && ZANTOStartThread("ZANTOSignalThread", epicsThreadPriorityMedium,
                                        epicsThreadStackBig, answerSignal) != nullptr;
    if (started)
        return;
    ZANTOPrintLine("Unable to start the signal thread: a termination signal ends without a logout");
    resetSignals();
}
