#include "board.h"

#include <algorithm>
#include <cmath>

namespace sim {

namespace {

constexpr double roomTemperature = 27.0;
constexpr double kelvinPerWatt = 0.2;
constexpr double heatingSeconds = 60.0; // time constant
constexpr double sameTemperature = 0.01;
constexpr double underTemperature = 5.0;
constexpr double overTemperature = 65.0;

// What says that a board is too hot to work.
constexpr uint32_t hotBits = boardbit::OverTemperature | boardbit::TemperatureError;

ItemId addItems(ItemStore &items, int32_t slot, const ModelDescription &model,
                const StartValues &start)
{
    const auto first = static_cast<ItemId>(items.size());
    for (const auto &parameter : model.board)
        items.add({{slot, -1},
                   parameter.name,
                   parameter.mode,
                   shapeOf(parameter.type),
                   &parameter,
                   nullptr},
                  startOf(parameter, start));
    return first;
}

} // namespace

Board::Board(ItemStore &items, int32_t slot, const BoardDescription &description,
             const CrateDescription &crate)
    : m_items(items), m_description(description), m_model(*crate.findModel(description.model)),
      m_first(addItems(items, slot, m_model, description.start))
{
    for (size_t index = 0; index < m_model.board.size(); ++index)
        if (m_model.board[index].role != Role::None)
            m_roles[m_model.board[index].role] = m_first + static_cast<ItemId>(index);
    m_channels.reserve(description.channels.size());
    for (const auto &channel : description.channels)
        m_channels.emplace_back(items, Address{slot, static_cast<int32_t>(m_channels.size())},
                                channel, *crate.channelModel(description, channel));
    if (const auto id = itemOf(Role::Temperature))
        m_temperatureItem.emplace(*id, *items.item(*id).parameter);
    m_ambient = setting(Role::Temperature, roomTemperature);
    m_temperature = m_ambient;
    afterWrite(Role::BoardVoltageLimit);
    checkTemperature();
    applyConditions();
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

// Its channels may have something to do again.
void Board::wake()
{
    m_outputsSettled = false;
    m_quiet = false;
}

void Board::forEachChannel(void (Channel::*action)())
{
    wake();
    for (auto &channel : m_channels)
        (channel.*action)();
}

void Board::remove()
{
    m_present = false;
    m_power = 0;
    applyConditions();
}

void Board::insert()
{
    m_present = true;
    m_temperature = m_ambient;
    clearTrips();
    checkTemperature();
    applyConditions();
}

Result Board::beforeWrite(Role role, const Value &value)
{
    if (role == Role::BoardStatus)
        return Result::NotWritable;
    if (role == Role::Temperature) {
        m_ambient = toNumber(value) * unitFactor(*m_items.item(*itemOf(role)).parameter);
        m_temperature = m_ambient;
    }
    return Result::Ok;
}

void Board::afterWrite(Role role)
{
    constexpr double none = std::numeric_limits<double>::infinity();
    if (role == Role::BoardVoltageLimit) {
        wake();
        for (auto &channel : m_channels)
            channel.setBoardLimit(setting(Role::BoardVoltageLimit, none));
    } else if (role == Role::BoardEnable)
        applyConditions();
    else if (role == Role::Temperature)
        checkTemperature();
    show();
}

void Board::setCondition(uint32_t bit, bool present)
{
    m_conditions = present ? m_conditions | bit : m_conditions & ~bit;
    applyConditions();
}

// Everything about the board that its channels have to bear, whatever else
// they have of their own.
void Board::applyConditions()
{
    uint32_t bits = 0;
    const auto impose = [&bits](bool cause, uint32_t bit) { bits |= cause ? bit : 0; };
    impose(!m_present, channelbit::Unplugged);
    impose(setting(Role::BoardEnable, 1) == 0, channelbit::ExternalDisable);
    impose((status() & boardbit::PowerFail) != 0, channelbit::PowerFail);
    impose((status() & boardbit::HvCalibration) != 0, channelbit::CalibrationError);
    impose((status() & hotBits) != 0, channelbit::TemperatureError);
    wake();
    for (auto &channel : m_channels)
        channel.setBoardConditions(bits);
    show();
}

void Board::clearTrips() { forEachChannel(&Channel::clearTrip); }

double Board::finalTemperature() const { return m_ambient + kelvinPerWatt * m_power; }

void Board::measureTemperature(Duration time)
{
    if (!m_present || isTemperatureSettled())
        return;
    const double seconds = std::chrono::duration<double>(time).count();
    const double target = finalTemperature();
    const double distance = target - m_temperature;
    m_temperature = std::abs(distance) < sameTemperature
                        ? target
                        : target - distance * std::exp(-seconds / heatingSeconds);
    checkTemperature();
}

void Board::checkTemperature()
{
    const uint32_t before = m_temperatureBits;
    m_temperatureBits = 0;
    if (m_temperature < underTemperature)
        m_temperatureBits |= boardbit::UnderTemperature;
    if (m_temperature > overTemperature)
        m_temperatureBits |= boardbit::OverTemperature;
    if (m_temperatureBits != before)
        applyConditions();
    m_quiet = false;
}

void Board::advance(Duration time)
{
    if (!m_present || m_outputsSettled)
        return;
    m_outputsSettled = true;
    m_power = 0;
    m_tripCount = 0;
    for (auto &channel : m_channels) {
        channel.advance(time);
        m_outputsSettled = m_outputsSettled && channel.isSettled();
        m_power += channel.power();
        m_tripCount += channel.tripCount();
    }
}

void Board::publish(Random &random)
{
    if (!m_present || m_quiet)
        return;
    m_quiet = true;
    for (auto &channel : m_channels) {
        channel.publish(random);
        m_quiet = m_quiet && channel.isQuiet();
    }
    show();
}

void Board::show()
{
    if (const auto id = itemOf(Role::BoardStatus))
        m_items.assign(*id, fromNumber(m_items.item(*id).shape, status()));
    if (!m_temperatureItem)
        return;
    if (isTemperatureSettled())
        m_temperatureItem->settle(m_items, m_temperature);
    else
        m_temperatureItem->follow(m_items, m_temperature);
}

} // namespace sim
