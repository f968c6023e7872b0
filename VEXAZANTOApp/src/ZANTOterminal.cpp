#include "ZANTOterminal.h"

#include <termios.h>
#include <unistd.h>

#include <atomic>

namespace {
termios saved;
std::atomic<bool> haveSaved{false}; // set once `saved` is filled
} // namespace

void ZANTOSaveTerminal()
{
    if (isatty(STDIN_FILENO) != 0 && tcgetattr(STDIN_FILENO, &saved) == 0)
        haveSaved = true;
}

void ZANTORestoreTerminal()
{
    // In the background the terminal has the settings of whoever is in front.
    if (haveSaved && tcgetpgrp(STDIN_FILENO) == getpgrp())
        tcsetattr(STDIN_FILENO, TCSANOW, &saved); // to wait for a stopped terminal would hang
}
