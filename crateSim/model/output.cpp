#include "output.h"

#include <algorithm>

#include "codes.h"

namespace sim {

namespace {

constexpr uint32_t killingConditions =
    channelbit::Unplugged | channelbit::PowerFail | channelbit::OverVoltageProtection;
constexpr uint32_t offConditions =
    killingConditions | channelbit::ExternalDisable | channelbit::TemperatureError;

} // namespace

Output::Output(double loadOhm, double loadFarad) : m_circuit{loadOhm, loadFarad} { startPiece(); }

void Output::configure(const OutputSettings &settings)
{
    m_settings = settings;
    startPiece();
}

// Whatever happens to the output makes a new piece of its way start here. With
// no rate to ramp at, nothing holds the voltage of a channel that is off.
void Output::startPiece()
{
    if (!m_on && m_settings.rampDown == 0)
        m_voltage = 0;
    m_drive = {m_on ? std::min(m_settings.voltage, m_settings.hardLimit) : 0.0, m_settings.rampUp,
               m_settings.rampDown, m_settings.currentLimit};
    m_piece = nextPiece(m_circuit, m_drive, m_voltage);
    while (m_piece.length == Duration(0)) {
        m_voltage = m_piece.to;
        m_piece = nextPiece(m_circuit, m_drive, m_voltage);
    }
    m_inPiece = Duration(0);
    if (!isTripComing())
        m_overCurrentFor = Duration(0);
}

void Output::tripWhenDue()
{
    if (isTripComing() && m_overCurrentFor >= m_settings.tripTime)
        trip(channelbit::InternalTrip);
}

Duration Output::untilChange() const
{
    const Duration rest =
        m_piece.length == Duration::max() ? m_piece.length : m_piece.length - m_inPiece;
    return isTripComing() ? std::min(rest, m_settings.tripTime - m_overCurrentFor) : rest;
}

void Output::pass(Duration time)
{
    m_inPiece += time;
    m_voltage = m_piece.at(m_inPiece);
    if (isTripComing())
        m_overCurrentFor += time;
    if (m_inPiece >= m_piece.length)
        startPiece();
    tripWhenDue();
}

void Output::advance(Duration time)
{
    tripWhenDue();
    while (time > Duration(0) && !isSettled()) {
        const Duration part = std::min(time, untilChange());
        pass(part);
        time -= part;
    }
}

bool Output::switchOn()
{
    if (m_trips != 0 || (m_conditions & offConditions) != 0)
        return false;
    m_on = true;
    startPiece();
    return true;
}

void Output::switchOff()
{
    m_on = false;
    if (!m_settings.rampOff)
        m_voltage = 0;
    startPiece();
}

void Output::kill()
{
    m_on = false;
    m_voltage = 0;
    startPiece();
}

void Output::trip(uint32_t tripBit)
{
    m_trips |= tripBit;
    switchOff();
}

void Output::setConditions(uint32_t bits)
{
    const uint32_t fresh = bits & ~m_conditions;
    m_conditions = bits;
    if ((fresh & killingConditions) != 0)
        kill();
    else if ((fresh & offConditions) != 0)
        switchOff();
}

uint32_t Output::status() const
{
    uint32_t bits = m_trips | m_conditions;
    const auto set = [&bits](bool condition, uint32_t bit) { bits |= condition ? bit : 0; };
    set(m_on, channelbit::On);
    set(m_piece.to > m_piece.from, channelbit::RampingUp);
    set(m_piece.to < m_piece.from, channelbit::RampingDown);
    set(isOverCurrent(), channelbit::OverCurrent);
    set(isOverCurrent() && m_voltage < m_drive.voltage, channelbit::UnderVoltage);
    set(m_on && m_voltage > m_settings.hardLimit, channelbit::OverVoltage);
    set(m_on && m_settings.voltage > m_settings.hardLimit && m_voltage >= m_settings.hardLimit,
        channelbit::HvMax);
    set(m_on && m_voltage != 0 && m_piece.isSteady() && current() < m_settings.currentMinimum,
        channelbit::UnderCurrent);
    return bits;
}

} // namespace sim
