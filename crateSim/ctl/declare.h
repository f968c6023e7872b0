// Subcommands as options of the command line, and back.
#pragma once

#include <CLI/CLI.hpp>

#include "commands.h"

namespace sim::ctl {

// Declares the subcommand and its arguments.
CLI::App &declare(CLI::App &app, const Command &command);

// The request of a subcommand that was given. Throws CLI::ValidationError for an argument that is
// not of its form, Problem as the form does.
Json requestOf(const CLI::App &given, const Command &command);

} // namespace sim::ctl
