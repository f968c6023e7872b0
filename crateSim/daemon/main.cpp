// zantocrate: the simulated mainframe as a program.
#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <spdlog/sinks/stdout_color_sinks.h>
#include <spdlog/spdlog.h>

#include "description/cratefile.h"
#include "description/defaultcrate.h"
#include "arguments.h"

namespace {

using sim::daemon::Arguments;

// Prints what is wrong with the file; without a result it cannot be used.
std::optional<sim::CrateFile> readFile(const std::string &path)
{
    auto reading = sim::readCrateFile(path);
    for (const auto &finding : reading.findings)
        std::fprintf(stderr, "%s\n", sim::findingText(path, finding).c_str());
    if (!reading.findings.empty())
        return std::nullopt;
    return std::move(reading.file);
}

int checkFile(const std::string &path)
{
    const auto file = readFile(path);
    if (file)
        std::printf("%s: OK: %s\n", path.c_str(), sim::crateSummary(file->crate).c_str());
    return file ? 0 : 1;
}

int printDefault()
{
    const auto text = sim::defaultCrateText();
    std::fwrite(text.data(), 1, text.size(), stdout);
    return std::fflush(stdout) == 0 ? 0 : 1;
}

void adapt(sim::CrateDescription &crate, const Arguments &arguments)
{
    if (!arguments.user.empty())
        crate.users = {{arguments.user, arguments.password}};
    for (auto &property : crate.properties)
        if (property.role == sim::PropertyRole::HostAddress)
            property.start = arguments.server.address;
}

void startLogging(const std::string &level)
{
    auto logger = spdlog::stderr_color_mt("zantocrate");
    logger->set_level(spdlog::level::from_str(level));
    spdlog::set_default_logger(logger);
}

int serve(Arguments &arguments)
{
    sim::CrateFile file{sim::defaultCrate(), {}};
    if (!arguments.file.empty()) {
        auto read = readFile(arguments.file);
        if (!read)
            return 1;
        file = std::move(*read);
    }
    adapt(file.crate, arguments);
    arguments.server.faults = std::move(file.faults);
    sim::daemon::Server server(std::move(file.crate), arguments.server);
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
    CLI::App app("Simulates a high-voltage mainframe", "zantocrate");
    Arguments arguments;
    sim::daemon::declare(app, arguments);
    CLI11_PARSE(app, argc, argv);
    if (arguments.printDefault)
        return printDefault();
    if (arguments.check)
        return checkFile(arguments.file);
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
