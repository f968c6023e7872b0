// The subcommands: what the user may write, the request that comes of it, and what is done with it.
#pragma once

#include <vector>

#include "forms.h"
#include "handlers.h"

namespace sim::ctl {

struct Argument {
    // As a synopsis shows it: PLACE; [PLACE] when it may be missing; [FIELD=VALUE]... for any
    // number; --live for a flag; "--last N" for an option with a value.
    std::string synopsis;
    const char *field = nullptr; // of the request; nullptr for a form whose values are objects,
                                 // which add fields of their own
    Form form;                   // one without a parser stays out of the request
    const char *help = nullptr;  // nullptr: the form's name
};

struct Command {
    const char *name;
    const char *help;
    std::vector<Argument> arguments;
    Handler handler;
    Json fields = Json::object();                // of the request, whatever the arguments
    void (*refine)(CLI::App &command) = nullptr; // declares what a row cannot say
};

struct Group {
    const char *title;
    std::vector<Command> commands;
};

std::vector<Group> commandGroups();

} // namespace sim::ctl
