// The terminal that the interactive shell runs on.
#pragma once

// Remembers the settings of standard input if it is a terminal. Main thread, before the shell.
void ZANTOSaveTerminal();
// Puts them back: the shell's line editing, which changes them, may be in the middle of a line
// when another thread ends the process. Any thread, any number of times.
void ZANTORestoreTerminal();
