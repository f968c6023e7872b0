#include "stream.h"

#include <algorithm>

namespace sim {

namespace {

bool isEnd(FaultKind kind)
{
    return kind == FaultKind::DropEvents || kind == FaultKind::ResetEvents ||
           kind == FaultKind::HalfCloseEvents;
}

auto ofKind(FaultKind kind)
{
    return [kind](const FaultOrder &order) { return order.kind == kind; };
}

} // namespace

void StreamFaults::add(const ActiveFault &fault)
{
    const bool known = std::any_of(m_active.begin(), m_active.end(),
                                   [&](const auto &each) { return each.number == fault.number; });
    if (!known)
        m_active.push_back(fault);
}

template <class Condition> std::optional<FaultOrder> StreamFaults::take(Condition applies)
{
    const auto found = std::find_if(m_active.begin(), m_active.end(),
                                    [&](const auto &each) { return applies(each.order); });
    if (found == m_active.end())
        return std::nullopt;
    const FaultOrder taken = found->order;
    m_counts.add(taken.kind);
    consume(m_active, found);
    return taken;
}

size_t StreamFaults::takeGarbage()
{
    const auto taken = take(ofKind(FaultKind::GarbageEvents));
    return taken ? static_cast<size_t>(taken->bytes) : 0;
}

bool StreamFaults::takeMalformedEvents()
{
    return take(ofKind(FaultKind::UnknownEvents)).has_value();
}

size_t StreamFaults::piece(size_t bytes) const
{
    auto piece = static_cast<int64_t>(bytes);
    for (const auto &[number, order] : m_active) {
        if (isEnd(order.kind))
            piece = std::min(piece, order.offset);
        else if (order.kind == FaultKind::SplitEvents)
            piece = std::min(piece, order.chunk);
    }
    return static_cast<size_t>(piece);
}

bool StreamFaults::isSplit() const
{
    return std::any_of(m_active.begin(), m_active.end(),
                       [](const auto &each) { return each.order.kind == FaultKind::SplitEvents; });
}

void StreamFaults::noteSent(size_t bytes)
{
    for (auto &[number, order] : m_active)
        if (isEnd(order.kind))
            order.offset -= static_cast<int64_t>(bytes);
}

void StreamFaults::noteBatchSent() { take(ofKind(FaultKind::SplitEvents)); }

std::optional<FaultKind> StreamFaults::takeEnd()
{
    const auto taken =
        take([](const FaultOrder &order) { return isEnd(order.kind) && order.offset == 0; });
    return taken ? std::optional(taken->kind) : std::nullopt;
}

} // namespace sim
