#include "storm.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace sim {

namespace {

// Subscriptions and boards come and go; a storm notices after so many advances.
constexpr unsigned renewal = 50;

// A process that could not run makes up for this much, and no more.
constexpr double longestBacklog = 0.25;

// Whether nothing follows from an item that shows another value for a while.
bool canOverride(const Item &item)
{
    if (item.property != nullptr)
        return true;
    if (item.parameter == nullptr)
        return false;
    switch (item.parameter->role) {
    case Role::None:
    case Role::Voltage:
    case Role::Current:
    case Role::Status:
    case Role::TripCause:
    case Role::BoardStatus:
    case Role::Temperature: return true;
    default: return false;
    }
}

std::optional<StormKind> kindOf(const Item &item)
{
    if (item.mode == Mode::None || item.mode == Mode::Write || !canOverride(item))
        return std::nullopt;
    if (item.property != nullptr)
        return StormKind::Property;
    const auto &parameter = *item.parameter;
    const bool moves = parameter.maximum > parameter.minimum;
    switch (parameter.type) {
    case ParamType::Numeric: return moves ? std::optional(StormKind::Numeric) : std::nullopt;
    case ParamType::OnOff: return StormKind::OnOff;
    case ParamType::ChannelStatus:
    case ParamType::BoardStatus: return StormKind::Status;
    case ParamType::Integer:
    case ParamType::Enumeration: return moves ? std::optional(StormKind::Integer) : std::nullopt;
    case ParamType::Text: break;
    }
    return StormKind::Text;
}

// What lies within the limits of the item and those of its shape.
std::pair<double, double> rangeOf(const Item &item)
{
    const auto [low, high] = rangeOf(item.shape);
    return {std::clamp<double>(item.parameter->minimum, low, high),
            std::clamp<double>(item.parameter->maximum, low, high)};
}

// The bits that a status word may have.
uint32_t statusBits(ParamType type) { return type == ParamType::BoardStatus ? 0x3f : 0xffff; }

} // namespace

void Storm::start(const StormOrder &order)
{
    stop();
    m_order = order;
    m_running = true;
    m_left = order.length.value_or(Duration::max());
    m_backlog = 0;
    m_sent = 0;
    m_dropped = 0;
    m_untilRenewal = 0;
    m_moved.assign(m_crate.items().size(), false);
    m_movedItems.clear();
}

void Storm::stop()
{
    m_running = false;
    m_shown.clear();
}

uint64_t Storm::eventsDue(Duration time)
{
    m_backlog += m_order.rate * static_cast<double>(time.count()) * 1e-9;
    const uint64_t batch = std::max<uint64_t>(m_order.batch, 1);
    m_backlog =
        std::min(m_backlog, std::max(static_cast<double>(batch), m_order.rate * longestBacklog));
    auto due = static_cast<uint64_t>(m_backlog);
    due -= due % batch;
    m_backlog -= static_cast<double>(due);
    return due;
}

void Storm::advance(Duration time, const Links &links, const Send &send)
{
    if (!m_running)
        return;
    if (m_untilRenewal == 0 || m_shares.size() != links.size())
        renewShares(links);
    --m_untilRenewal;
    const uint64_t due = eventsDue(std::min(time, m_left));
    for (auto &share : m_shares)
        share.due = due;
    for (size_t index = 0; index < links.size(); ++index)
        serve(links, index, send);
    m_left -= m_order.length ? std::min(time, m_left) : Duration(0);
    if (m_left == Duration(0))
        stop();
    sendMoved(send);
}

void Storm::sendMoved(const Send &send)
{
    send();
    for (const ItemId moved : m_movedItems)
        m_moved[moved] = false;
    m_movedItems.clear();
}

void Storm::renewShares(const Links &links)
{
    m_untilRenewal = renewal;
    m_shares.resize(links.size());
    for (size_t index = 0; index < links.size(); ++index) {
        Share share = shareOf(*links[index]);
        // The walk goes on where it was, so that every item has its turn.
        share.next = m_shares[index].next;
        m_shares[index] = std::move(share);
    }
}

