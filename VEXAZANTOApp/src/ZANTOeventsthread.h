// The listening server for the mainframe's event connections and the threads that read them.
#pragma once

#include "vexahvwrapper.h"

#include <epicsThread.h>

#include <chrono>
#include <cstdint>

// Handle of the listening server's thread, set when it is started.
extern epicsThreadId tcpServerThread;
// Handle of the event thread started last. Written by the server thread alone.
extern epicsThreadId ZANTOEventsThread;

// Listens on tcpPort, or the next free port above it, for connections of the mainframe; each
// becomes the system node's socket and gets an event thread. The argument is not used.
// Returns only when it cannot listen.
extern "C" void tcpServer_Thread(void *);
// Waits until the server has settled on a port or given up; false after `limit`.
bool ZANTOWaitForEventPort(std::chrono::milliseconds limit);

// Reads events from the system node's socket, applies them to the tree and requests the scans
// of the records, until the connection fails; closes the socket. The argument is not used.
extern "C" void ZANTOEvents_Thread(void *);

// Gives the node that the item names its new value. The parameter type code, or -1 when there
// is no such node. Does not wait for a node in use, whose holder then takes the value over:
// whoever takes the node's lockSem later sees it.
int32_t updateNode(int32_t boardIndex, int32_t channelIndex, const char *itemName,
                   const IDValue_t &value);
