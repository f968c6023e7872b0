// The server's health at the turns of iocInit.
#pragma once

// From now on iocInit begins the health watch if there is a record of the server's health or a link
// to the state of the events; otherwise nothing is begun. To be called on the thread that runs
// iocInit, before it initialises the records; more than once is harmless.
void ZANTORegisterHealthHooks();
