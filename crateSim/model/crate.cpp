#include "crate.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "limits.h"
#include "problems.h"

namespace sim {

namespace {

CrateDescription checked(CrateDescription description)
{
    const auto problems = findProblems(description);
    if (!problems.empty())
        throw std::invalid_argument(problems.front().text);
    return description;
}

// How often boards measure their temperature.
constexpr Duration measuringPeriod = std::chrono::seconds(1);

bool isOneOf(uint32_t bit, uint32_t bits) { return bit != 0 && (bit & ~bits) == 0; }

Role roleOf(const Item &item)
{
    return item.parameter != nullptr ? item.parameter->role : Role::None;
}

} // namespace

Crate::Crate(CrateDescription description, uint64_t seed)
    : m_description(checked(std::move(description))), m_random(seed)
{
    buildIndex();
    addProperties();
    addBoards();
    m_items.takeChanges();
}

// Names map to the position within their board or channel; a channel's first
// item is its name.
void Crate::buildIndex()
{
    for (const auto &model : m_description.models) {
        auto &index = m_modelIndex[model.key];
        for (const auto &parameter : model.board)
            index.board.emplace(parameter.name, static_cast<ItemId>(index.board.size()));
        index.channel.emplace("Name", 0);
        for (const auto &parameter : model.channel)
            index.channel.emplace(parameter.name, static_cast<ItemId>(index.channel.size()));
    }
}

void Crate::addProperties()
{
    for (const auto &property : m_description.properties) {
        const ItemId id = m_items.add(
            {{}, property.name, property.mode, shapeOf(property.type), nullptr, &property},
            property.start);
        m_properties[property.name] = id;
        const double resolution = property.role == PropertyRole::OutputPower ? 0.01 : 1;
        if (property.role != PropertyRole::None && property.role != PropertyRole::HostAddress)
            m_kept.push_back({property.role, ReadBack(id, property, resolution)});
    }
}

void Crate::addBoards()
{
    for (const auto &slot : m_description.slots) {
        const auto number = static_cast<int32_t>(m_boards.size());
        m_boards.push_back(slot ? std::make_unique<Board>(m_items, number, *slot, m_description)
                                : nullptr);
    }
}

Board *Crate::boardIn(int32_t slot, bool pulledToo) const
{
    if (slot < 0 || static_cast<size_t>(slot) >= m_boards.size())
        return nullptr;
    Board *board = m_boards[static_cast<size_t>(slot)].get();
    return board != nullptr && (pulledToo || board->isPresent()) ? board : nullptr;
}

template <class Action> Result Crate::onBoard(int32_t slot, Action action)
{
    Board *board = boardIn(slot);
    if (board == nullptr)
        return Result::NoSlot;
    action(*board);
    return Result::Ok;
}

template <class Action> Result Crate::onChannel(Address address, Action action)
{
    Board *board = boardIn(address.slot);
    if (board == nullptr)
        return Result::NoSlot;
    if (!board->hasChannel(address.channel))
        return Result::NoChannel;
    action(board->channel(static_cast<size_t>(address.channel)));
    return Result::Ok;
}

Result Crate::find(Address address, std::string_view name, ItemId &id) const
{
    const auto look = [&](const NameIndex &index, ItemId first) {
        const auto found = index.find(name);
        if (found == index.end())
            return Result::NoItem;
        id = first + found->second;
        return Result::Ok;
    };
    if (address.slot < 0)
        return look(m_properties, 0);
    const Board *board = boardIn(address.slot);
    if (board == nullptr)
        return Result::NoSlot;
    if (address.channel < 0)
        return look(m_modelIndex.at(board->model().key).board, board->firstItem());
    if (!board->hasChannel(address.channel))
        return Result::NoChannel;
    const Channel &channel = board->channel(static_cast<size_t>(address.channel));
    return look(m_modelIndex.at(channel.model().key).channel, channel.nameItem());
}

Result Crate::read(Address address, std::string_view name, Value &value) const
{
    ItemId id = 0;
    if (const Result result = find(address, name, id); result != Result::Ok)
        return result;
    const Mode mode = m_items.item(id).mode;
    if (mode != Mode::Read && mode != Mode::ReadWrite)
        return Result::NotReadable;
    value = m_items.value(id);
    return Result::Ok;
}

Result Crate::write(Address address, std::string_view name, const Value &value, Origin origin)
{
    ItemId id = 0;
    if (const Result result = find(address, name, id); result != Result::Ok)
        return result;
    const Item &item = m_items.item(id);
    const bool writable = item.mode == Mode::Write || item.mode == Mode::ReadWrite;
    if (!writable && origin == Origin::Network)
        return Result::NotWritable;
    if (const Result result = checkValue(item, value); result != Result::Ok)
        return result;
    if (const Result result = beforeWrite(item, value); result != Result::Ok)
        return result;
    m_items.assign(id, value);
    afterWrite(item);
    return Result::Ok;
}

Result Crate::beforeWrite(const Item &item, const Value &value)
{
    if (item.address.slot < 0)
        return Result::Ok;
    auto &board = *m_boards[static_cast<size_t>(item.address.slot)];
    if (item.address.channel < 0)
        return board.beforeWrite(roleOf(item), value);
    return board.channel(static_cast<size_t>(item.address.channel))
        .beforeWrite(roleOf(item), value);
}

void Crate::afterWrite(const Item &item)
{
    const Role role = roleOf(item);
    if (role == Role::None)
        return;
    auto &board = *m_boards[static_cast<size_t>(item.address.slot)];
    if (item.address.channel < 0)
        board.afterWrite(role);
    else
        board.channel(static_cast<size_t>(item.address.channel)).afterWrite();
}

Result Crate::execute(std::string_view command)
{
    const auto &commands = m_description.commands;
    const auto found = std::find_if(commands.begin(), commands.end(),
                                    [&](const auto &each) { return each.name == command; });
    if (found == commands.end())
        return Result::NoCommand;
    for (auto &board : m_boards) {
        if (!board || !board->isPresent())
            continue;
        if (found->action == Action::ClearAlarms)
            board->clearTrips();
        for (size_t index = 0; index < board->channelCount(); ++index) {
            if (found->action == Action::KillAll)
                board->channel(index).kill();
            else if (found->action == Action::SwitchAllOff)
                board->channel(index).switchOff();
        }
    }
    return Result::Ok;
}

Result Crate::tripChannel(Address address, uint32_t tripBit)
{
    if (!isOneOf(tripBit, channelbit::trips))
        return Result::BadRequest;
    return onChannel(address, [&](Channel &channel) { channel.trip(tripBit); });
}

Result Crate::setChannelCondition(Address address, uint32_t bit, bool present)
{
    if (!isOneOf(bit, channelbit::conditions))
        return Result::BadRequest;
    return onChannel(address, [&](Channel &channel) { channel.setCondition(bit, present); });
}

Result Crate::setBoardCondition(int32_t slot, uint32_t bit, bool present)
{
    if (!isOneOf(bit, boardbit::conditions))
        return Result::BadRequest;
    return onBoard(slot, [&](Board &board) { board.setCondition(bit, present); });
}

Result Crate::removeBoard(int32_t slot)
{
    return onBoard(slot, [&](Board &board) {
        board.remove();
        m_insertions.push_back(slot);
    });
}

Result Crate::insertBoard(int32_t slot)
{
    Board *board = boardIn(slot, true);
    if (board == nullptr)
        return Result::NoSlot;
    if (board->isPresent())
        return Result::Refused;
    board->insert();
    m_insertions.push_back(slot);
    return Result::Ok;
}

bool Crate::isSettled() const
{
    return std::all_of(m_boards.begin(), m_boards.end(),
                       [](const auto &board) { return !board || board->isSettled(); });
}

// At most until the next measurement is due.
void Crate::pass(Duration time)
{
    m_uptime += time;
    for (auto &board : m_boards)
        if (board)
            board->advance(time);
    if (time == Duration(0) || m_uptime % measuringPeriod != Duration(0))
        return;
    for (auto &board : m_boards)
        if (board)
            board->measureTemperature(measuringPeriod);
}

// Measurements are due at fixed moments of the crate's time: what comes of them
// does not depend on the steps either.
void Crate::step(Duration time)
{
    // Counts anew before the counter overflows: at the highest speed a day may be enough.
    constexpr Duration century = std::chrono::hours(24) * 36525;
    static_assert(century % measuringPeriod == Duration(0));
    m_uptime %= century;
    do {
        const Duration part = std::min(time, measuringPeriod - m_uptime % measuringPeriod);
        pass(part);
        time -= part;
    } while (time > Duration(0) && !isSettled());
    m_uptime += time;
    publish();
}

void Crate::publish()
{
    for (auto &board : m_boards)
        if (board)
            board->publish(m_random);
    publishProperties();
}

void Crate::publishProperties()
{
    const bool settled = isSettled();
    double power = 0;
    uint32_t trips = 0;
    for (const auto &board : m_boards) {
        power += board && board->isPresent() ? board->power() : 0.0;
        trips += board ? board->tripCount() : 0;
    }
    const auto minutes = std::chrono::duration_cast<std::chrono::minutes>(m_uptime).count();
    for (const auto &[role, readBack] : m_kept) {
        if (role == PropertyRole::UptimeMinutes)
            readBack.settle(m_items, static_cast<double>(minutes));
        else if (role == PropertyRole::TripCount)
            readBack.settle(m_items, trips % (UINT16_MAX + 1));
        else if (settled)
            readBack.settle(m_items, power);
        else
            readBack.follow(m_items, power);
    }
}

Changes Crate::takeChanges() { return {m_items.takeChanges(), std::exchange(m_insertions, {})}; }

} // namespace sim
