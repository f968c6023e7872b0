// Registrars of the servers of records, by the names that the database definition declares.

#include "ZANTOepics.h"

#include <epicsExport.h>
#include <registryFunction.h>

#if ZANTO_BASE_HAS_SERVER_REGISTRARS

#include <mutex>

extern "C" {
// Base 7's own registrars: the Channel Access server, which older bases start unasked; the
// provider of the IOC's records for pvAccess; the pvAccess server with both its shell commands
// and its start when the IOC runs.
extern void (*pvar_func_rsrvRegistrar)(void);
extern void (*pvar_func_QSRVRegistrar)(void);
extern void (*pvar_func_registerStartPVAServer)(void);
}

namespace {

void dbPvRegister()
{
    pvar_func_rsrvRegistrar();
    pvar_func_QSRVRegistrar();
}

void registerServerOnce()
{
    static std::once_flag registered;
    std::call_once(registered, [] { pvar_func_registerStartPVAServer(); });
}

void startPVAServerRegister() { registerServerOnce(); }
void stopPVAServerRegister() { registerServerOnce(); }

} // namespace

#else

namespace {
void dbPvRegister() {}
void startPVAServerRegister() {}
void stopPVAServerRegister() {}
} // namespace

#endif

extern "C" {
epicsExportRegistrar(dbPvRegister);
epicsExportRegistrar(startPVAServerRegister);
epicsExportRegistrar(stopPVAServerRegister);
}
