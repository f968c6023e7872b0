#include "ZANTOend.h"

#include "ZANTOclock.h"
#include "ZANTOlife.h"
#include "ZANTOlookup.h"
#include "ZANTOmessages.h"
#include "ZANTOnode.h"
#include "ZANTOprogress.h"
#include "ZANTOstatic.h"
#include "ZANTOterminal.h"
#include "ZANTOthreads.h"
#include "ZANTOtypes.h"
#include "ZANTOwatchlists.h"
#include "vexahvwrapper.h"

#include <epicsExit.h>

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <mutex>

using std::chrono::milliseconds;
using TimePoint = std::chrono::steady_clock::time_point;

namespace {

constexpr milliseconds watchPeriod{50};

struct End {
    std::atomic<void (*)(int status)> exit{epicsExit};
    std::atomic<bool> watched{false};
    std::atomic<bool> iocInitRunning{false};
    // Set once, by the ender.
    std::atomic<bool> begun{false};
    TimePoint beginning;

    std::mutex mutex;
    std::condition_variable changed;
    // Guarded by mutex; unlimited until the end begins.
    TimePoint deadline = TimePoint::max();

    // The ender's own: threads that did not come back from the access library.
    bool mainIsStuck = false;
    bool recordsAreStuck = false;
};

End &end()
{
    static ZANTONeverDestroyed<End> instance;
    return instance.get();
}

milliseconds elapsed()
{
    return std::chrono::duration_cast<milliseconds>(ZANTOSteadyNow() - end().beginning);
}

// ---- watchdog ----

bool deadlineHasPassed() { return ZANTOSteadyNow() >= end().deadline; }

// A library call that never returns, or an exit hook that waits for one, must not keep the
// process alive. Runs until the process is gone.
void watchEnd(void *)
{
    End &e = end();
    std::unique_lock<std::mutex> lock(e.mutex);
    while (!deadlineHasPassed()) {
        if (e.deadline == TimePoint::max())
            e.changed.wait(lock);
        else
            e.changed.wait_for(lock, watchPeriod);
    }
    _exit(0);
}

void setDeadline(TimePoint deadline)
{
    End &e = end();
    std::lock_guard<std::mutex> lock(e.mutex);
    if (deadline < e.deadline)
        e.deadline = deadline;
    e.changed.notify_all();
}

// ---- logout ----

bool stopStartup(const ZANTOEndPlan &plan)
{
    const milliseconds until = plan.startupUntil;
    return ZANTOAwaitStartup(ZANTOTimeLeft(elapsed(), until, until));
}

// No record may start a call once the logout is on its way. One whose write hangs in the library
// keeps its node, and with it the tree.
bool closeTree()
{
    return ZANTOCloseTree(
        ZANTOTimeLeft(elapsed(), ZANTOEndTimes::treeUse, ZANTOEndTimes::treeUseUntil));
}

void freeTree(ZANTONode *root)
{
    systemNode = nullptr;
    if (end().mainIsStuck || end().recordsAreStuck)
        return;
    ZANTOIndexTree();
    delete root;
}

void logOut(const ZANTOEndPlan &plan)
{
    End &e = end();
    e.mainIsStuck = !stopStartup(plan);
    ZANTONode *root = systemNode;
    if (plan.unsubscribes && root != nullptr)
        ZANTOWatchTree(*root, false, static_cast<int16_t>(tcpPort), ZANTOTimeToUnsubscribe);
    e.recordsAreStuck = !closeTree();
    int32_t handle = -1;
    if (ZANTOTakeSession(handle))
        VEXAHV_DeinitSystem(handle);
    freeTree(root);
}

void begin()
{
    End &e = end();
    e.beginning = ZANTOSteadyNow();
    e.begun = true;
    ZANTOStartEndWatch();
    setDeadline(e.beginning + ZANTOEndTimes::deadline);
    ZANTOSetPrintPatience(ZANTOEndTimes::wordsBeforeLogout);
    ZANTOWipeProgress(); // before a second signal may end the process
}

// ---- exit ----

// What is printed from now on goes nowhere instead of waiting for ever.
void giveUpOutput()
{
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0)
        return;
    dup2(nowhere, STDOUT_FILENO);
    close(nowhere);
}

bool outputIsStuck()
{
    if (ZANTOFinishPrinting())
        return false;
    giveUpOutput();
    return true;
}

} // namespace

void ZANTOSetExit(void (*exit)(int status)) noexcept { end().exit = exit; }

void ZANTOStartEndWatch()
{
    if (end().watched.exchange(true))
        return;
    const epicsThreadId thread =
        ZANTOStartThread("ZANTOEndWatch", epicsThreadPriorityMax, epicsThreadStackSmall, watchEnd);
    end().watched = thread != nullptr; // else the end tries again
}

bool ZANTOTimeToUnsubscribe() noexcept { return !end().begun || ZANTOMayUnsubscribe(elapsed()); }

void ZANTOCloseCrate()
{
    if (end().begun)
        return;
    begin();
    const ZANTOLifeState life = ZANTOPresentLife();
    const ZANTOEndPlan plan = ZANTOPlanEnd(life);
    if (plan.tellsSignal)
        ZANTO_TRACE(1, "\nCaught a termination signal (%s).\n", strsignal(life.signal));
    if (plan.tellsShutdown)
        ZANTO_TRACE(0, "\nShutting down crate\n");
    if (plan.logsOut)
        logOut(plan);
    ZANTOSetPrintPatience(ZANTOEndTimes::wordsAfterLogout);
    if (plan.tellsShutdown)
        ZANTO_TRACE(0, "\nCrate disconnected\n");
}

namespace {

// False when the output is stuck; the hooks then have less time.
bool limitExit()
{
    const bool stuck = outputIsStuck();
    setDeadline(ZANTOSteadyNow() +
                (stuck ? ZANTOEndTimes::exitHooksWithoutOutput : ZANTOEndTimes::exitHooks));
    return !stuck;
}

} // namespace

void ZANTOCloseCrateInExit()
{
    ZANTOBeginEnd(ZANTOHappening::exitBegun);
    const bool first = !end().begun;
    ZANTOCloseCrate();
    if (first)
        limitExit();
}

// EPICS' exit hooks run before exit(), whose destructors of static objects would otherwise come
// first and take from the hooks what they use. With a thread still inside the access library or
// the script there are no destructors at all, and no hooks while something may be inside iocInit.
void ZANTOExit()
{
    End &e = end();
    ZANTORestoreTerminal();
    const bool prints = limitExit();
    const bool building =
        e.mainIsStuck || e.iocInitRunning || !ZANTOPlanEnd(ZANTOPresentLife()).runsExitHooks;
    if (!building && !e.recordsAreStuck && prints)
        e.exit.load()(0);
    if (!building)
        epicsExitCallAtExits();
    if (prints)
        ZANTOFinishPrinting();
    _exit(0);
}

void ZANTOSetIocInitRunning(bool running) noexcept { end().iocInitRunning = running; }

void ZANTOForgetEnd()
{
    End &e = end();
    e.begun = false;
    e.mainIsStuck = e.recordsAreStuck = false;
    std::lock_guard<std::mutex> lock(e.mutex);
    e.deadline = TimePoint::max();
}
