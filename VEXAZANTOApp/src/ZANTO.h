/// The crate's life in the process: wait, tree build, subscription, signals, shutdown.
#ifndef ZANTO_H
#define ZANTO_H

#include <cstdint>
#include <string>

/// Logs in, builds the tree under systemNode and writes the start-up files. Main thread, before
/// any other uses the tree; blocks as long as the library does. 0, -1 (a file, the host text),
/// or the library's code of a refused login.
int32_t createSystemTree(const std::string &sysName, const std::string &sysInitParam,
                         const std::string &usrnm, const std::string &pswd);

/// Asks the mainframe to report (non-zero) or no longer report (0) the changes of every
/// parameter of the tree. -1 when any name or any level failed; every level is attempted.
int32_t subscribeForParameters(int32_t subscribe);
int32_t subscribeParameters();
int32_t unsubscribeParameters();

/// Waits without a limit until a TCP connection to the firmware (port 3180) succeeds: 0. 1 when
/// no socket could be made.
int32_t tryToConnectLoop(const char *host);

/// SIGHUP, SIGINT, SIGQUIT and SIGTERM shut down once; a second one of them, of whichever kind,
/// ends the process at once by its default action.
void SetSigShutdownHandler();
/// Only hands the signal over to the signal thread and puts the default actions back, so that
/// it is safe in a handler. Numbers from 260 on are ignored.
void SigShutdownHandler(int signal);
/// Starts the thread that shuts down on a signal, also on one caught before.
void ZANTOStartSignalThread();

/// Unsubscribes, logs out, frees the tree and ends the process with status 0. Never returns;
/// whichever thread comes second waits for the first to end the process.
[[noreturn]] void Shutdown();

/// Ends the process with status 0 for a main that serves nothing; waits instead when another
/// thread ends it already.
[[noreturn]] void ZANTOLeaveMain();

#endif
