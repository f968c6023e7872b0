// A running crate. Not thread-safe; does no I/O and knows no clock: time comes
// in through step(). The same description, seed, steps and calls give the same
// state.
#pragma once

#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "board.h"
#include "description.h"
#include "items.h"
#include "result.h"

namespace sim {

// Who writes: a program over the network keeps to the mode of an item and its
// limits, somebody at the crate's front panel only to the limits.
enum class Origin : uint8_t { Network, FrontPanel };

struct Changes {
    std::vector<ItemId> items;
    std::vector<int32_t> insertions; // slots where a board came or went
};

class Crate {
public:
    // Throws std::invalid_argument with the first problem of the description.
    explicit Crate(CrateDescription description, uint64_t seed = 1);
    Crate(const Crate &) = delete;
    Crate &operator=(const Crate &) = delete;

    const CrateDescription &description() const { return m_description; }

    // Lets time pass, none or more of it.
    void step(Duration time);
    // All the time that has passed since the crate was made.
    Duration uptime() const { return m_uptime; }
    // What changed since the last call, in the order of the first change.
    Changes takeChanges();

    size_t slotCount() const { return m_boards.size(); }
    // The board in a slot; null when there is none or it has been pulled.
    const Board *board(int32_t slot) const { return boardIn(slot); }
    // The board that belongs in a slot, pulled or not; null when there is none.
    const Board *boardOf(int32_t slot) const { return boardIn(slot, true); }

    // The number of an item, with the reason when there is none. A pulled
    // board has no items.
    Result find(Address address, std::string_view name, ItemId &id) const;
    const ItemStore &items() const { return m_items; }

    Result read(Address address, std::string_view name, Value &value) const;
    Result write(Address address, std::string_view name, const Value &value, Origin origin);
    Result execute(std::string_view command);

    // Faults from outside, named by their status bit; BadRequest for a bit that
    // cannot come from outside. A condition of a channel goes when both the
    // channel's own and the board's are gone.
    Result tripChannel(Address address, uint32_t tripBit);
    Result setChannelCondition(Address address, uint32_t bit, bool present);
    Result setBoardCondition(int32_t slot, uint32_t bit, bool present);
    Result removeBoard(int32_t slot);
    Result insertBoard(int32_t slot);

private:
    // A property that the crate itself keeps up to date.
    struct KeptProperty {
        PropertyRole role;
        ReadBack readBack;
    };
    using NameIndex = std::unordered_map<std::string_view, ItemId>;
    struct ModelIndex {
        NameIndex board;
        NameIndex channel;
    };

    void buildIndex();
    void addProperties();
    void addBoards();
    Board *boardIn(int32_t slot, bool pulledToo = false) const;
    // NoSlot or NoChannel when there is nothing to act on.
    template <class Action> Result onBoard(int32_t slot, Action action);
    template <class Action> Result onChannel(Address address, Action action);
    Result beforeWrite(const Item &item, const Value &value);
    void afterWrite(const Item &item);
    bool isSettled() const;
    void pass(Duration time);
    void publish();
    void publishProperties();

    const CrateDescription m_description;
    Random m_random;
    ItemStore m_items;
    NameIndex m_properties;
    std::vector<KeptProperty> m_kept;
    std::unordered_map<std::string_view, ModelIndex> m_modelIndex;
    std::vector<std::unique_ptr<Board>> m_boards;
    std::vector<int32_t> m_insertions;
    Duration m_uptime{0};
};

} // namespace sim
