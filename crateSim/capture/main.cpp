// zantocrate-capture: writes the description of a crate like a real one.
#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <netdb.h>
#include <unistd.h>

#include "describe.h"
#include "interruption.h"
#include "model/problems.h"
#include "version.h"

namespace {

using namespace sim::capture;

// Parts of the crate are missing in what was written.
constexpr int incomplete = 2;

struct Arguments {
    std::string crate;
    std::string user;
    std::string password;
    unsigned timeout = 60;

    std::string name() const { return crate.substr(0, crate.find('@')); }
    std::string host() const { return crate.substr(crate.find('@') + 1); }
};

std::string checkCrate(const std::string &crate)
{
    const auto at = crate.find('@');
    const bool whole = at != std::string::npos && at > 0 && at + 1 < crate.size();
    return whole ? "" : "has to be <name>@<host>";
}

void declare(CLI::App &app, Arguments &arguments)
{
    app.add_option("-c,--crate", arguments.crate,
                   "Name for the description, and host name or address of the mainframe")
        ->type_name("NAME@HOST")
        ->required()
        ->check(checkCrate);
    app.add_option("-u,--user", arguments.user, "Whom to log in as")->type_name("USER")->required();
    app.add_option("-p,--password", arguments.password, "That user's password")
        ->type_name("PASSWORD")
        ->required();
    app.add_option("--timeout", arguments.timeout,
                   "Seconds that the mainframe may take for one answer, the login included")
        ->type_name("SECONDS")
        ->check(CLI::Range(1u, 86400u).description(""))
        ->capture_default_str();
    app.set_version_flag("--version", std::string("zantocrate-capture ") + zantoVersion,
                         "Print the version and exit");
    app.set_help_flag("-h,--help", "Print this help and end");
    app.footer("Example: zantocrate-capture -c LAB1@192.168.0.10 -u admin -p admin > lab1.yaml\n\n"
               "Reads only, so that nothing at the mainframe changes. Bytes of its texts that\n"
               "are no UTF-8 become question marks. The access library is the\n"
               "libvexahvwrapper.so that the loader finds first; LD_LIBRARY_PATH names the\n"
               "folder of another.\n\n"
               "Status 0: all is there. 2: parts were left out, as standard error and the head\n"
               "of the description say. 1: nothing was written.");
}

void blank(char *text) { std::memset(text, '*', std::strlen(text)); }

// Nobody else shall read it in the list of processes.
void hidePassword(int argc, char **argv)
{
    constexpr const char *longOption = "--password=";
    for (int index = 1; index < argc; ++index) {
        const std::string argument = argv[index];
        if ((argument == "-p" || argument == "--password") && index + 1 < argc)
            blank(argv[++index]);
        else if (argument.rfind(longOption, 0) == 0)
            blank(argv[index] + std::strlen(longOption));
        else if (argument.rfind("-p", 0) == 0)
            blank(argv[index] + 2);
    }
}

bool isKnownHost(const std::string &host)
{
    addrinfo *found = nullptr;
    const bool known = getaddrinfo(host.c_str(), nullptr, nullptr, &found) == 0;
    if (known)
        freeaddrinfo(found);
    return known;
}

void complain(const std::string &text)
{
    std::fprintf(stderr, "zantocrate-capture: %s\n", text.c_str());
}

int write(const Described &described)
{
    for (const auto &problem : sim::findProblems(described.file.crate))
        complain("not valid: " + problem.text);
    const std::string text = sim::writeCrate(described.file, described.comment);
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0)
        return 0;
    complain(std::string("the description cannot be written: ") + std::strerror(errno));
    return 1;
}

// Goes before the session does, so that its logout may not take for ever either.
struct LogoutTimeout {
    ~LogoutTimeout() { armTimeout("VEXAHV_DeinitSystem", seconds); }
    const unsigned seconds;
};

int capture(const Arguments &arguments)
{
    const CallHook hook = [&](const char *operation) {
        if (operation == nullptr)
            return disarmTimeout();
        checkSignals();
        armTimeout(operation, arguments.timeout);
    };
    const auto progress = [](size_t slot) {
        if (isatty(STDERR_FILENO) != 0)
            std::fprintf(stderr, "slot %zu\n", slot);
    };
    SeenCrate seen;
    try {
        Session session(arguments.host(), arguments.user, arguments.password, hook);
        const LogoutTimeout logout{arguments.timeout};
        seen = survey(session, progress);
    } catch (const Interrupted &interrupted) {
        complain(interrupted.what());
        return 128 + interrupted.number();
    }
    disarmTimeout();
    for (const auto &text : seen.leftOut)
        complain(text);
    const int status = write(describe(seen, arguments.name()));
    return status == 0 && !seen.leftOut.empty() ? incomplete : status;
}

int run(int argc, char **argv)
{
    CLI::App app("Reads a high-voltage mainframe and prints the description of a simulated one",
                 "zantocrate-capture");
    Arguments arguments;
    declare(app, arguments);
    CLI11_PARSE(app, argc, argv);
    hidePassword(argc, argv);
    catchSignals();
    if (!isKnownHost(arguments.host())) {
        complain("no host \"" + arguments.host() + "\" is known");
        return 1;
    }
    try {
        return capture(arguments);
    } catch (const CallFailed &failure) {
        const std::string text = failure.what();
        complain(text.rfind("VEXAHV_InitSystem", 0) == 0
                     ? "no login at " + arguments.host() + ": refused, or nobody there answers (" +
                           text + ")"
                     : text);
    } catch (const TooMuchFails &failure) {
        complain(std::string("nearly every call fails, the last one: ") + failure.what());
    }
    return 1;
}

} // namespace

int main(int argc, char **argv)
{
    std::signal(SIGPIPE, SIG_IGN);
    try {
        return run(argc, argv);
    } catch (const std::exception &error) {
        complain(error.what());
    } catch (...) {
        complain("unknown failure");
    }
    return 1;
}
