// The subcommands: what the user may write, the request that comes of it, and
// how the answer is shown.
#pragma once

#include <functional>

#include "client.h"

namespace CLI {
class App;
}

namespace sim::ctl {

// Carries out what the user chose; the result is the exit status.
using Action = std::function<int(Client &)>;

// Each declares subcommands that set the action when they are chosen.
void declareCrateCommands(CLI::App &app, Action &chosen);
void declareHardwareCommands(CLI::App &app, Action &chosen);
void declareClockCommands(CLI::App &app, Action &chosen);
void declareTrafficCommands(CLI::App &app, Action &chosen);
void declareFaultCommands(CLI::App &app, Action &chosen);

} // namespace sim::ctl
