// What differs between the EPICS bases that the server compiles against, in one place.
#pragma once

#include <epicsVersion.h>

// From base 7 on a scan list can be scanned for one priority alone, the base brings pvAccess and
// has a registrar for each of its servers, and a link can ask for a state of the IOC (src/Makefile
// has the definition declare it).
#if EPICS_VERSION >= 7
#define ZANTO_BASE_SCANS_ONE_PRIORITY 1
#define ZANTO_BASE_HAS_SERVER_REGISTRARS 1
#define ZANTO_BASE_HAS_STATE_LINKS 1
#else
#define ZANTO_BASE_SCANS_ONE_PRIORITY 0
#define ZANTO_BASE_HAS_SERVER_REGISTRARS 0
#define ZANTO_BASE_HAS_STATE_LINKS 0
#endif

// Before base 7 an mbboDirect record makes its value from its bits, not the other way round: 3.15
// always, 3.14 once it was invalid.
#if EPICS_VERSION < 7
#define ZANTO_BASE_REBUILDS_BITS 1
#else
#define ZANTO_BASE_REBUILDS_BITS 0
#endif

// From 7.0.3.1 on what is told of the IOC's start is told of its shutdown too. Base 3.14 cannot
// compare whole versions.
#if EPICS_VERSION < 7
#define ZANTO_BASE_TELLS_SHUTDOWN 0
#elif EPICS_VERSION_INT >= VERSION_INT(7, 0, 3, 1)
#define ZANTO_BASE_TELLS_SHUTDOWN 1
#else
#define ZANTO_BASE_TELLS_SHUTDOWN 0
#endif
