// Runs the commands of the control port by their names.
#pragma once

#include <string>

#include "command.h"

namespace sim::control {

// Carries out one request line. Whatever is wrong with it becomes an answer
// with "ok" false and an "error".
void runControlCommand(const ControlContext &context, const std::string &line, const Reply &reply);

} // namespace sim::control
