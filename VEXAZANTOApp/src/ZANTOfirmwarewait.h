// The wait for the mainframe's firmware.
#pragma once

#include <cstdint>

// Tries once a second, without a limit, to connect to the firmware's port: 0. 1 when no socket
// could be made.
int32_t ZANTOWaitForFirmware(const char *host);
