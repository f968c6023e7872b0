// zantocrate: the simulated mainframe as a program.
#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <spdlog/sinks/stdout_color_sinks.h>
#include <spdlog/spdlog.h>

#include "../model/defaultcrate.h"
#include "../protocol/controlpath.h"
#include "server.h"

namespace {

constexpr const char *version = "zantocrate 0.1";

struct Arguments {
    sim::daemon::ServerSettings server;
    std::string user;
    std::string password;
    std::string logLevel = "info";
};

void declare(CLI::App &app, Arguments &arguments)
{
    auto &server = arguments.server;
    app.add_option("--address", server.address, "IP address to listen on")->capture_default_str();
    app.add_option("--port", server.port, "TCP port to listen on; 0 takes a free one")
        ->capture_default_str();
    auto *user = app.add_option("--user", arguments.user,
                                "Name of the only user who may log in (default: admin)");
    auto *password =
        app.add_option("--password", arguments.password, "That user's password (default: admin)");
    user->needs(password);
    password->needs(user);
    server.controlPath = sim::defaultControlPath();
    app.add_option_function<std::string>(
           "--control",
           [&server](const std::string &path) {
               server.controlPath = path;
               server.needsControl = true;
           },
           "Unix socket of the control port, for zantocratectl")
        ->type_name("PATH")
        ->default_str(server.controlPath);
    server.needsControl = false;
    app.add_option("--speed", server.speed, "How many times faster than the clock time passes")
        ->check(CLI::Range(0.001, 100000.0))
        ->capture_default_str();
    app.add_option("--seed", server.seed, "Start of the random numbers")->capture_default_str();
    app.add_option("--log-level", arguments.logLevel, "What is worth a line on standard error")
        ->check(CLI::IsMember({"trace", "debug", "info", "warn", "error", "off"}))
        ->capture_default_str();
    app.set_version_flag("--version", version);
}

sim::CrateDescription crateFor(const Arguments &arguments)
{
    auto crate = sim::defaultCrate();
    if (!arguments.user.empty())
        crate.users = {{arguments.user, arguments.password}};
    for (auto &property : crate.properties)
        if (property.role == sim::PropertyRole::HostAddress)
            property.start = arguments.server.address;
    return crate;
}

void startLogging(const std::string &level)
{
    auto logger = spdlog::stderr_color_mt("zantocrate");
    logger->set_level(spdlog::level::from_str(level));
    spdlog::set_default_logger(logger);
}

int serve(const Arguments &arguments)
{
    sim::daemon::Server server(crateFor(arguments), arguments.server);
    asio::signal_set signals(server.context(), SIGINT, SIGTERM);
    signals.async_wait([&server](const asio::error_code &error, int number) {
        if (error)
            return;
        spdlog::info("ends on signal {}", number);
        server.stop();
    });
    std::printf("zantocrate: ready on %s:%u\n", arguments.server.address.c_str(), server.port());
    std::fflush(stdout);
    server.run();
    return 0;
}

int run(int argc, char **argv)
{
    CLI::App app("A simulated high-voltage mainframe", "zantocrate");
    Arguments arguments;
    declare(app, arguments);
    CLI11_PARSE(app, argc, argv);
    startLogging(arguments.logLevel);
    return serve(arguments);
}

} // namespace

int main(int argc, char **argv)
{
    std::signal(SIGPIPE, SIG_IGN);
    try {
        return run(argc, argv);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "zantocrate: %s\n", error.what());
    } catch (...) {
        std::fputs("zantocrate: unknown failure\n", stderr);
    }
    return 1;
}
