#include "placeitems.h"

#include "editdistance.h"

namespace sim::control {

namespace {

std::vector<ItemId> itemsFrom(const ItemStore &items, ItemId first, Address address)
{
    std::vector<ItemId> found;
    for (ItemId id = first; id < items.size(); ++id) {
        const Address here = items.item(id).address;
        if (here.slot != address.slot || here.channel != address.channel)
            break;
        found.push_back(id);
    }
    return found;
}

std::string slotText(const Crate &crate, int32_t slot)
{
    const auto text = std::to_string(slot);
    if (crate.boardOf(slot) != nullptr)
        return "no board in slot " + text + ": it has been pulled out";
    return "no board in slot " + text;
}

std::string channelText(const Crate &crate, Address address)
{
    const Board *board = crate.boardOf(address.slot);
    const size_t count = board != nullptr ? board->channelCount() : 0;
    if (address.channel < 0)
        return "the channel is missing";
    return "no such channel: " + std::to_string(address.channel) + "; the board in slot " +
           std::to_string(address.slot) + " has " + std::to_string(count) + ", from 0";
}

} // namespace

std::vector<ItemId> itemsAt(const Crate &crate, Address address)
{
    if (address.slot < 0)
        return itemsFrom(crate.items(), 0, {});
    const Board *board = crate.boardOf(address.slot);
    if (board == nullptr)
        return {};
    if (address.channel < 0)
        return itemsFrom(crate.items(), board->firstItem(), address);
    const auto index = static_cast<size_t>(address.channel);
    if (index >= board->channelCount())
        return {};
    return itemsFrom(crate.items(), board->channel(index).nameItem(), address);
}

std::vector<std::string_view> namesAt(const Crate &crate, Address address)
{
    std::vector<std::string_view> names;
    for (const ItemId id : itemsAt(crate, address))
        names.push_back(crate.items().item(id).name);
    return names;
}

std::string reasonAt(const Crate &crate, Address address, Result result, std::string_view name)
{
    if (result == Result::NoSlot)
        return slotText(crate, address.slot);
    if (result == Result::NoChannel)
        return channelText(crate, address);
    if (result == Result::NoItem)
        return std::string(resultText(result)) + ": \"" + std::string(name) + "\"" +
               suggestion(name, namesAt(crate, address));
    return resultText(result);
}

} // namespace sim::control
