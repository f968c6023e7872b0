#include "interruption.h"

#include <atomic>
#include <csignal>
#include <cstring>
#include <string>
#include <unistd.h>

namespace sim::capture {

namespace {

// Written by signal handlers.
std::atomic<int> caught{0};
std::atomic<const char *> pending{nullptr};
static_assert(std::atomic<int>::is_always_lock_free);
static_assert(std::atomic<const char *>::is_always_lock_free);

void keep(int number) { caught = number; }

void print(const char *text)
{
    // Nothing could be done about a failure.
    [[maybe_unused]] const auto written = write(STDERR_FILENO, text, std::strlen(text));
}

void giveUp(int)
{
    const char *operation = pending;
    print("zantocrate-capture: no answer to ");
    print(operation != nullptr ? operation : "a call");
    print(" in time\n");
    _exit(1);
}

void handle(int number, void (*handler)(int), int flags)
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigemptyset(&action.sa_mask);
    sigaction(number, &action, nullptr);
}

} // namespace

Interrupted::Interrupted(int number)
    : std::runtime_error("ended by signal " + std::to_string(number)), m_number(number)
{
}

void catchSignals()
{
    for (const int number : {SIGHUP, SIGINT, SIGTERM})
        handle(number, keep, SA_RESETHAND | SA_RESTART);
    handle(SIGALRM, giveUp, 0);
}

void checkSignals()
{
    if (const int number = caught)
        throw Interrupted(number);
}

void armTimeout(const char *operation, unsigned seconds)
{
    pending = operation;
    alarm(seconds);
}

void disarmTimeout() { alarm(0); }

} // namespace sim::capture
