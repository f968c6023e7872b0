// The commands of the control port by name, each file's own; controlcommands.cpp
// joins them.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <string>

#include "commands.h"

namespace sim::control {

// Commands that answer at once return the answer's fields and throw
// ControlError for what cannot be done.
using Command = nlohmann::json (*)(World &world, const nlohmann::json &request);
using CommandTable = std::map<std::string, Command>;

// Commands that may answer later. What is wrong with the request they throw.
using LaterCommand = void (*)(const ControlContext &context, const nlohmann::json &request,
                              const Reply &reply);

const CommandTable &clockCommands();
const CommandTable &faultCommands();
const CommandTable &hardwareCommands();
const CommandTable &itemCommands();
const CommandTable &showCommands();
const CommandTable &statisticsCommands();
const CommandTable &stormCommands();

// How often each kind has been applied.
nlohmann::json faultCounts(const FaultCounts &counts);

nlohmann::json stormState(const Storm &storm);

void step(const ControlContext &context, const nlohmann::json &request, const Reply &reply);
void wait(const ControlContext &context, const nlohmann::json &request, const Reply &reply);

} // namespace sim::control
