#include "output.h"

#include <algorithm>
#include <cmath>

#include "codes.h"

namespace sim {

namespace {

// Differences below this are rounding, not voltage.
constexpr double sameVoltage = 1e-6;

constexpr uint32_t killingConditions = channelbit::Unplugged | channelbit::PowerFail
                                       | channelbit::OverVoltageProtection;
constexpr uint32_t offConditions =
    killingConditions | channelbit::ExternalDisable | channelbit::TemperatureError;

Duration timeFor(double volts, double rate)
{
    const double nanoseconds = std::ceil(volts / rate * 1e9);
    constexpr double limit = 9e18;
    return nanoseconds < limit ? Duration(static_cast<int64_t>(nanoseconds)) : Duration::max();
}

} // namespace

double Output::ceiling() const
{
    return std::isinf(m_ohm) ? m_ohm : m_settings.currentLimit * m_ohm;
}

double Output::wanted() const
{
    return m_on ? std::min(m_settings.voltage, m_settings.hardLimit) : 0.0;
}

double Output::goal() const
{
    return std::min(wanted(), ceiling());
}

bool Output::isOverCurrent() const
{
    return m_on && wanted() > ceiling() && m_voltage >= ceiling() - sameVoltage;
}

bool Output::isSettled() const
{
    return m_voltage == goal() && !isOverCurrent();
}

// The current limit holds at once; a trip is due the moment its time is up.
void Output::settle()
{
    if (m_on && m_voltage > ceiling())
        m_voltage = ceiling();
    if (!isOverCurrent())
        m_overCurrentFor = Duration(0);
    else if (m_settings.tripTime != Duration::max() && m_overCurrentFor >= m_settings.tripTime)
        trip(channelbit::InternalTrip);
}

// Moves towards the goal for at most the given time and returns the time
// used, which is less when the goal is reached before.
Duration Output::move(Duration time)
{
    const double distance = goal() - m_voltage;
    const double rate = distance > 0 ? m_settings.rampUp : m_settings.rampDown;
    if (distance == 0 || rate <= 0)
        return time;
    const Duration used = std::min(time, timeFor(std::abs(distance), rate));
    const double moved = rate * static_cast<double>(used.count()) * 1e-9;
    if (moved >= std::abs(distance) - sameVoltage)
        m_voltage = goal();
    else
        m_voltage += std::copysign(moved, distance);
    return used;
}

void Output::advance(Duration time)
{
    settle();
    while (time > Duration(0) && !isSettled()) {
        Duration part = time;
        const bool counting = isOverCurrent() && m_settings.tripTime != Duration::max();
        if (counting)
            part = std::min(part, m_settings.tripTime - m_overCurrentFor);
        part = move(part);
        if (counting)
            m_overCurrentFor += part;
        time -= part;
        settle();
    }
}

bool Output::switchOn()
{
    if (m_trips != 0 || (m_conditions & offConditions) != 0)
        return false;
    m_on = true;
    return true;
}

void Output::switchOff()
{
    m_on = false;
    if (!m_settings.rampOff)
        m_voltage = 0;
}

void Output::kill()
{
    m_on = false;
    m_voltage = 0;
}

void Output::trip(uint32_t tripBit)
{
    m_trips |= tripBit;
    m_overCurrentFor = Duration(0);
    switchOff();
}

void Output::setCondition(uint32_t bit, bool present)
{
    m_conditions = present ? m_conditions | bit : m_conditions & ~bit;
    if (!present)
        return;
    if ((bit & killingConditions) != 0)
        kill();
    else if ((bit & offConditions) != 0)
        switchOff();
}

uint32_t Output::status() const
{
    uint32_t bits = m_trips | m_conditions;
    const auto set = [&bits](bool condition, uint32_t bit) { bits |= condition ? bit : 0; };
    const bool overCurrent = isOverCurrent();
    set(m_on, channelbit::On);
    set(m_voltage < goal(), channelbit::RampingUp);
    set(m_voltage > goal(), channelbit::RampingDown);
    set(overCurrent, channelbit::OverCurrent | channelbit::UnderVoltage);
    set(m_on && m_voltage > m_settings.hardLimit, channelbit::OverVoltage);
    set(m_on && m_settings.voltage > m_settings.hardLimit && m_voltage >= m_settings.hardLimit,
        channelbit::HvMax);
    set(m_on && m_voltage != 0 && m_voltage == goal() && current() < m_settings.currentMinimum,
        channelbit::UnderCurrent);
    return bits;
}

} // namespace sim
