// zantocratectl: inspects and controls a simulated crate through its control port.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <optional>

#include "../protocol/controlpath.h"
#include "version.h"
#include "declare.h"
#include "problem.h"

namespace {

using namespace sim::ctl;

constexpr const char *footer =
    "PLACE is SLOT:CHANNEL, SLOT or \"system\"; 3:7 and 3:007 are the same channel.\n"
    "\"zantocratectl COMMAND --help\" tells more about a command.\n"
    "\n"
    "Examples:\n"
    "  zantocratectl show                   the crate and its boards\n"
    "  zantocratectl show 3 --live          the channels of the board in slot 3, live\n"
    "  zantocratectl set 3:7 VSet 120       a set-point, as at the front panel\n"
    "  zantocratectl trip 3:7               an over-current trip\n"
    "  zantocratectl remove 3               pulls the board out";

// Carries out what the user chose.
using Action = std::function<void(Client &)>;

// Puts together what the user chose when the command line was read.
void addCommand(CLI::App &app, const Command &command, const char *title, Action &chosen)
{
    CLI::App &declared = declare(app, command);
    declared.group(title);
    declared.callback([&command, &declared, &chosen] {
        chosen = [&, request = requestOf(declared, command)](Client &client) {
            command.handler(client, request, declared);
        };
    });
}

void declareOptions(CLI::App &app, Settings &settings)
{
    settings.control = sim::defaultControlPath();
    app.footer(footer);
    app.require_subcommand(1);
    app.fallthrough();
    app.add_option("--control", settings.control, "Unix socket of the crate's control port")
        ->capture_default_str()
        ->type_name("PATH");
    app.add_flag("--json", settings.json, "Print the crate's answer as one line of JSON");
    app.add_option("--timeout", settings.timeout, "How long to wait for an answer")
        ->check(CLI::Range(0.001, 3600.0).description(""))
        ->capture_default_str()
        ->type_name("SECONDS");
    app.set_version_flag("--version", std::string("zantocratectl ") + zantoVersion,
                         "Print the version and exit");
    app.set_help_flag("-h,--help", "Print this help and exit");
}

// The status to end with, after help or an error of usage.
std::optional<int> parse(CLI::App &app, int argc, char **argv)
{
    try {
        app.parse(argc, argv);
        return std::nullopt;
    } catch (const CLI::RequiredError &error) {
        const auto rest = app.remaining();
        if (rest.empty())
            return app.exit(error);
        return app.exit(CLI::ExtrasError("\"" + rest.front() + "\" is not a command",
                                         CLI::ExitCodes::ExtrasError));
    } catch (const CLI::ParseError &error) {
        return app.exit(error);
    }
}

int carryOut(const Settings &settings, const Action &chosen)
{
    try {
        Client client(settings);
        chosen(client);
        return 0;
    } catch (const Refused &refusal) {
        if (settings.json)
            std::puts(lineOf(refusal.answer).c_str());
        std::fprintf(stderr, "zantocratectl: %s\n", refusal.what());
    }
    return 1;
}

int run(int argc, char **argv)
{
    CLI::App app("Inspects and controls a simulated high-voltage mainframe", "zantocratectl");
    Settings settings;
    Action chosen;
    declareOptions(app, settings);
    const auto groups = commandGroups();
    for (const auto &group : groups)
        for (const auto &command : group.commands)
            addCommand(app, command, group.title, chosen);
    if (const auto failed = parse(app, argc, argv))
        return *failed;
    const int status = carryOut(settings, chosen);
    if (std::fflush(stdout) != 0)
        throw Problem("cannot write to standard output");
    return status;
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "zantocratectl: %s\n", error.what());
    } catch (...) {
        std::fputs("zantocratectl: unknown failure\n", stderr);
    }
    return 1;
}
