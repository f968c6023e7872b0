#include "ZANTOlifecycle.h"

#include <gtest/gtest.h>

#include <cstring>

using ::testing::Test;
using Phase = ZANTOPhase;
using Happening = ZANTOHappening;
using Lot = ZANTOLot;

namespace {

constexpr Phase phases[] = {Phase::arguments, Phase::probing, Phase::loggingIn, Phase::building,
                            Phase::script,    Phase::running, Phase::ending};
constexpr Happening happenings[] = {
    Happening::probeBegins,  Happening::loginBegins, Happening::loggedIn,
    Happening::treeComplete, Happening::scriptEnded, Happening::signalled,
    Happening::shellLeft,    Happening::startFailed, Happening::exitBegun};

// One row for each phase, one column for each happening, in the order above. A letter is the
// phase that follows and goes on (a, p, l, b, s, r), "E" an end that begins, "-" a thread that
// parks.
constexpr const char *wanted[] = {
    "plaaaEEEE", // arguments
    "plpppEEEE", // probing
    "llbllEEEE", // loggingIn
    "bbbsbEEEE", // building
    "ssssrEEEE", // script
    "rrrrrEEEE", // running
    "---------", // ending
};

ZANTOLifeState in(Phase phase)
{
    ZANTOLifeState state;
    if (phase == Phase::ending) {
        state.reached = Phase::building;
        state.cause = Happening::signalled;
        state.signal = 15;
    } else {
        state.reached = phase;
    }
    return state;
}

bool same(const ZANTOLifeState &a, const ZANTOLifeState &b)
{
    return a.reached == b.reached && a.cause == b.cause && a.signal == b.signal;
}

char letterOf(const ZANTOVerdict &verdict)
{
    switch (verdict.lot) {
    case Lot::end: return 'E';
    case Lot::park: return '-';
    case Lot::goOn: break;
    }
    return "aplbsr!"[static_cast<int>(verdict.next.phase())];
}

bool isCause(Happening happening) { return happening >= Happening::signalled; }

} // namespace

TEST(Lifecycle, EveryPhaseHasOneVerdictForEveryHappening)
{
    for (size_t p = 0; p < std::size(phases); ++p) {
        ASSERT_EQ(std::strlen(wanted[p]), std::size(happenings));
        for (size_t h = 0; h < std::size(happenings); ++h) {
            const ZANTOVerdict verdict = ZANTODecide(in(phases[p]), happenings[h], 2);
            EXPECT_EQ(letterOf(verdict), wanted[p][h]) << "phase " << p << ", happening " << h;
        }
    }
}

TEST(Lifecycle, AnEndRemembersItsPhaseAndItsCause)
{
    for (const Phase phase : phases) {
        for (const Happening happening : happenings) {
            if (phase == Phase::ending || !isCause(happening))
                continue;
            const ZANTOLifeState next = ZANTODecide(in(phase), happening, 259).next;
            EXPECT_EQ(next.phase(), Phase::ending);
            EXPECT_EQ(next.reached, phase);
            EXPECT_EQ(next.cause, happening);
            EXPECT_EQ(next.signal, happening == Happening::signalled ? 259 : 0);
        }
    }
}

TEST(Lifecycle, NothingChangesAnEndThatHasBegun)
{
    for (const Happening happening : happenings) {
        for (const bool byTheEnder : {false, true}) {
            const ZANTOVerdict verdict = ZANTODecide(in(Phase::ending), happening, 9, byTheEnder);
            EXPECT_TRUE(same(verdict.next, in(Phase::ending)));
            EXPECT_EQ(verdict.lot, byTheEnder ? Lot::goOn : Lot::park);
        }
    }
}

TEST(Lifecycle, AStepLeavesNoCauseBehind)
{
    for (const Phase phase : phases) {
        for (const Happening happening : happenings) {
            if (phase != Phase::ending && !isCause(happening)) {
                EXPECT_FALSE(ZANTODecide(in(phase), happening, 9).next.ending());
            }
        }
    }
}

TEST(Lifecycle, TheWholeStartLeadsToARunningServer)
{
    ZANTOLifeState state;
    for (const Happening step :
         {Happening::probeBegins, Happening::loginBegins, Happening::loggedIn,
          Happening::treeComplete, Happening::scriptEnded})
        state = ZANTODecide(state, step).next;
    EXPECT_EQ(state.phase(), Phase::running);
}

// ---- what an end does ----

TEST(EndPlan, FollowsThePhaseInWhichTheEndBegan)
{
    const struct {
        Phase phase;
        bool logsOut;
        bool unsubscribes;
        int startupUntil;
        bool runsExitHooks;
    } cases[] = {
        {Phase::arguments, false, false, 5000, true}, {Phase::probing, false, false, 5000, true},
        {Phase::loggingIn, true, false, 8000, true},  {Phase::building, true, false, 5000, true},
        {Phase::script, true, true, 5000, false},     {Phase::running, true, true, 5000, true},
    };
    for (const auto &c : cases) {
        for (const Happening cause : happenings) {
            if (!isCause(cause))
                continue;
            SCOPED_TRACE(::testing::Message()
                         << static_cast<int>(c.phase) << " by " << static_cast<int>(cause));
            const ZANTOEndPlan plan = ZANTOPlanEnd(ZANTODecide(in(c.phase), cause, 2).next);
            EXPECT_EQ(plan.logsOut, c.logsOut);
            EXPECT_EQ(plan.unsubscribes, c.unsubscribes);
            EXPECT_EQ(plan.startupUntil.count(), c.startupUntil);
            EXPECT_EQ(plan.runsExitHooks, c.runsExitHooks);
            EXPECT_EQ(plan.tellsSignal, cause == Happening::signalled);
            EXPECT_EQ(plan.tellsShutdown, cause != Happening::startFailed);
        }
    }
}

TEST(EndTimes, SubscriptionsAreTakenBackInTheFirstHalf)
{
    EXPECT_TRUE(ZANTOMayUnsubscribe(ZANTOMilliseconds(0)));
    EXPECT_TRUE(ZANTOMayUnsubscribe(ZANTOMilliseconds(4999)));
    EXPECT_FALSE(ZANTOMayUnsubscribe(ZANTOMilliseconds(5000)));
    EXPECT_FALSE(ZANTOMayUnsubscribe(ZANTOMilliseconds(60000)));
}

TEST(EndTimes, WhatIsLeftIsNeverNegativeAndNeverMoreThanItsShare)
{
    const auto left = [](int elapsed, int most, int until) {
        return ZANTOTimeLeft(ZANTOMilliseconds(elapsed), ZANTOMilliseconds(most),
                             ZANTOMilliseconds(until))
            .count();
    };
    EXPECT_EQ(left(0, 2000, 8000), 2000);
    EXPECT_EQ(left(6500, 2000, 8000), 1500);
    EXPECT_EQ(left(8000, 2000, 8000), 0);
    EXPECT_EQ(left(9999, 2000, 8000), 0);
}

// The logout begins before the deadline whatever was waited for.
TEST(EndTimes, TheLogoutHasTimeLeftWhateverWasWaitedFor)
{
    const auto worst = [](ZANTOMilliseconds startupUntil) {
        return startupUntil +
               ZANTOTimeLeft(startupUntil, ZANTOEndTimes::treeUse, ZANTOEndTimes::treeUseUntil);
    };
    EXPECT_LE(worst(ZANTOEndTimes::loginUntil).count(), 8000);
    EXPECT_LE(worst(ZANTOEndTimes::half).count(), 8000);
    EXPECT_EQ(ZANTOEndTimes::deadline.count(), 10000);
}
