#include "ZANTOclock.h"

namespace {

std::time_t now() { return std::time(nullptr); }

void pauseThread(std::chrono::milliseconds time)
{
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    const std::chrono::nanoseconds rest = time - seconds;
    timespec duration = {};
    duration.tv_sec = static_cast<decltype(duration.tv_sec)>(seconds.count());
    duration.tv_nsec = static_cast<decltype(duration.tv_nsec)>(rest.count());
    nanosleep(&duration, nullptr);
}

} // namespace

const ZANTOClock ZANTOSystemClock = {now, std::chrono::steady_clock::now, pauseThread};

std::atomic<const ZANTOClock *> ZANTOPresentClock{&ZANTOSystemClock};
