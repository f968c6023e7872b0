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
    return [kind](const ActiveFault &each) { return each.order.kind == kind; };
}

} // namespace

void StreamFaults::add(const ActiveFault &fault)
{
    const bool known = std::any_of(m_active.begin(), m_active.end(),
                                   [&](const auto &each) { return each.number == fault.number; });
    if (!known)
        m_active.push_back(fault);
}

ActiveFaults::iterator StreamFaults::find(FaultKind kind)
{
    return std::find_if(m_active.begin(), m_active.end(), ofKind(kind));
}

ActiveFaults::const_iterator StreamFaults::find(FaultKind kind) const
{
    return std::find_if(m_active.begin(), m_active.end(), ofKind(kind));
}

bool StreamFaults::take(FaultKind kind)
{
    const auto found = find(kind);
    if (found == m_active.end())
        return false;
    m_counts.add(kind);
    consume(m_active, found);
    return true;
}

size_t StreamFaults::takeGarbage()
{
    const auto found = find(FaultKind::GarbageEvents);
    if (found == m_active.end())
        return 0;
    const auto bytes = static_cast<size_t>(found->order.bytes);
    m_counts.add(FaultKind::GarbageEvents);
    m_active.erase(found);
    return bytes;
}

bool StreamFaults::takeMalformedEvents() { return take(FaultKind::UnknownEvents); }

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

bool StreamFaults::isSplit() const { return find(FaultKind::SplitEvents) != m_active.end(); }

void StreamFaults::noteSent(size_t bytes)
{
    for (auto &[number, order] : m_active)
        if (isEnd(order.kind))
            order.offset -= static_cast<int64_t>(bytes);
}

void StreamFaults::noteBatchSent() { take(FaultKind::SplitEvents); }

std::optional<FaultKind> StreamFaults::takeEnd()
{
    const auto found = std::find_if(m_active.begin(), m_active.end(), [](const auto &each) {
        return isEnd(each.order.kind) && each.order.offset == 0;
    });
    if (found == m_active.end())
        return std::nullopt;
    const FaultKind kind = found->order.kind;
    m_counts.add(kind);
    m_active.erase(found);
    return kind;
}

} // namespace sim
