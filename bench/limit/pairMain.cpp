// One of a pair of programs, the server or the limit: takes the named measurements, on one core,
// and prints a JSON line for each.
#include "benchIoc.h"
#include "clients.h"
#include "measurements.h"
#include "memoryCrate.h"
#include "options.h"
#include "variant.h"

#include <linux/magic.h>
#include <sched.h>
#include <spawn.h>
#include <sys/vfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <mutex>

namespace {

constexpr const char *usage =
    "Usage: %s [--boards N] [--core N] [--puts N] [--shown N] [--turns] MEASUREMENT...\n"
    "Measurements: build event memory pass-ai pass-bi pass-bits pass-text ca-put pva-put\n"
    "              set-to-rbv\n"
    "With --turns says \"ready\" and takes a measurement for each name that it reads.\n"
    "Writes its files to /tmp, which must be a tmpfs of its own: see bench/limit.py.\n";

int lastAllowedCore()
{
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    sched_getaffinity(0, sizeof(allowed), &allowed);
    int core = CPU_SETSIZE - 1;
    while (core > 0 && !CPU_ISSET(core, &allowed))
        --core;
    return core;
}

// Threads and children inherit it.
bool pin(int core)
{
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(core, &one);
    return sched_setaffinity(0, sizeof(one), &one) == 0;
}

// Files on a disk would be measured instead of what writes them.
bool writesToMemory()
{
    struct statfs status = {};
    return statfs("/tmp", &status) == 0 && status.f_type == TMPFS_MAGIC;
}

// The client is this program anew, so that both find the same libraries.
bool runClientProcess(const std::string &name, const Options &options)
{
    std::vector<std::string> words = {"client",   "--client",
                                      "--boards", std::to_string(options.boards),
                                      "--puts",   std::to_string(options.puts),
                                      "--shown",  std::to_string(options.shown),
                                      name};
    std::vector<char *> arguments;
    for (std::string &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    pid_t child = 0;
    int status = 1;
    if (posix_spawn(&child, "/proc/self/exe", nullptr, nullptr, arguments.data(), environ) != 0)
        return false;
    return waitpid(child, &status, 0) == child && status == 0;
}

bool measureByClient(const std::string &name, const Options &options)
{
    static std::once_flag shows;
    if (name == "set-to-rbv")
        std::call_once(shows, variantShowWrites);
    return runClientProcess(name, options);
}

// After the build, which nothing is measured without.
bool measureOne(const std::string &name, const Options &options)
{
    if (isClients(name))
        return measureByClient(name, options);
    if (name == "event")
        measureEvents();
    else if (name == "memory")
        measureMemory();
    else
        measurePass(name);
    return true;
}

bool takeTurns(const Options &options)
{
    std::puts("ready");
    std::fflush(stdout);
    std::string name;
    while (std::getline(std::cin, name)) {
        if (!options.wants(name) || !measureOne(name, options))
            return false;
    }
    return true;
}

bool measureAll(const Options &options)
{
    return std::all_of(options.names.begin(), options.names.end(), [&](const std::string &name) {
        return name == "build" || measureOne(name, options);
    });
}

bool measure(const Options &options)
{
    MemoryCrate::instance().setBoards(options.boards);
    if (!measureBuild(options.wants("build")))
        return false;
    if (options.wantsRecords() && !startIoc())
        return false;
    return options.turns ? takeTurns(options) : measureAll(options);
}

} // namespace

int main(int argc, char *argv[])
{
    Options options;
    if (!parseOptions(std::vector<std::string>(argv + 1, argv + argc), options)) {
        std::fprintf(stderr, usage, argv[0]);
        return 2;
    }
    stayOnLoopback();
    if (options.client)
        return runClient({options.names.front(), options.boards,
                          options.names.front() == "set-to-rbv" ? options.shown : options.puts});
    if (!writesToMemory() || !pin(options.core >= 0 ? options.core : lastAllowedCore())) {
        std::fprintf(stderr, "%s: /tmp is no tmpfs, or there is no such core\n", argv[0]);
        return 2;
    }
    const bool measured = measure(options);
    std::fflush(nullptr);
    // Not through the end of the server, whose order is not measured.
    _exit(measured ? 0 : 1);
}
