#include "channel.h"

#include <algorithm>
#include <cmath>

namespace sim {

Channel::Channel(ItemStore &items, Address address, const ChannelDescription &description,
                 const ModelDescription &model)
    : m_items(items),
      m_first(items.add({address, "Name", Mode::ReadWrite, Shape::Text, nullptr, nullptr},
                        description.name)),
      m_model(model),
      m_load(description.load),
      m_output(description.load.ohm)
{
    for (const auto &parameter : model.channel) {
        const ItemId id = items.add({address, parameter.name, parameter.mode,
                                     shapeOf(parameter.type), &parameter, nullptr},
                                    startOf(parameter, description.start));
        if (parameter.role != Role::None)
            m_roles[static_cast<size_t>(parameter.role)] = id;
    }
    configure();
    if (setting(Role::Power, 0) != 0)
        m_output.switchOn();
}

// The value of an item in the unit without its exponent.
double Channel::setting(Role role, double missing) const
{
    const auto id = itemOf(role);
    if (!id)
        return missing;
    return toNumber(m_items.value(*id)) * unitFactor(*m_items.item(*id).parameter);
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
    if (const auto trip = itemOf(Role::TripTime)) {
        const double seconds = setting(Role::TripTime, 0);
        const auto &parameter = *m_items.item(*trip).parameter;
        const bool never = toNumber(m_items.value(*trip)) >= static_cast<double>(parameter.maximum);
        settings.tripTime = never ? Duration::max()
                                  : Duration(std::llround(seconds * 1e9));
    }
    m_output.configure(settings);
    m_quiet = false;
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

void Channel::afterWrite()
{
    configure();
    const uint32_t before = m_output.status();
    m_output.advance(Duration(0));
    noteTrips(before);
    publish(nullptr);
}

void Channel::setBoardLimit(double volts)
{
    m_boardLimit = volts;
    afterWrite();
}

void Channel::setCondition(uint32_t bit, bool present)
{
    m_output.setCondition(bit, present);
    afterWrite();
}

void Channel::trip(uint32_t tripBit)
{
    const uint32_t before = m_output.status();
    m_output.trip(tripBit);
    noteTrips(before);
    afterWrite();
}

void Channel::clearTrip()
{
    m_output.clearTrip();
    afterWrite();
}

void Channel::switchOff()
{
    m_output.switchOff();
    afterWrite();
}

void Channel::kill()
{
    m_output.kill();
    afterWrite();
}

void Channel::noteTrips(uint32_t before)
{
    const auto cause = itemOf(Role::TripCause);
    const uint32_t fresh = m_output.status() & ~before;
    if (!cause)
        return;
    if ((fresh & channelbit::InternalTrip) != 0)
        m_items.assign(*cause, std::string("over-current"));
    if ((fresh & channelbit::ExternalTrip) != 0)
        m_items.assign(*cause, std::string("external"));
}

void Channel::advance(Duration time, Random &random)
{
    if (m_quiet)
        return;
    const uint32_t before = m_output.status();
    m_output.advance(time);
    noteTrips(before);
    publish(&random);
    m_quiet = m_output.isSettled() && (m_load.noise == 0 || m_output.voltage() == 0);
}

// Without a voltage there is no current, so there is no noise either.
double Channel::noise(Random &random) const
{
    const auto id = itemOf(Role::Current);
    if (!id || m_load.noise == 0 || m_output.voltage() == 0)
        return 0;
    const auto &parameter = *m_items.item(*id).parameter;
    std::uniform_real_distribution<double> steps(-m_load.noise, m_load.noise);
    return steps(random) * unitFactor(parameter) / std::pow(10.0, parameter.decimals);
}

void Channel::publishMeasurement(Role role, double value)
{
    if (const auto id = itemOf(role)) {
        const auto &parameter = *m_items.item(*id).parameter;
        m_items.assign(*id, quantised(parameter, value / unitFactor(parameter)));
    }
}

// Without a random source the current is shown without noise: a write shows
// its immediate effect and lets no time pass.
void Channel::publish(Random *random)
{
    const double noisy = m_output.current() + (random != nullptr ? noise(*random) : 0.0);
    publishMeasurement(Role::Voltage, m_output.voltage());
    publishMeasurement(Role::Current, std::max(0.0, noisy));
    if (const auto id = itemOf(Role::Status))
        m_items.assign(*id, static_cast<int32_t>(m_output.status()));
    if (const auto id = itemOf(Role::Power))
        m_items.assign(*id, m_output.isOn() ? 1u : 0u);
}

} // namespace sim
