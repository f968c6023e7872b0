// The crate's time: paused, stepped, faster.
#include <algorithm>
#include <cmath>

#include "fields.h"
#include "tables.h"

namespace sim::control {

namespace {

using nlohmann::json;

json pause(World &world, const json &)
{
    world.clock.setPaused(true);
    return json::object();
}

json continueTime(World &world, const json &)
{
    world.clock.setPaused(false);
    return json::object();
}

json speed(World &world, const json &request)
{
    if (!world.clock.setSpeed(numberField(request, "factor")))
        throw ControlError("\"factor\" is not from 0.001 to 100000");
    return json::object();
}

Duration stepField(const json &request)
{
    constexpr double longest = 86400;
    const double seconds = numberField(request, "seconds");
    if (!(seconds > 0 && seconds <= longest))
        throw ControlError("\"seconds\" is not above 0 and up to 86400");
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
    const Duration part = std::min(left, pieceOf(context.world.clock));
    context.world.step(part);
    if (part == left)
        return reply(success(json::object()));
    asio::post(context.loop,
               [context, left = left - part, reply] { stepOn(context, left, reply); });
}

} // namespace

const CommandTable &clockCommands()
{
    static const CommandTable table = {
        {"continue", continueTime},
        {"pause", pause},
        {"speed", speed},
    };
    return table;
}

void step(const ControlContext &context, const json &request, const Reply &reply)
{
    stepOn(context, stepField(request), reply);
}

} // namespace sim::control
