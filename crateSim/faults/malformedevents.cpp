#include "malformedevents.h"

#include <algorithm>
#include <array>
#include <limits>
#include <random>
#include <set>
#include <tuple>

namespace sim {

namespace {

using wire::EventKind;

constexpr int32_t lowest = std::numeric_limits<int32_t>::min();
constexpr int32_t highest = std::numeric_limits<int32_t>::max();

// Names of each level, so that each of them is of the wrong level somewhere.
constexpr std::array<std::string_view, 9> names = {
    "",           "VSet",    "Temp", "Name", "ConnStat", "nonsense", "nineteenlettersname",
    "V:S:et\n\"", "\xff\xfe"};

constexpr std::array<int32_t, 8> indexes = {lowest, -2, -1, 0, 1, 65535, 65536, highest};

constexpr std::array<int32_t, 4> kinds = {lowest, 3, 7, highest};

using Key = std::tuple<int32_t, int32_t, std::string_view>;

// Below 0 all indexes say the same.
Key keyOf(int32_t slot, int32_t channel, std::string_view name)
{
    return {std::max(slot, -1), slot < 0 ? -1 : std::max(channel, -1), name};
}

// Items that a combination of the above hits by chance, those of pulled boards
// included.
std::set<Key> hits(const ItemStore &items)
{
    std::set<Key> found;
    for (ItemId id = 0; id < items.size(); ++id) {
        const Item &item = items.item(id);
        if (std::find(names.begin(), names.end(), item.name) != names.end())
            found.insert(keyOf(item.address.slot, item.address.channel, item.name));
    }
    return found;
}

void addUnknownItems(wire::BatchWriter &batch, const ItemStore &items)
{
    const auto known = hits(items);
    for (const int32_t slot : indexes)
        for (const int32_t channel : indexes)
            for (const auto name : names)
                if (known.count(keyOf(slot, channel, name)) == 0)
                    batch.add(EventKind::Parameter, slot, channel, name, 1.5f);
}

void addUnknownKinds(wire::BatchWriter &batch)
{
    for (const int32_t kind : kinds)
        batch.add(static_cast<EventKind>(kind), 0, 0, "VSet", 1.5f);
}

// One watched item of each shape, with the value of another.
void addWrongShapes(wire::BatchWriter &batch, const ItemStore &items,
                    const std::function<bool(ItemId)> &isWatched,
                    const std::function<void(ItemId)> &touched)
{
    std::array<bool, 4> done{};
    for (ItemId id = 0; id < items.size(); ++id) {
        const Item &item = items.item(id);
        bool &shapeDone = done[static_cast<size_t>(item.shape)];
        if (shapeDone || !isWatched(id))
            continue;
        shapeDone = true;
        const auto &[slot, channel] = item.address;
        if (item.shape == Shape::Text)
            batch.add(EventKind::Parameter, slot, channel, item.name,
                      std::numeric_limits<float>::quiet_NaN());
        else
            batch.add(EventKind::Parameter, slot, channel, item.name, std::string(1023, 't'));
        touched(id);
    }
}

} // namespace

void addMalformedEvents(wire::BatchWriter &batch, const ItemStore &items,
                        const std::function<bool(ItemId)> &isWatched,
                        const std::function<void(ItemId)> &touched)
{
    addUnknownItems(batch, items);
    addUnknownKinds(batch);
    addWrongShapes(batch, items, isWatched, touched);
}

std::string garbage(size_t bytes)
{
    std::minstd_rand random(1);
    std::string made(bytes, '\xff');
    for (size_t index = 1; index < bytes; ++index)
        made[index] = static_cast<char>(random());
    return made;
}

} // namespace sim
