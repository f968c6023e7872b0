// The time of day, the time of deadlines and the pauses of the server.
#pragma once

#include <atomic>
#include <chrono>
#include <ctime>

// Where they come from; tests put their own in place. Any thread may call any function.
struct ZANTOClock {
    // Seconds since 1970, for time stamps.
    std::time_t (*now)();
    // For deadlines: never goes back.
    std::chrono::steady_clock::time_point (*steadyNow)();
    // Stops the calling thread for so long, or less when it handles a signal.
    void (*pause)(std::chrono::milliseconds time);
};
// The system's own.
extern const ZANTOClock ZANTOSystemClock;
// The one that is used, never null.
extern std::atomic<const ZANTOClock *> ZANTOPresentClock;

inline std::time_t ZANTONow() { return ZANTOPresentClock.load()->now(); }
inline std::chrono::steady_clock::time_point ZANTOSteadyNow()
{
    return ZANTOPresentClock.load()->steadyNow();
}
inline void ZANTOPause(std::chrono::milliseconds time) { ZANTOPresentClock.load()->pause(time); }
