// The crate's time: paused, stepped, faster.
#include <algorithm>
#include <cmath>

#include "command.h"

namespace sim::control {

namespace {

Duration stepField(const Json &request)
{
    constexpr double longest = 86400;
    const double seconds = numberField(request, "seconds");
    if (!(seconds > 0 && seconds <= longest))
        throw ControlError("\"seconds\" is not a number above 0 and up to 86400");
    return Duration(std::llround(seconds * 1e9));
}

// A model step, but at a slow speed that of the usual one: the steps of a slow
// clock are so short that the whole would take for ever.
Duration pieceOf(const CrateClock &clock)
{
    const auto step = static_cast<double>(clock.modelStep().count());
    return Duration(std::llround(step / std::min(clock.speed(), 1.0)));
}

// Between two model steps the loop gets its turn: the batch of the first has
// left, and other clients are served, however long the whole takes.
void stepOn(const ControlContext &context, Duration left, const Reply &reply)
{
    const Duration part = std::min(left, pieceOf(context.state.clock));
    context.state.step(part);
    if (part == left)
        return reply(success());
    asio::post(context.loop,
               [context, left = left - part, reply] { stepOn(context, left, reply); });
}

} // namespace

Json pause(SimulationState &state, const Json &)
{
    state.clock.setPaused(true);
    return {};
}

Json continueTime(SimulationState &state, const Json &)
{
    state.clock.setPaused(false);
    return {};
}

Json speed(SimulationState &state, const Json &request)
{
    if (!state.clock.setSpeed(numberField(request, "factor")))
        throw ControlError("\"factor\" is not a number from 0.001 to 100000");
    return {};
}

void step(const ControlContext &context, const Json &request, const Reply &reply)
{
    stepOn(context, stepField(request), reply);
}

} // namespace sim::control
