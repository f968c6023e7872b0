// The scan lists of all record types at the turns of iocInit.
#pragma once

// From now on iocInit has the five scan lists take requests once their records are initialised,
// and requests each once when the IOC runs; from then on changed records are processed. To be
// called before iocInit initialises the records; more than once is harmless.
void ZANTORegisterScanHooks();
