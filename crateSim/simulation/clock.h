// How the crate's time passes with the wall clock's: paused, or so many times
// faster. Does not look at any clock itself.
#pragma once

#include <chrono>

#include "model/output.h"

namespace sim {

class CrateClock {
public:
    static constexpr double slowest = 0.001;
    static constexpr double fastest = 100000;

    explicit CrateClock(std::chrono::milliseconds tick) : m_tick(tick) { setSpeed(1); }

    // False, and nothing changed, beyond slowest and fastest.
    bool setSpeed(double factor);
    double speed() const { return m_speed; }

    void setPaused(bool paused) { m_paused = paused; }
    bool isPaused() const { return m_paused; }

    // Crate time that passes with one tick of the wall clock while not paused.
    Duration modelStep() const { return m_modelStep; }

private:
    const Duration m_tick;
    double m_speed = 1;
    bool m_paused = false;
    Duration m_modelStep{0};
};

} // namespace sim
