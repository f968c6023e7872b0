// The server's messages on standard output.
#pragma once

#include "ZANTOtypes.h"

#include <chrono>
#include <cstdarg>
#include <cstddef>

// As printf, puts and vprintf. Any thread; blocks while the output takes nothing, be it a pipe
// that nobody reads or a terminal that is stopped, but not longer than the process lives: once
// it is ending only the thread that ends it prints, and what the others have to say is dropped.
void ZANTOPrint(const char *format, ...) __attribute__((format(printf, 1, 2)));
void ZANTOPrintLine(const char *text);
void ZANTOPrintList(const char *format, va_list arguments) __attribute__((format(printf, 1, 0)));
// The same for a text as it stands.
void ZANTOPrintText(const char *text, std::size_t length);

// Called before each message, once the output takes it, on the thread that prints; null, as at
// first: nothing is. It must neither print nor block.
void ZANTOSetBeforeMessage(void (*call)());

// ZANTOPrint(format, ...) while DEBUG is above `level`. A macro because the arguments are
// evaluated only then: records are read and events applied at a cost that a call would show in.
#define ZANTO_TRACE(level, ...)                                                                    \
    do {                                                                                           \
        if (DEBUG > (level))                                                                       \
            ZANTOPrint(__VA_ARGS__);                                                               \
    } while (false)

// For the thread that ends the process: its messages wait for the output for `patience` in all
// from now on. What could not be printed is kept and comes before the next message.
void ZANTOSetPrintPatience(std::chrono::milliseconds patience);
// Prints what was kept and flushes the output, within the patience. False when the output takes
// nothing: then nothing may be flushed any more, for that would wait for ever.
bool ZANTOFinishPrinting();
