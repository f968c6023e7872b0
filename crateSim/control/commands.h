// The commands of the control port.
#pragma once

#include <functional>
#include <nlohmann/json.hpp>

#include "waits.h"
#include "simulation/world.h"

namespace sim::control {

// Gets the answer exactly once, at once or later.
using Reply = std::function<void(const nlohmann::json &answer)>;

// What outlives every request.
struct ControlContext {
    asio::io_context &loop;
    World &world;
    Waits &waits;
};

// Carries out one request line. Whatever is wrong with it becomes an answer
// with "ok" false and an "error".
void runControlCommand(const ControlContext &context, const std::string &line, const Reply &reply);

// The answers: the fields with "ok", or the reason why not.
nlohmann::json success(nlohmann::json fields);
nlohmann::json failure(const std::string &text);

} // namespace sim::control
