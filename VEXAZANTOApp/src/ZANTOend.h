// The end of the process, step by step: for the thread that has brought its first cause.
#pragma once

#include "ZANTOlifecycle.h"

// What ends the process when all is done, EPICS' exit at first; for tests, which leave out the
// pause that it makes.
void ZANTOSetExit(void (*exit)(int status)) noexcept;

// Starts the watchdog of the end, which sleeps until the end begins; more than once is harmless.
// Without a thread to be had the end goes on unwatched.
void ZANTOStartEndWatch();

// Says what the cause of the end has to say, takes back the subscriptions, logs out and frees
// the tree, all that as far as the process had come. Done once; within the deadline of the end,
// or the process is gone.
void ZANTOCloseCrate();

// True until it is too late to take back another subscription. Always true before the end.
bool ZANTOTimeToUnsubscribe() noexcept;

// For EPICS' exit hooks: the crate is closed if the exit is the first cause of the end, and the
// rest of the exit has its deadline. Never returns if another thread ends the process.
void ZANTOCloseCrateInExit();

// Ends the process with status 0, with EPICS' exit hooks unless some thread is in the middle of
// what they would take apart.
[[noreturn]] void ZANTOExit();

// As if no end had begun: with ZANTOBeginLife, for tests.
void ZANTOForgetEnd();

// A thread is inside iocInit: what an exit would take apart is being put together. Any thread.
void ZANTOSetIocInitRunning(bool running) noexcept;
