// What a command of the control port is, and all of them.
#pragma once

#include <functional>
#include <string>

#include "fields.h"
#include "simulation/world.h"
#include "waits.h"

namespace sim::control {

// Gets the answer exactly once, at once or later.
using Reply = std::function<void(const Json &answer)>;

// What outlives every request.
struct ControlContext {
    asio::io_context &loop;
    World &world;
    Waits &waits;
};

// The answers: the fields with "ok", or the reason why not.
Json success(Json fields = {});
Json failure(const std::string &text);

// Commands that answer at once return the answer's fields, null for none, and throw ControlError
// for what cannot be done.
Json clearFaults(World &world, const Json &request);
Json condition(World &world, const Json &request);
Json continueTime(World &world, const Json &request);
Json execute(World &world, const Json &request);
Json get(World &world, const Json &request);
Json insert(World &world, const Json &request);
Json log(World &world, const Json &request);
Json orderFault(World &world, const Json &request);
Json pause(World &world, const Json &request);
Json remove(World &world, const Json &request);
Json set(World &world, const Json &request);
Json show(World &world, const Json &request);
Json showFaults(World &world, const Json &request);
Json speed(World &world, const Json &request);
Json statistics(World &world, const Json &request);
Json storm(World &world, const Json &request);
Json subscriptions(World &world, const Json &request);
Json trip(World &world, const Json &request);

// Commands that may answer later. What is wrong with the request they throw.
void step(const ControlContext &context, const Json &request, const Reply &reply);
void wait(const ControlContext &context, const Json &request, const Reply &reply);

// How often each kind has been applied.
Json faultCounts(const FaultCounts &counts);

} // namespace sim::control
