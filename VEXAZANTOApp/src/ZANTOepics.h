/// What differs between the EPICS bases that the server compiles against, in one place.
#ifndef ZANTOEPICS_H
#define ZANTOEPICS_H

#include <epicsVersion.h>

/// From base 7 on scanIoRequest tells what it queued, scanIoSetComplete when a pass ended, and the
/// base brings pvAccess and has a registrar for each of its servers.
#if EPICS_VERSION >= 7
#define ZANTO_SCANS_REPORT_COMPLETION 1
#define ZANTO_BASE_HAS_SERVER_REGISTRARS 1
#else
#define ZANTO_SCANS_REPORT_COMPLETION 0
#define ZANTO_BASE_HAS_SERVER_REGISTRARS 0
#endif

#endif
