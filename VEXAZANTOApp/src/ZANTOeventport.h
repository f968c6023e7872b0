// The port on which the mainframe's event connections are accepted.
#pragma once

#include "ZANTOsocket.h"

// Listens on tcpPort, or the next free port above it, which tcpPort is then. None, with the
// message of what failed, when it cannot listen.
ZANTOSocket ZANTOOpenEventPort();
