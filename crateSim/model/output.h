// The electrical side of one channel: ramps, load, current limit, trips.
// Volts, amperes, ohms; time comes in from outside and is exact, however it is
// cut into steps. Knows nothing of parameters and their names.
#pragma once

#include <chrono>
#include <cstdint>
#include <limits>

namespace sim {

using Duration = std::chrono::nanoseconds;

struct OutputSettings {
    double voltage = 0;
    double currentLimit = std::numeric_limits<double>::infinity();
    double rampUp = 0;    // V/s
    double rampDown = 0;
    Duration tripTime = Duration::max();  // max: never
    double hardLimit = std::numeric_limits<double>::infinity();
    // Drawing less at a steady voltage is an under-current; 0: nothing is too little.
    double currentMinimum = 0;
    bool rampOff = true;  // off and trips ramp down, otherwise they kill
};

class Output {
public:
    explicit Output(double loadOhm) : m_ohm(loadOhm) {}

    void configure(const OutputSettings &settings) { m_settings = settings; }

    // Lets time pass. A duration of 0 applies what happens at once.
    void advance(Duration time);

    // False while a trip is latched or a condition keeps the channel off.
    bool switchOn();
    void switchOff();
    void kill();

    // Latches one of the two trip bits and switches off.
    void trip(uint32_t tripBit);
    void clearTrip() { m_trips = 0; }

    // Raises or drops a condition, given as its bit of the status word.
    void setCondition(uint32_t bit, bool present);

    bool isOn() const { return m_on; }
    double voltage() const { return m_voltage; }
    double current() const { return m_voltage / m_ohm; }
    uint32_t status() const;

    // True when nothing will change as time passes.
    bool isSettled() const;

private:
    double ceiling() const;   // voltage at which the current limit is reached
    double wanted() const;    // set-point within the hard limit, 0 when off
    double goal() const;      // wanted, within the current limit
    bool isOverCurrent() const;
    void settle();
    Duration move(Duration time);

    const double m_ohm;
    OutputSettings m_settings;
    bool m_on = false;
    double m_voltage = 0;
    Duration m_overCurrentFor{0};
    uint32_t m_trips = 0;
    uint32_t m_conditions = 0;
};

} // namespace sim
