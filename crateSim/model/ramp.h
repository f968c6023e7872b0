// How the voltage of one output moves: piece by piece, each with a closed form,
// so that a result never depends on how time is cut into steps. Volts, amperes,
// ohms, farads.
#pragma once

#include <chrono>
#include <limits>

namespace sim {

using Duration = std::chrono::nanoseconds;

struct Circuit {
    double ohm = std::numeric_limits<double>::infinity();
    double farad = 0;
};

// What the module strives for. Nothing in it is negative.
struct Drive {
    double voltage = 0;
    double rampUp = 0; // V/s
    double rampDown = 0;
    double currentLimit = std::numeric_limits<double>::infinity();
};

// One stretch of the way: steady, linear, or exponential towards a level.
struct Piece {
    double from = 0;
    double to = 0;
    double slope = 0;   // of a linear piece, V/s
    double level = 0;   // what an exponential piece tends to
    double seconds = 0; // its time constant; 0: linear or steady
    // Whole nanoseconds until to is reached; max: never. May be 0.
    Duration length = Duration::max();
    bool limited = false; // the current limit decides, not the ramp

    double at(Duration elapsed) const;
    bool isSteady() const { return from == to; }
};

// The piece that starts at a voltage.
Piece nextPiece(const Circuit &circuit, const Drive &drive, double voltage);

// What the module delivers at a voltage within a piece: never below 0, never
// above the limit, and nothing at 0 V.
double currentIn(const Piece &piece, const Circuit &circuit, const Drive &drive, double voltage);

} // namespace sim
