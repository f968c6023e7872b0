#include "channel.h"

#include <algorithm>
#include <cmath>

#include "codes.h"

namespace sim {

Channel::Channel(ItemStore &items, Address address, const ChannelDescription &description,
                 const ModelDescription &model)
    : m_items(items),
      m_first(items.add({address, "Name", Mode::ReadWrite, Shape::Text, nullptr, nullptr},
                        description.name)),
      m_model(model), m_load(description.load),
      m_output(description.load.ohm, description.load.farad)
{
    for (const auto &parameter : model.channel) {
        const ItemId id = items.add(
            {address, parameter.name, parameter.mode, shapeOf(parameter.type), &parameter, nullptr},
            startOf(parameter, description.start));
        if (parameter.role != Role::None)
            m_roles[static_cast<size_t>(parameter.role)] = id;
    }
    if (const auto id = itemOf(Role::Voltage))
        m_voltage.readBack.emplace(*id, *items.item(*id).parameter);
    if (const auto id = itemOf(Role::Current))
        m_current.readBack.emplace(*id, *items.item(*id).parameter);
    configure();
    if (setting(Role::Power, 0) != 0)
        m_output.switchOn();
}

// The value of an item in the unit without its exponent. A module knows no
// sign: what counts below 0 is 0.
double Channel::setting(Role role, double missing) const
{
    const auto id = itemOf(role);
    if (!id)
        return missing;
    const double number = toNumber(m_items.value(*id)) * unitFactor(*m_items.item(*id).parameter);
    return std::max(0.0, number);
}

Duration Channel::tripTime() const
{
    const auto id = itemOf(Role::TripTime);
    if (!id)
        return Duration::max();
    constexpr double most = 9e9; // seconds; more does not fit a duration
    const double seconds = setting(Role::TripTime, 0);
    const auto maximum = static_cast<double>(m_items.item(*id).parameter->maximum);
    if (toNumber(m_items.value(*id)) >= maximum || seconds > most)
        return Duration::max();
    return Duration(std::llround(seconds * 1e9));
}

void Channel::configure()
{
    constexpr double none = std::numeric_limits<double>::infinity();
    constexpr double defaultRamp = 100;
    OutputSettings settings;
    settings.voltage = setting(Role::VoltageSet, 0);
    settings.currentLimit = setting(Role::CurrentSet, none);
    settings.rampUp = setting(Role::RampUp, defaultRamp);
    settings.rampDown = setting(Role::RampDown, defaultRamp);
    settings.hardLimit = std::min(setting(Role::VoltageLimit, none), m_boardLimit);
    settings.currentMinimum = setting(Role::CurrentMinimum, 0);
    settings.rampOff = setting(Role::PowerDown, 1) != 0;
    settings.tripTime = tripTime();
    m_output.configure(settings);
}

Result Channel::beforeWrite(Role role, const Value &value)
{
    switch (role) {
    case Role::Power:
        if (toNumber(value) == 0)
            switchOff();
        else if (!m_output.switchOn())
            return Result::Locked;
        break;
    case Role::ClearTrip:
        if (toNumber(value) != 0)
            clearTrip();
        break;
    case Role::Voltage:
    case Role::Current:
    case Role::Status:
    case Role::TripCause: return Result::NotWritable; // the output decides these
    default: break;
    }
    return Result::Ok;
}

// What somebody does to the channel shows at once, without noise: no time has
// passed.
void Channel::act()
{
    m_output.advance(Duration(0));
    noteTrips();
    show(0);
}

void Channel::afterWrite()
{
    configure();
    act();
}

void Channel::setBoardLimit(double volts)
{
    m_boardLimit = std::max(0.0, volts);
    afterWrite();
}

void Channel::applyConditions()
{
    m_output.setConditions(m_ownConditions | m_boardConditions);
    act();
}

void Channel::setCondition(uint32_t bit, bool present)
{
    m_ownConditions = present ? m_ownConditions | bit : m_ownConditions & ~bit;
    applyConditions();
}

void Channel::setBoardConditions(uint32_t bits)
{
    m_boardConditions = bits;
    applyConditions();
}

void Channel::trip(uint32_t tripBit)
{
    m_output.trip(tripBit);
    act();
}

void Channel::clearTrip()
{
    m_output.clearTrip();
    act();
}

void Channel::switchOff()
{
    m_output.switchOff();
    act();
}

void Channel::kill()
{
    m_output.kill();
    act();
}

void Channel::noteTrips()
{
    const uint32_t fresh = m_output.trips() & ~m_knownTrips;
    m_tripCount += fresh != 0 && m_knownTrips == 0 ? 1 : 0;
    m_knownTrips = m_output.trips();
    const auto cause = itemOf(Role::TripCause);
    if (!cause || fresh == 0)
        return;
    const bool internal = (fresh & channelbit::InternalTrip) != 0;
    m_items.assign(*cause, std::string(internal ? "over-current" : "external"));
}

void Channel::advance(Duration time)
{
    m_output.advance(time);
    noteTrips();
}

void Channel::publish(Random &random)
{
    if (!isQuiet())
        show(noise(random));
}

// Without a voltage there is no current, so there is no noise either.
double Channel::noise(Random &random) const
{
    if (!m_current.readBack || !isNoisy())
        return 0;
    std::uniform_real_distribution<double> steps(-m_load.noise, m_load.noise);
    return steps(random) * m_current.readBack->step();
}

void Channel::assign(Role role, double number)
{
    if (const auto id = itemOf(role))
        m_items.assign(*id, fromNumber(m_items.item(*id).shape, number));
}

// A steady value is shown as it is, once; noise around it has to pass the
// deadband afterwards.
void Channel::show(Measurement &measurement, double value, double noise)
{
    if (!measurement.readBack)
        return;
    if (m_output.isSteady() && value != measurement.steady) {
        measurement.steady = value;
        measurement.readBack->settle(m_items, value);
        return;
    }
    if (!m_output.isSteady())
        measurement.steady = std::numeric_limits<double>::quiet_NaN();
    measurement.readBack->follow(m_items, std::max(0.0, value + noise));
}

void Channel::show(double noise)
{
    show(m_voltage, m_output.voltage(), 0);
    show(m_current, m_output.current(), noise);
    assign(Role::Status, static_cast<int32_t>(m_output.status()));
    assign(Role::Power, m_output.isOn() ? 1 : 0);
    m_settledShown = isSettled();
}

} // namespace sim
