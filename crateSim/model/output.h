// The electrical side of one channel: ramps, load, current limit, trips.
// Volts, amperes, ohms; time comes in from outside and is exact, however it is
// cut into steps. Knows nothing of parameters and their names.
#pragma once

#include <cstdint>
#include <limits>

#include "ramp.h"

namespace sim {

// Nothing in it is negative.
struct OutputSettings {
    double voltage = 0;
    double currentLimit = std::numeric_limits<double>::infinity();
    double rampUp = 0; // V/s
    double rampDown = 0;
    Duration tripTime = Duration::max(); // max: never
    double hardLimit = std::numeric_limits<double>::infinity();
    // Drawing less at a steady voltage is an under-current; 0: nothing is too little.
    double currentMinimum = 0;
    bool rampOff = true; // off and trips ramp down, otherwise they kill
};

class Output {
public:
    explicit Output(double loadOhm, double loadFarad = 0);

    void configure(const OutputSettings &settings);

    // Lets time pass. A duration of 0 applies what happens at once.
    void advance(Duration time);

    // False while a trip is latched or a condition keeps the channel off.
    bool switchOn();
    void switchOff();
    void kill();

    // Latches one of the two trip bits and switches off.
    void trip(uint32_t tripBit);
    void clearTrip() { m_trips = 0; }

    // All conditions that are present, as bits of the status word. Some switch
    // the channel off when they appear; none switches it on when it goes.
    void setConditions(uint32_t bits);

    bool isOn() const { return m_on; }
    double voltage() const { return m_voltage; }
    double current() const { return currentIn(m_piece, m_circuit, m_drive, m_voltage); }
    uint32_t trips() const { return m_trips; }
    uint32_t status() const;

    // True when voltage and current stay as they are, for now.
    bool isSteady() const { return m_piece.isSteady(); }
    // True when nothing will change as time passes.
    bool isSettled() const { return isSteady() && !isTripComing(); }

private:
    bool isOverCurrent() const { return m_on && m_piece.limited; }
    bool isTripComing() const { return isOverCurrent() && m_settings.tripTime != Duration::max(); }
    void startPiece();
    Duration untilChange() const;
    void pass(Duration time);
    void tripWhenDue();

    const Circuit m_circuit;
    OutputSettings m_settings;
    bool m_on = false;
    uint32_t m_trips = 0;
    uint32_t m_conditions = 0;
    double m_voltage = 0;
    Drive m_drive;
    Piece m_piece;
    Duration m_inPiece{0};        // time since the piece started
    Duration m_overCurrentFor{0}; // since the limit binds and a trip can come of it
};

} // namespace sim
