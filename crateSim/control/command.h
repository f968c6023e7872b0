// What a command of the control port is, and all of them.
#pragma once

#include <functional>
#include <string>

#include "fields.h"
#include "simulation/state.h"
#include "waits.h"

namespace sim::control {

// Gets the answer exactly once, at once or later.
using Reply = std::function<void(const Json &answer)>;

// What outlives every request.
struct ControlContext {
    asio::io_context &loop;
    SimulationState &state;
    Waits &waits;
};

// The answers: the fields with "ok", or the reason why not.
Json success(Json fields = {});
Json failure(const std::string &text);

// Commands that answer at once return the answer's fields, null for none, and throw ControlError
// for what cannot be done.
Json clearFaults(SimulationState &state, const Json &request);
Json condition(SimulationState &state, const Json &request);
Json continueTime(SimulationState &state, const Json &request);
Json execute(SimulationState &state, const Json &request);
Json get(SimulationState &state, const Json &request);
Json insert(SimulationState &state, const Json &request);
Json log(SimulationState &state, const Json &request);
Json orderFault(SimulationState &state, const Json &request);
Json pause(SimulationState &state, const Json &request);
Json remove(SimulationState &state, const Json &request);
Json set(SimulationState &state, const Json &request);
Json show(SimulationState &state, const Json &request);
Json showFaults(SimulationState &state, const Json &request);
Json speed(SimulationState &state, const Json &request);
Json statistics(SimulationState &state, const Json &request);
Json storm(SimulationState &state, const Json &request);
Json subscriptions(SimulationState &state, const Json &request);
Json trip(SimulationState &state, const Json &request);

// Commands that may answer later. What is wrong with the request they throw.
void step(const ControlContext &context, const Json &request, const Reply &reply);
void wait(const ControlContext &context, const Json &request, const Reply &reply);

// How often each kind has been applied.
Json faultCounts(const FaultCounts &counts);

} // namespace sim::control
