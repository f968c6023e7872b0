#include "ZANTOlifecycle.h"

namespace {

using Phase = ZANTOPhase;
using Lot = ZANTOLot;

struct Cell {
    Phase next;
    Lot lot;
};

constexpr Cell stay(Phase phase) { return {phase, Lot::goOn}; }
constexpr Cell to(Phase phase) { return {phase, Lot::goOn}; }
constexpr Cell ends = {Phase::ending, Lot::end};
constexpr Cell parks = {Phase::ending, Lot::park};

// By phase, then by happening. A step out of its turn changes nothing: who serves without a
// wait for the firmware logs in from the first phase.
constexpr Cell table[ZANTOPhaseCount][ZANTOHappeningCount] = {
    // probeBegins, loginBegins, loggedIn, treeComplete, scriptEnded,
    // signalled, shellLeft, startFailed, exitBegun
    // arguments
    {to(Phase::probing), to(Phase::loggingIn), stay(Phase::arguments), stay(Phase::arguments),
     stay(Phase::arguments), ends, ends, ends, ends},
    // probing
    {stay(Phase::probing), to(Phase::loggingIn), stay(Phase::probing), stay(Phase::probing),
     stay(Phase::probing), ends, ends, ends, ends},
    // loggingIn
    {stay(Phase::loggingIn), stay(Phase::loggingIn), to(Phase::building), stay(Phase::loggingIn),
     stay(Phase::loggingIn), ends, ends, ends, ends},
    // building
    {stay(Phase::building), stay(Phase::building), stay(Phase::building), to(Phase::script),
     stay(Phase::building), ends, ends, ends, ends},
    // script
    {stay(Phase::script), stay(Phase::script), stay(Phase::script), stay(Phase::script),
     to(Phase::running), ends, ends, ends, ends},
    // running
    {stay(Phase::running), stay(Phase::running), stay(Phase::running), stay(Phase::running),
     stay(Phase::running), ends, ends, ends, ends},
    // ending
    {parks, parks, parks, parks, parks, parks, parks, parks, parks},
};

} // namespace

ZANTOVerdict ZANTODecide(const ZANTOLifeState &now, ZANTOHappening happening, uint16_t signal,
                         bool byTheEnder) noexcept
{
    const Cell &cell = table[static_cast<int32_t>(now.phase())][static_cast<int32_t>(happening)];
    ZANTOVerdict verdict = {now, cell.lot};
    if (cell.lot == Lot::goOn) {
        verdict.next.reached = cell.next;
    } else if (cell.lot == Lot::end) {
        verdict.next.cause = happening;
        verdict.next.signal = happening == ZANTOHappening::signalled ? signal : uint16_t{0};
    } else if (byTheEnder) {
        verdict.lot = Lot::goOn;
    }
    return verdict;
}

ZANTOEndPlan ZANTOPlanEnd(const ZANTOLifeState &state) noexcept
{
    const bool bySignal = state.cause == ZANTOHappening::signalled;
    // What failed at the start has its own message.
    const bool tells = state.cause != ZANTOHappening::startFailed;
    const bool mayBeLoggedIn = state.reached >= Phase::loggingIn;
    const bool treeComplete = state.reached >= Phase::script;
    const bool loggingIn = state.reached == Phase::loggingIn;
    return {bySignal,
            tells,
            mayBeLoggedIn,
            treeComplete,
            loggingIn ? ZANTOEndTimes::loginUntil : ZANTOEndTimes::half,
            state.reached != Phase::script};
}
