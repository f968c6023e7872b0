#include "board.h"

#include <cmath>

namespace sim {

namespace {

constexpr double roomTemperature = 27.0;
constexpr double kelvinPerWatt = 0.2;
constexpr double heatingSeconds = 60.0;  // time constant
constexpr double sameTemperature = 0.01;
constexpr double underTemperature = 5.0;
constexpr double overTemperature = 65.0;

ItemId addItems(ItemStore &items, int32_t slot, const ModelDescription &model,
                const StartValues &start)
{
    const auto first = static_cast<ItemId>(items.size());
    for (const auto &parameter : model.board)
        items.add({{slot, -1}, parameter.name, parameter.mode, shapeOf(parameter.type),
                   &parameter, nullptr},
                  startOf(parameter, start));
    return first;
}

} // namespace

Board::Board(ItemStore &items, int32_t slot, const BoardDescription &description,
             const CrateDescription &crate)
    : m_items(items),
      m_description(description),
      m_model(*crate.findModel(description.model)),
      m_first(addItems(items, slot, m_model, description.start))
{
    for (size_t index = 0; index < m_model.board.size(); ++index)
        if (m_model.board[index].role != Role::None)
            m_roles[m_model.board[index].role] = m_first + static_cast<ItemId>(index);
    m_channels.reserve(description.channels.size());
    for (const auto &channel : description.channels)
        m_channels.emplace_back(items, Address{slot, static_cast<int32_t>(m_channels.size())},
                                channel, *crate.channelModel(description, channel));
    m_ambient = setting(Role::Temperature, roomTemperature);
    m_temperature = m_ambient;
    afterWrite(Role::BoardVoltageLimit);
    afterWrite(Role::BoardEnable);
    publish();
}

std::optional<ItemId> Board::itemOf(Role role) const
{
    const auto found = m_roles.find(role);
    return found == m_roles.end() ? std::nullopt : std::optional<ItemId>(found->second);
}

double Board::setting(Role role, double missing) const
{
    const auto id = itemOf(role);
    if (!id)
        return missing;
    return toNumber(m_items.value(*id)) * unitFactor(*m_items.item(*id).parameter);
}

void Board::forEachChannel(void (Channel::*action)())
{
    for (auto &channel : m_channels)
        (channel.*action)();
}

void Board::setChannelCondition(uint32_t bit, bool present)
{
    for (auto &channel : m_channels)
        channel.setCondition(bit, present);
}

void Board::remove()
{
    m_present = false;
    setChannelCondition(channelbit::Unplugged, true);
}

void Board::insert()
{
    m_present = true;
    setChannelCondition(channelbit::Unplugged, false);
}

Result Board::beforeWrite(Role role, const Value &value)
{
    if (role == Role::BoardStatus)
        return Result::NotWritable;
    if (role == Role::Temperature) {
        m_ambient = toNumber(value);
        m_temperature = m_ambient;
    }
    return Result::Ok;
}

void Board::afterWrite(Role role)
{
    constexpr double none = std::numeric_limits<double>::infinity();
    if (role == Role::BoardVoltageLimit)
        for (auto &channel : m_channels)
            channel.setBoardLimit(setting(Role::BoardVoltageLimit, none));
    else if (role == Role::BoardEnable)
        setChannelCondition(channelbit::ExternalDisable, setting(Role::BoardEnable, 1) == 0);
    else if (role == Role::Temperature)
        checkTemperature();
    publish();
}

void Board::setCondition(uint32_t bit, bool present)
{
    m_conditions = present ? m_conditions | bit : m_conditions & ~bit;
    if (bit == boardbit::PowerFail)
        setChannelCondition(channelbit::PowerFail, present);
    else if (bit == boardbit::HvCalibration)
        setChannelCondition(channelbit::CalibrationError, present);
    publish();
}

void Board::clearTrips()
{
    forEachChannel(&Channel::clearTrip);
}

double Board::power() const
{
    double sum = 0;
    for (const auto &channel : m_channels)
        sum += channel.power();
    return sum;
}

void Board::heat(double seconds)
{
    const double target = m_ambient + kelvinPerWatt * power();
    const double distance = target - m_temperature;
    m_temperature = std::abs(distance) < sameTemperature
                        ? target
                        : target - distance * std::exp(-seconds / heatingSeconds);
}

void Board::checkTemperature()
{
    const uint32_t before = m_temperatureBits;
    m_temperatureBits = 0;
    if (m_temperature < underTemperature)
        m_temperatureBits |= boardbit::UnderTemperature;
    if (m_temperature > overTemperature)
        m_temperatureBits |= boardbit::OverTemperature;
    const bool hot = (m_temperatureBits & boardbit::OverTemperature) != 0;
    const bool wasHot = (before & boardbit::OverTemperature) != 0;
    if (hot != wasHot)
        setChannelCondition(channelbit::TemperatureError, hot);
}

void Board::advance(Duration time, Random &random)
{
    if (!m_present)
        return;
    for (auto &channel : m_channels)
        channel.advance(time, random);
    heat(std::chrono::duration<double>(time).count());
    checkTemperature();
    publish();
}

void Board::publish()
{
    if (const auto id = itemOf(Role::BoardStatus))
        m_items.assign(*id, static_cast<int32_t>(m_conditions | m_temperatureBits));
    if (const auto id = itemOf(Role::Temperature))
        m_items.assign(*id, quantised(*m_items.item(*id).parameter, m_temperature));
}

} // namespace sim
