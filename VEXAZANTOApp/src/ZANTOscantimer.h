// A timer for what the scans could not do at once.
#pragma once

// Has `expired(user)` called once after `delay` seconds, on a thread of the timers. `timer` is
// the caller's to keep: null at first, made once and kept for ever. False when there is no
// memory for it. One call at a time for one timer; none blocks.
bool ZANTOStartScanTimer(void **timer, void (*expired)(void *user), void *user, double delay);
