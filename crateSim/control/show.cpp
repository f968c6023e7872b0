// The crate as somebody in front of it sees it.
#include <fmt/format.h>

#include "model/words.h"
#include "command.h"
#include "placeitems.h"

namespace sim::control {

namespace {

constexpr uint32_t trips = channelbit::ExternalTrip | channelbit::InternalTrip;
constexpr uint32_t ramping = channelbit::RampingUp | channelbit::RampingDown;

template <size_t size> Json wordsOf(const std::array<StatusWord, size> &words, uint32_t status)
{
    Json set = Json::array();
    for (const auto &[bit, word, isCondition] : words)
        if ((status & bit) != 0)
            set.push_back(word);
    return set;
}

std::string_view typeWord(const Item &item)
{
    if (item.parameter != nullptr)
        return wordOf(item.parameter->type);
    return item.property != nullptr ? wordOf(item.property->type) : wordOf(ParamType::Text);
}

Json itemJson(const ItemStore &items, ItemId id)
{
    const Item &item = items.item(id);
    Json shown = {
        {"name", item.name}, {"type", typeWord(item)},           {"mode", wordOf(item.mode)},
        {"unit", ""},        {"value", toJson(items.value(id))}, {"role", ""}};
    if (item.parameter == nullptr)
        return shown;
    shown["unit"] = unitSymbol(item.parameter->unit, item.parameter->exponent);
    if (item.parameter->role != Role::None)
        shown["role"] = wordOf(item.parameter->role);
    if (item.parameter->type == ParamType::Numeric)
        shown["decimals"] = item.parameter->decimals;
    if (item.parameter->type == ParamType::OnOff)
        shown["labels"] = {item.parameter->offLabel, item.parameter->onLabel};
    return shown;
}

Json itemsJson(const Crate &crate, Address address)
{
    Json shown = Json::array();
    for (const ItemId id : itemsAt(crate, address))
        shown.push_back(itemJson(crate.items(), id));
    return shown;
}

// The measurements and set-points that a row of the channel table has.
constexpr std::pair<Role, const char *> rowRoles[] = {
    {Role::VoltageSet, "voltageSet"},
    {Role::CurrentSet, "currentSet"},
    {Role::Voltage, "voltage"},
    {Role::Current, "current"},
};

Json channelRow(const Crate &crate, const Board &board, size_t index)
{
    const Channel &channel = board.channel(index);
    const ItemStore &items = crate.items();
    Json row = {{"channel", index},
                {"name", toJson(items.value(channel.nameItem()))},
                {"on", (channel.status() & channelbit::On) != 0},
                {"status", channel.status()},
                {"statusText", wordsOf(channelStatusWords, channel.status())},
                {"units", Json::object()},
                {"decimals", Json::object()}};
    for (const auto &[role, key] : rowRoles) {
        const auto id = channel.itemOf(role);
        if (!id)
            continue;
        const auto &parameter = *items.item(*id).parameter;
        row[key] = toJson(items.value(*id));
        row["units"][key] = unitSymbol(parameter.unit, parameter.exponent);
        row["decimals"][key] = parameter.decimals;
    }
    return row;
}

uint32_t boardStatus(const Crate &crate, const Board &board)
{
    const auto id = board.itemOf(Role::BoardStatus);
    return id ? static_cast<uint32_t>(toNumber(crate.items().value(*id))) : 0;
}

Json slotJson(const Crate &crate, int32_t slot, const Board &board)
{
    const auto &description = board.description();
    const uint32_t status = boardStatus(crate, board);
    const auto count = [&board](uint32_t bits) {
        size_t channels = 0;
        for (size_t index = 0; index < board.channelCount(); ++index)
            channels += (board.channel(index).status() & bits) != 0 ? 1 : 0;
        return channels;
    };
    return {
        {"slot", slot},
        {"present", board.isPresent()},
        {"model", board.model().name},
        {"description", description.description},
        {"serialNumber", description.serialNumber},
        {"firmware", fmt::format("{}.{:02}", description.firmwareMajor, description.firmwareMinor)},
        {"channels", board.channelCount()},
        {"on", count(channelbit::On)},
        {"ramping", count(ramping)},
        {"tripped", count(trips)},
        {"status", status},
        {"statusText", wordsOf(boardStatusWords, status)}};
}

Json clockJson(const World &world)
{
    return {{"paused", world.clock.isPaused()},
            {"speed", world.clock.speed()},
            {"uptime", std::chrono::duration<double>(world.crate.uptime()).count()}};
}

Json showCrate(const World &world)
{
    const Crate &crate = world.crate;
    Json slots = Json::array();
    for (int32_t slot = 0; slot < static_cast<int32_t>(crate.slotCount()); ++slot)
        if (const Board *board = crate.boardOf(slot))
            slots.push_back(slotJson(crate, slot, *board));
    Json commands = Json::array();
    for (const auto &command : crate.description().commands)
        commands.push_back(command.name);
    return {{"name", crate.description().name}, {"slotCount", crate.slotCount()},
            {"clock", clockJson(world)},        {"slots", slots},
            {"items", itemsJson(crate, {})},    {"commands", commands}};
}

Json showBoard(const Crate &crate, int32_t slot, const Board &board)
{
    Json shown = slotJson(crate, slot, board);
    shown["items"] = itemsJson(crate, {slot, -1});
    shown["channelRows"] = Json::array();
    for (size_t index = 0; index < board.channelCount(); ++index)
        shown["channelRows"].push_back(channelRow(crate, board, index));
    return shown;
}

Json showChannel(const Crate &crate, Address address, const Board &board)
{
    const auto index = static_cast<size_t>(address.channel);
    if (index >= board.channelCount())
        throw ControlError(reasonAt(crate, address, Result::NoChannel));
    Json shown = channelRow(crate, board, index);
    shown["slot"] = address.slot;
    shown["present"] = board.isPresent();
    shown["items"] = itemsJson(crate, address);
    return shown;
}

} // namespace

Json show(World &world, const Json &request)
{
    const Address address = addressOf(request);
    if (address.slot < 0)
        return showCrate(world);
    const Board *board = world.crate.boardOf(address.slot);
    if (board == nullptr)
        throw ControlError(reasonAt(world.crate, address, Result::NoSlot));
    Json shown = address.channel < 0 ? showBoard(world.crate, address.slot, *board)
                                     : showChannel(world.crate, address, *board);
    shown["clock"] = clockJson(world);
    return shown;
}

} // namespace sim::control
