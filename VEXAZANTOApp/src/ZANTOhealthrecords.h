// Records of the server's own health: device support "ZANTO Health".
#pragma once

#include "ZANTOhealth.h"

// When a record of a figure is processed by the server.
enum class ZANTOFigureShown {
    onceOnly, // never: it does not change
    eachSecond,
    onChange // of the connection
};

// There is a record of any figure.
bool ZANTOHasHealthRecords();
// Processes the records on "I/O Intr" whose figure is shown then, one after the other, as long as
// `goesOn`. Blocks as long as they do.
void ZANTOProcessHealthRecords(ZANTOFigureShown when, bool (*goesOn)());
// The IOC has freed its scan lists; records that are initialised from now on get a new one.
void ZANTOForgetHealthList();

// The rates that are shown.
ZANTOHealthRates &ZANTOPresentRates();
// For the figures that the IOC alone knows: the number of its records, and that its Channel Access
// server runs. None before these calls.
void ZANTOSetRecordCount(int count) noexcept;
void ZANTOSetServerRuns() noexcept;
