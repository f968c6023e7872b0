// The commands of the control port.
#pragma once

#include <functional>
#include <nlohmann/json.hpp>

#include "waits.h"
#include "world.h"

namespace sim::daemon {

// Gets the answer exactly once, at once or later.
using Reply = std::function<void(const nlohmann::json &answer)>;

// Carries out one request line. Whatever is wrong with it becomes an answer
// with "ok" false and an "error".
void runControlCommand(World &world, Waits &waits, const std::string &line, const Reply &reply);

} // namespace sim::daemon
