// Who goes on, who ends the process and who waits: decided here, without threads, clock, input
// or output, so that every case can be walked through.
#pragma once

#include <chrono>
#include <cstdint>

// Where the process is. The main thread alone takes it forward; any thread may begin the end.
enum class ZANTOPhase : uint8_t {
    arguments, // reads its command line
    probing,   // waits for the firmware
    loggingIn,
    building, // logged in, reads the crate
    script,   // the tree is complete, the start-up script runs
    running,  // shell or daemon
    ending
};
constexpr int32_t ZANTOPhaseCount = 7;

enum class ZANTOHappening : uint8_t {
    // Steps of the main thread.
    probeBegins,
    loginBegins,
    loggedIn,
    treeComplete,
    scriptEnded,
    // Causes of the end.
    signalled,
    shellLeft,
    startFailed, // refused, or nothing to serve
    exitBegun,   // EPICS' exit, on whatever thread
    // Nothing has begun the end yet.
    none
};
constexpr int32_t ZANTOHappeningCount = 9;

// What becomes of the thread that brings a happening.
enum class ZANTOLot : uint8_t {
    goOn,
    end, // it has brought the first cause: it prints, logs out and ends the process
    park // another one ends the process: it does nothing any more
};

// The state of the process. Four bytes without padding: it is exchanged as one atomic, also in
// a signal handler.
struct ZANTOLifeState {
    ZANTOPhase reached = ZANTOPhase::arguments;  // last phase before the end
    ZANTOHappening cause = ZANTOHappening::none; // of the end
    uint16_t signal = 0;                         // number behind a cause `signalled`

    bool ending() const noexcept { return cause != ZANTOHappening::none; }
    ZANTOPhase phase() const noexcept { return ending() ? ZANTOPhase::ending : reached; }
};
static_assert(sizeof(ZANTOLifeState) == 4, "one atomic word");

struct ZANTOVerdict {
    ZANTOLifeState next;
    ZANTOLot lot;
};

// `signal` counts for `signalled` alone. `byTheEnder`: brought by the thread that ends the
// process, which its own exit does not stop.
ZANTOVerdict ZANTODecide(const ZANTOLifeState &now, ZANTOHappening happening, uint16_t signal = 0,
                         bool byTheEnder = false) noexcept;

// ---- the end ----

using ZANTOMilliseconds = std::chrono::milliseconds;

// How an end that began in this state is carried out.
struct ZANTOEndPlan {
    bool tellsSignal;
    bool tellsShutdown;
    bool logsOut; // if there is a session once the main thread has stopped
    bool unsubscribes;
    // Latest time after the begin of the end at which the main thread's call of the access
    // library is waited for.
    ZANTOMilliseconds startupUntil;
    // The start-up script may be in the middle of what the hooks take apart.
    bool runsExitHooks;
};
ZANTOEndPlan ZANTOPlanEnd(const ZANTOLifeState &state) noexcept;

// The times of the end, counted from its begin.
namespace ZANTOEndTimes {
// The process is gone, whatever does not return.
constexpr ZANTOMilliseconds deadline{10000};
// No further subscription is taken back, so that the logout is never late.
constexpr ZANTOMilliseconds half{5000};
// A login under way gets more time than a call to a dead crate takes to fail: only its answer
// tells what to log out of.
constexpr ZANTOMilliseconds loginUntil{8000};
// Records that are inside the access library are waited for as long as this, and not beyond.
constexpr ZANTOMilliseconds treeUse{2000};
constexpr ZANTOMilliseconds treeUseUntil{8000};
// EPICS' exit hooks, once the mainframe has nothing to do with it any more.
constexpr ZANTOMilliseconds exitHooks{4000};
// The same when the output takes nothing, for which a hook may wait in vain.
constexpr ZANTOMilliseconds exitHooksWithoutOutput{1000};
// What all messages before the logout may wait for their output, and what is left unsaid then
// once more behind it.
constexpr ZANTOMilliseconds wordsBeforeLogout{100};
constexpr ZANTOMilliseconds wordsAfterLogout{500};
} // namespace ZANTOEndTimes

// True while another subscription may be taken back, `elapsed` after the begin of the end.
constexpr bool ZANTOMayUnsubscribe(ZANTOMilliseconds elapsed) noexcept
{
    return elapsed < ZANTOEndTimes::half;
}

// How long something may take that has `most` for itself and must be over at the time `until`.
constexpr ZANTOMilliseconds ZANTOTimeLeft(ZANTOMilliseconds elapsed, ZANTOMilliseconds most,
                                          ZANTOMilliseconds until) noexcept
{
    const ZANTOMilliseconds left = elapsed < until ? until - elapsed : ZANTOMilliseconds(0);
    return most < left ? most : left;
}
