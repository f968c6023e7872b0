// Events at a rate of one's choice, of values that really move: each subscriber
// gets them for items that it has subscribed, as many as the rate says; some
// more when it shares a part of its items with another one. What moves has no
// effect on the crate, which shows its own values again when the storm is over.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <string_view>
#include <vector>

#include "link.h"
#include "shown.h"

namespace sim {

enum class StormKind : uint8_t { Numeric, Status, OnOff, Integer, Text, Property, Count_ };

constexpr size_t stormKindCount = static_cast<size_t>(StormKind::Count_);

// As the control port calls them.
constexpr std::array<std::string_view, stormKindCount> stormKindNames = {
    "numeric", "status", "on-off", "integer", "text", "property"};

// Shares, relative to each other.
using StormMix = std::array<uint32_t, stormKindCount>;

constexpr StormMix defaultMix = {8, 1, 1, 0, 0, 0};

struct StormOrder {
    double rate = 0; // events per second and subscriber
    std::optional<Duration> length;
    StormMix mix = defaultMix;
    // Events in each batch, which is sent once they are due. An item that moves a
    // second time begins a batch early. 0: whatever is due at a time.
    uint64_t batch = 0;
};

class Storm {
public:
    using Links = std::vector<std::shared_ptr<EventLink>>;
    // Has to send what changed by then.
    using Send = std::function<void()>;

    Storm(const Crate &crate, ShownValues &shown, uint64_t seed)
        : m_crate(crate), m_shown(shown), m_random(seed)
    {
    }

    // Counts from 0 again.
    void start(const StormOrder &order);
    // The crate shows its own values again; the changes are left to be sent.
    void stop();

    bool isRunning() const { return m_running; }
    double rate() const { return m_running ? m_order.rate : 0; }
    // Events that went out, and events that were due to a subscriber that did
    // not keep up.
    uint64_t sent() const { return m_sent; }
    uint64_t dropped() const { return m_dropped; }

    // Lets wall-clock time pass: makes the events that are due and has them
    // sent, in as many batches as it takes for none of them to hide another.
    void advance(Duration time, const Links &links, const Send &send);

private:
    // What a subscriber has subscribed, by kind, and where in the mix it is.
    struct Share {
        std::array<std::vector<ItemId>, stormKindCount> items;
        std::array<size_t, stormKindCount> next{};
        std::array<int64_t, stormKindCount> turn{};
        uint64_t due = 0;
    };

    uint64_t eventsDue(Duration time);
    void renewShares(const Links &links);
    Share shareOf(const EventLink &link) const;
    std::optional<ItemId> pick(Share &share) const;
    void serve(const Links &links, size_t index, const Send &send);
    void sendMoved(const Send &send);
    void move(ItemId item, const Links &links);
    Value differentValue(ItemId item);
    Value differentNumber(const Item &item, double now);

    const Crate &m_crate;
    ShownValues &m_shown;
    std::mt19937_64 m_random;
    StormOrder m_order;
    bool m_running = false;
    Duration m_left{0};
    double m_backlog = 0;
    uint64_t m_sent = 0;
    uint64_t m_dropped = 0;
    uint64_t m_texts = 0;
    unsigned m_untilRenewal = 0;
    std::vector<Share> m_shares; // as the links at the last renewal
    std::vector<bool> m_moved;   // by item, since changes were last sent
    std::vector<ItemId> m_movedItems;
};

} // namespace sim
