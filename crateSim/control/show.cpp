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

Json itemJson(const ShownValues &shown, ItemId id)
{
    const Item &item = shown.items().item(id);
    Json fields = {
        {"name", item.name}, {"type", typeWord(item)},           {"mode", wordOf(item.mode)},
        {"unit", ""},        {"value", toJson(shown.value(id))}, {"role", ""}};
    if (item.parameter == nullptr)
        return fields;
    fields["unit"] = unitSymbol(item.parameter->unit, item.parameter->exponent);
    if (item.parameter->role != Role::None)
        fields["role"] = wordOf(item.parameter->role);
    if (item.parameter->type == ParamType::Numeric)
        fields["decimals"] = item.parameter->decimals;
    if (item.parameter->type == ParamType::OnOff)
        fields["labels"] = {item.parameter->offLabel, item.parameter->onLabel};
    return fields;
}

Json itemsJson(const SimulationState &state, Address address)
{
    Json fields = Json::array();
    for (const ItemId id : itemsAt(state.crate, address))
        fields.push_back(itemJson(state.shown, id));
    return fields;
}

// The measurements and set-points that a row of the channel table has.
constexpr std::pair<Role, const char *> rowRoles[] = {
    {Role::VoltageSet, "voltageSet"},
    {Role::CurrentSet, "currentSet"},
    {Role::Voltage, "voltage"},
    {Role::Current, "current"},
};

Json channelRow(const SimulationState &state, const Board &board, size_t index)
{
    const Channel &channel = board.channel(index);
    const ShownValues &shown = state.shown;
    Json row = {{"channel", index},
                {"name", toJson(shown.value(channel.nameItem()))},
                {"on", (channel.status() & channelbit::On) != 0},
                {"status", channel.status()},
                {"statusText", wordsOf(channelStatusWords, channel.status())},
                {"units", Json::object()},
                {"decimals", Json::object()}};
    for (const auto &[role, key] : rowRoles) {
        const auto id = channel.itemOf(role);
        if (!id)
            continue;
        const auto &parameter = *shown.items().item(*id).parameter;
        row[key] = toJson(shown.value(*id));
        row["units"][key] = unitSymbol(parameter.unit, parameter.exponent);
        row["decimals"][key] = parameter.decimals;
    }
    return row;
}

uint32_t boardStatus(const SimulationState &state, const Board &board)
{
    const auto id = board.itemOf(Role::BoardStatus);
    return id ? static_cast<uint32_t>(toNumber(state.shown.value(*id))) : 0;
}

Json slotJson(const SimulationState &state, int32_t slot, const Board &board)
{
    const auto &description = board.description();
    const uint32_t status = boardStatus(state, board);
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

Json clockJson(const SimulationState &state)
{
    return {{"paused", state.clock.isPaused()},
            {"speed", state.clock.speed()},
            {"uptime", std::chrono::duration<double>(state.crate.uptime()).count()}};
}

Json showCrate(const SimulationState &state)
{
    const Crate &crate = state.crate;
    Json slots = Json::array();
    for (int32_t slot = 0; slot < static_cast<int32_t>(crate.slotCount()); ++slot)
        if (const Board *board = crate.boardOf(slot))
            slots.push_back(slotJson(state, slot, *board));
    Json commands = Json::array();
    for (const auto &command : crate.description().commands)
        commands.push_back(command.name);
    return {{"name", crate.description().name}, {"slotCount", crate.slotCount()},
            {"clock", clockJson(state)},        {"slots", slots},
            {"items", itemsJson(state, {})},    {"commands", commands}};
}

Json showBoard(const SimulationState &state, int32_t slot, const Board &board)
{
    Json fields = slotJson(state, slot, board);
    fields["items"] = itemsJson(state, {slot, -1});
    fields["channelRows"] = Json::array();
    for (size_t index = 0; index < board.channelCount(); ++index)
        fields["channelRows"].push_back(channelRow(state, board, index));
    return fields;
}

Json showChannel(const SimulationState &state, Address address, const Board &board)
{
    const auto index = static_cast<size_t>(address.channel);
    if (index >= board.channelCount())
        throw ControlError(reasonAt(state.crate, address, Result::NoChannel));
    Json fields = channelRow(state, board, index);
    fields["slot"] = address.slot;
    fields["present"] = board.isPresent();
    fields["items"] = itemsJson(state, address);
    return fields;
}

} // namespace

Json show(SimulationState &state, const Json &request)
{
    const Address address = addressOf(request);
    if (address.slot < 0)
        return showCrate(state);
    const Board *board = state.crate.boardOf(address.slot);
    if (board == nullptr)
        throw ControlError(reasonAt(state.crate, address, Result::NoSlot));
    Json fields = address.channel < 0 ? showBoard(state, address.slot, *board)
                                      : showChannel(state, address, *board);
    fields["clock"] = clockJson(state);
    return fields;
}

} // namespace sim::control
