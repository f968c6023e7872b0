// The life of the process as its threads see it: its phase, the session, who may use the tree.
//
// The main thread takes the process forward and does the start-up work; records and event
// threads use the tree; whichever thread brings the first cause of the end carries the end out,
// and every other one stops at its next step.
#pragma once

#include "ZANTOlifecycle.h"
#include "ZANTOtreeuse.h"

#include <chrono>
#include <cstdint>

// ---- phases ----

// A new life, in its first phase. For main, first of all, and for tests; while no other thread
// uses any of these functions.
void ZANTOBeginLife();
ZANTOLifeState ZANTOPresentLife() noexcept;

// A step of the main thread. Never returns once the process is ending.
void ZANTOAdvance(ZANTOHappening step);
// The mainframe has answered the login: the session is known to whoever ends the process from
// now on, also if that has begun. Never returns then.
void ZANTOLoggedIn(int32_t handle);

// Brings a cause of the end. Returns on the thread that has brought the first one, as often as
// it likes; never returns on any other.
void ZANTOBeginEnd(ZANTOHappening cause);
// As ZANTOBeginEnd for a termination signal, in its handler: only notes it. True if it is the
// first cause; a thread that handles signals then has to take the end over.
bool ZANTONoteSignal(uint16_t number) noexcept;
// The calling thread ends the process in place of the handler that noted the cause.
void ZANTOTakeOverEnd() noexcept;

bool ZANTOIsEnding() noexcept;
// The calling thread carries out the end.
bool ZANTOIsEnder() noexcept;
// False on a thread that has nothing to say any more because another one ends the process.
bool ZANTOMaySpeak() noexcept;
// Never returns on a thread other than the ender's once the process is ending.
void ZANTOParkIfEnding();
[[noreturn]] void ZANTOPark();

// ---- session ----

// Takes the session, for the one logout that there is: false when there is none, or when it has
// been taken.
bool ZANTOTakeSession(int32_t &handle) noexcept;

// ---- start-up work ----

// The main thread's walk through the mainframe (tree build, subscription), for a scope. An
// end of the process waits for it to reach a checkpoint.
class ZANTOStartupWork {
public:
    ZANTOStartupWork();
    ~ZANTOStartupWork();
    ZANTOStartupWork(const ZANTOStartupWork &) = delete;
    ZANTOStartupWork &operator=(const ZANTOStartupWork &) = delete;
};

// Called after each call of the access library, before anything is made of its result: a call
// may have failed only because of the signal that ends the process. Once the process is ending
// it never returns to the thread that does start-up work, unless that is the ender; it returns
// at once to all others.
void ZANTOStartupCheckpoint();
// As ZANTOStartupCheckpoint, after a pause that an end of the process cuts short.
void ZANTOStartupPause(std::chrono::milliseconds pause);
// For the ender: waits until the start-up work has stopped. False when it did not within
// `limit` because a library call does not return.
bool ZANTOAwaitStartup(std::chrono::milliseconds limit);

// ---- completeness of the tree (its uses: ZANTOTreeUse) ----

// A build of the tree begins: until it ends with ZANTOOpenTree the tree is not complete, even
// if systemNode is set already.
void ZANTOBeginTree();
// The tree is complete: connections of the mainframe that wait for it are served from now on.
void ZANTOOpenTree();
// There is a tree and no build of it is unfinished.
bool ZANTOTreeIsComplete() noexcept;
// Blocks until the tree is complete.
void ZANTOWaitForTree();
// ZANTOTreeUse::close.
bool ZANTOCloseTree(std::chrono::milliseconds limit);