Storm::Share Storm::shareOf(const EventLink &link) const
{
    Share share;
    for (ItemId id = 0; id < m_crate.items().size(); ++id) {
        const Item &item = m_crate.items().item(id);
        const bool isThere = item.address.slot < 0 || m_crate.board(item.address.slot) != nullptr;
        const auto kind = kindOf(item);
        if (kind && isThere && link.isSubscribed(id))
            share.items[static_cast<size_t>(*kind)].push_back(id);
    }
    return share;
}

// Each kind gains its share with every turn, and the largest one pays for it:
// the kinds come evenly mixed.
std::optional<ItemId> Storm::pick(Share &share) const
{
    std::optional<size_t> largest;
    int64_t total = 0;
    for (size_t kind = 0; kind < stormKindCount; ++kind) {
        if (share.items[kind].empty() || m_order.mix[kind] == 0)
            continue;
        total += m_order.mix[kind];
        share.turn[kind] += m_order.mix[kind];
        if (!largest || share.turn[kind] > share.turn[*largest])
            largest = kind;
    }
    if (!largest)
        return std::nullopt;
    share.turn[*largest] -= total;
    const auto &items = share.items[*largest];
    size_t &next = share.next[*largest];
    next = next + 1 < items.size() ? next + 1 : 0;
    return items[next];
}

// An item that moves twice would be one event: what has moved is sent before.
void Storm::serve(const Links &links, size_t index, const Send &send)
{
    Share &share = m_shares[index];
    while (share.due > 0) {
        const EventLink &link = *links[index];
        if (!link.isConnected())
            return;
        if (link.isBusy()) {
            m_dropped += std::exchange(share.due, 0);
            return;
        }
        const auto item = pick(share);
        if (!item)
            return;
        // Nobody would get the event, and it would be due for ever.
        if (!link.isSubscribed(*item)) {
            --share.due;
            continue;
        }
        if (m_moved[*item])
            sendMoved(send);
        move(*item, links);
        if (m_movedItems.size() == m_order.batch)
            sendMoved(send);
    }
}

void Storm::move(ItemId item, const Links &links)
{
    m_shown.override(item, differentValue(item));
    m_moved[item] = true;
    m_movedItems.push_back(item);
    for (size_t index = 0; index < links.size(); ++index) {
        const EventLink &link = *links[index];
        if (!link.isConnected() || !link.isSubscribed(item))
            continue;
        uint64_t &due = m_shares[index].due;
        if (!link.isBusy())
            ++m_sent;
        else if (due > 0)
            ++m_dropped;
        due -= due > 0 ? 1 : 0;
    }
}

Value Storm::differentValue(ItemId id)
{
    const Item &item = m_crate.items().item(id);
    const Value &now = m_shown.value(id);
    if (item.shape == Shape::Text)
        return "storm " + std::to_string(++m_texts);
    return differentNumber(item, toNumber(now));
}

// Never the value that is there.
Value Storm::differentNumber(const Item &item, double now)
{
    if (item.property != nullptr)
        return fromNumber(item.shape, item.property->type == PropertyType::Boolean
                                          ? (now == 0 ? 1 : 0)
                                          : std::fmod(now + 1, 1000));
    const auto &parameter = *item.parameter;
    if (parameter.type == ParamType::OnOff)
        return fromNumber(item.shape, now == 0 ? 1 : 0);
    if (parameter.type == ParamType::ChannelStatus || parameter.type == ParamType::BoardStatus)
        return fromNumber(item.shape,
                          static_cast<double>((static_cast<uint32_t>(static_cast<int64_t>(now)) +
                                               1 + m_random() % 7) &
                                              statusBits(parameter.type)));
    const auto [low, high] = rangeOf(item);
    const double share = static_cast<double>(m_random() >> 11) * 0x1p-53;
    const double steps = stepsPerUnit(parameter);
    const double number = std::round((low + (high - low) * share) * steps) / steps;
    const Value value = fromNumber(item.shape, std::clamp(number, low, high));
    return toNumber(value) != now ? value : fromNumber(item.shape, now == low ? high : low);
}

} // namespace sim
