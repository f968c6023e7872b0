// Termination signals: noted by their handler, answered by a thread.
#pragma once

#include <cstdint>

// `handler` gets SIGHUP, SIGINT, SIGQUIT and SIGTERM, each once, also where they were
// blocked in the calling thread; SIGPIPE is ignored.
void ZANTOCatchSignals(void (*handler)(int));

// For the handler: notes the signal as a cause of the end and puts the default actions back, so
// that the next one ends the process at once. Safe in a handler.
void ZANTOTakeSignal(int32_t number);

// Starts the thread that ends the process on a signal, also on one noted before. Without it
// the default actions are put back, with a message.
void ZANTOStartSignalAnswer();
