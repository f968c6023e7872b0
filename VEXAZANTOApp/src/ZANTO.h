// The crate's life in the process: wait, tree build, subscription, signals, shutdown.
#pragma once

#include <cstdint>
#include <string>

// Logs in, builds the tree under systemNode and writes the start-up files. Main thread, before
// any other uses the tree; blocks as long as the library does. 0, -1 (a file, the host text),
// or the library's code of a refused login.
int32_t createSystemTree(const std::string &sysName, const std::string &sysInitParam,
                         const std::string &usrnm, const std::string &pswd);

// Asks the mainframe to report (non-zero) or no longer report (0) the changes of every
// parameter of the tree. -1 when any name or any level failed; every level is attempted.
int32_t subscribeForParameters(int32_t subscribe);
int32_t subscribeParameters();
int32_t unsubscribeParameters();

// Waits without a limit until a TCP connection to the firmware (port 3180) succeeds: 0. 1 when
// no socket could be made.
int32_t tryToConnectLoop(const char *host);

// SIGHUP, SIGINT, SIGQUIT and SIGTERM end the process in order, once; a second one of them, of
// whichever kind, ends it at once by its default action.
void SetSigShutdownHandler();
// Only notes the signal, so that it is safe in a handler. Numbers from 260 on are ignored.
void SigShutdownHandler(int signal);

// Unsubscribes, logs out, frees the tree and ends the process with status 0. Never returns;
// a thread that comes when another one ends the process already does nothing any more.
[[noreturn]] void Shutdown();

// From now on an exit of EPICS logs out, also one inside the start-up script, and iocInit goes
// no further once the process is ending. Once, before the script.
void ZANTOWatchEpics();
