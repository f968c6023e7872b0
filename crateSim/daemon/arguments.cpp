#include "arguments.h"

#include <CLI/CLI.hpp>

#include "protocol/controlpath.h"
#include "version.h"

namespace sim::daemon {

namespace {

constexpr const char *footer =
    "Once it can be used it prints \"ready on\" and its address; SIGINT and SIGTERM end it.\n"
    "\n"
    "Examples:\n"
    "  zantocrate                             the built-in crate: 5 boards, 120 channels\n"
    "  zantocrate --speed 10                  the same, its time ten times as fast\n"
    "  zantocrate --print-default > my.yaml   a description to start from\n"
    "  zantocrate --check my.yaml             what is wrong with it\n"
    "  zantocrate my.yaml                     the crate that it describes\n"
    "  zantocratectl show                     looks at the crate that runs\n"
    "\n"
    "docs/crate-on-a-laptop.md leads through all of it.";

void declareCrate(CLI::App &app, Arguments &arguments)
{
    constexpr const char *group = "The crate";
    auto *file = app.add_option("FILE", arguments.file,
                                "Crate description in YAML (default: the built-in crate)")
                     ->type_name("");
    app.add_flag("--check", arguments.check,
                 "Say what is wrong with FILE, line by line, and end: with status 0 if nothing is")
        ->needs(file)
        ->group(group);
    app.add_flag("--print-default", arguments.printDefault,
                 "Print the built-in crate as a description to start from, and end")
        ->excludes(file)
        ->group(group);
    auto *user = app.add_option("--user", arguments.user,
                                "Name of the only user who may log in (default: those of the "
                                "description; admin for the built-in crate)")
                     ->type_name("NAME")
                     ->group(group);
    auto *password = app.add_option("--password", arguments.password,
                                    "That user's password (admin for the built-in crate)")
                         ->type_name("TEXT")
                         ->group(group);
    user->needs(password);
    password->needs(user);
}

// Only a path that was asked for is worth not starting at all.
void declareConnections(CLI::App &app, Arguments &arguments)
{
    constexpr const char *group = "Connections";
    auto &server = arguments.server;
    app.add_option("--address", server.address, "IP address to listen on")
        ->capture_default_str()
        ->type_name("ADDRESS")
        ->group(group);
    app.add_option("--port", server.port, "TCP port to listen on; 0 takes a free one")
        ->capture_default_str()
        ->type_name("NUMBER")
        ->group(group);
    server.controlPath = defaultControlPath();
    server.needsControl = false;
    app.add_option_function<std::string>(
           "--control",
           [&server](const std::string &path) {
               server.controlPath = path;
               server.needsControl = true;
           },
           "Unix socket of the control port, for zantocratectl")
        ->default_str(server.controlPath)
        ->type_name("PATH")
        ->group(group);
}

void declareTime(CLI::App &app, Arguments &arguments)
{
    constexpr const char *group = "Time and chance";
    auto &server = arguments.server;
    app.add_option("--speed", server.speed,
                   "How many times faster than the clock the crate's time passes")
        ->check(CLI::Range(CrateClock::slowest, CrateClock::fastest).description(""))
        ->capture_default_str()
        ->type_name("FACTOR")
        ->group(group);
    app.add_option("--seed", server.seed, "Start of the random numbers")
        ->capture_default_str()
        ->type_name("NUMBER")
        ->group(group);
}

void declareMessages(CLI::App &app, Arguments &arguments)
{
    constexpr const char *group = "Messages";
    app.add_option("--log-level", arguments.logLevel,
                   "What is worth a line on standard error: trace, debug, info, warn, error, off")
        ->check(CLI::IsMember({"trace", "debug", "info", "warn", "error", "off"}).description(""))
        ->capture_default_str()
        ->type_name("LEVEL")
        ->group(group);
    app.set_version_flag("--version", std::string("zantocrate ") + zantoVersion,
                         "Print the version and exit")
        ->group(group);
    app.set_help_flag("-h,--help", "Print this help and end")->group(group);
}

} // namespace

void declare(CLI::App &app, Arguments &arguments)
{
    declareCrate(app, arguments);
    declareConnections(app, arguments);
    declareTime(app, arguments);
    declareMessages(app, arguments);
    app.footer(footer);
}

} // namespace sim::daemon
