#include "ZANTOfirmwarewait.h"

#include "ZANTOclock.h"
#include "ZANTOlife.h"
#include "ZANTOmessages.h"
#include "ZANTOsocket.h"
#include "ZANTOtypes.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace {
constexpr uint16_t firmwarePort = 3180;
constexpr std::chrono::seconds tryPeriod{1};
} // namespace

int32_t ZANTOWaitForFirmware(const char *host)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = inet_addr(host);
    address.sin_port = htons(firmwarePort);

    const ZANTOSocket probe(ZANTOSockets().open());
    if (probe.fd() < 1) {
        ZANTOPrintLine("\nUnable to create socket for connection");
        return 1;
    }
    const int on = 1;
    setsockopt(probe.fd(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    ZANTO_TRACE(0, "Attempt to connect to firmware..\n");
    while (ZANTOSockets().connect(probe.fd(), address) != 0) {
        ZANTOParkIfEnding();
        ZANTO_TRACE(0, "error\n");
        ZANTOPause(tryPeriod);
        ZANTOParkIfEnding();
    }
    return 0;
}
