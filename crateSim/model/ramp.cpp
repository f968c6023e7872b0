#include "ramp.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace sim {

namespace {

constexpr double infinite = std::numeric_limits<double>::infinity();

// An exponential piece ends this close to its level, for it never gets there.
constexpr double sameVoltage = 1e-6;

// The first whole nanosecond at which that much time has passed. What is over
// a whole one by rounding alone counts as that one.
Duration wholeNanoseconds(double seconds)
{
    constexpr double rounding = 1e-14;
    constexpr double limit = 9e18;
    const double nanoseconds = std::ceil(seconds * 1e9 * (1 - rounding));
    if (!(nanoseconds < limit))
        return Duration::max();
    return Duration(static_cast<int64_t>(std::max(0.0, nanoseconds)));
}

Piece steady(double voltage, bool limited)
{
    Piece piece;
    piece.from = piece.to = voltage;
    piece.limited = limited;
    return piece;
}

Piece linear(double from, double to, double slope, bool limited)
{
    if (slope == 0)
        return steady(from, limited);
    Piece piece;
    piece.from = from;
    piece.to = to;
    piece.slope = slope;
    piece.length = wholeNanoseconds((to - from) / slope);
    piece.limited = limited;
    return piece;
}

Piece exponential(double from, double to, double level, double timeConstant)
{
    Piece piece;
    piece.from = from;
    piece.to = to;
    piece.level = level;
    piece.seconds = timeConstant;
    const double rest = std::max(std::abs(to - level), sameVoltage);
    const double distance = std::max(std::abs(from - level), rest);
    piece.length = wholeNanoseconds(timeConstant * std::log(distance / rest));
    piece.limited = true;
    return piece;
}

// The voltage at which the load and a capacitance charged at that slope take
// all the current there is.
double boundary(const Circuit &circuit, double limit, double slope)
{
    const double charging = circuit.farad * slope;
    if (std::isinf(circuit.ohm))
        return charging > limit ? -infinite : infinite;
    return circuit.ohm * (limit - charging);
}

// The current that is left over charges the capacitance; what is lacking
// discharges it. Without a capacitance the piece takes no time.
Piece limitedPiece(const Circuit &circuit, const Drive &drive, double voltage, double edge)
{
    if (std::isinf(circuit.ohm))
        return linear(voltage, drive.voltage, drive.currentLimit / circuit.farad, true);
    const double level = circuit.ohm * drive.currentLimit;
    const bool driven = drive.voltage < voltage; // down to where the ramp is slower
    const double to = voltage < level ? std::min(drive.voltage, level)
                      : driven        ? std::max(drive.voltage, edge)
                                      : level;
    if (to == voltage)
        return steady(voltage, true);
    return exponential(voltage, to, level, circuit.ohm * circuit.farad);
}

} // namespace

double Piece::at(Duration elapsed) const
{
    if (isSteady() || elapsed >= length)
        return to;
    const double time = static_cast<double>(elapsed.count()) * 1e-9;
    const double voltage =
        seconds > 0 ? level + (from - level) * std::exp(-time / seconds) : from + slope * time;
    return std::clamp(voltage, std::min(from, to), std::max(from, to));
}

Piece nextPiece(const Circuit &circuit, const Drive &drive, double voltage)
{
    const double slope = voltage < drive.voltage   ? drive.rampUp
                         : voltage > drive.voltage ? -drive.rampDown
                                                   : 0.0;
    const double edge = boundary(circuit, drive.currentLimit, slope);
    // On its way up the limit binds from the edge on, on its way down as far as the edge.
    if (voltage > edge || (voltage == edge && voltage < drive.voltage))
        return limitedPiece(circuit, drive, voltage, edge);
    const double to = slope > 0 ? std::min(drive.voltage, edge) : drive.voltage;
    return linear(voltage, to, slope, false);
}

double currentIn(const Piece &piece, const Circuit &circuit, const Drive &drive, double voltage)
{
    if (voltage == 0)
        return 0;
    if (piece.limited)
        return drive.currentLimit;
    const double needed = voltage / circuit.ohm + circuit.farad * piece.slope;
    return std::clamp(needed, 0.0, drive.currentLimit);
}

} // namespace sim
