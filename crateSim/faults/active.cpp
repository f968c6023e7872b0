#include "active.h"

#include <algorithm>

namespace sim {

ActiveFaults::iterator consume(ActiveFaults &faults, ActiveFaults::iterator fault)
{
    int64_t &count = fault->order.count;
    if (count == 1)
        return faults.erase(fault);
    if (count > 1)
        --count;
    return ++fault;
}

void clearFaults(ActiveFaults &faults, std::optional<FaultKind> kind)
{
    const auto applies = [&](const ActiveFault &each) { return !kind || each.order.kind == *kind; };
    faults.erase(std::remove_if(faults.begin(), faults.end(), applies), faults.end());
}

bool isOfEvents(FaultKind kind)
{
    return kind >= FaultKind::DropEvents && kind <= FaultKind::UnknownEvents;
}

bool isOfAllConnections(const FaultOrder &order)
{
    const bool isRepeated =
        order.kind == FaultKind::SplitEvents || order.kind == FaultKind::UnknownEvents;
    return isRepeated && order.count == 0;
}

// Orders of one kind happen one after the other, but each one counts the calls
// that it lets pass from its own beginning.
std::optional<FaultOrder> Faults::take(FaultKind kind, const Condition &applies)
{
    std::optional<FaultOrder> taken;
    for (auto each = m_active.begin(); each != m_active.end();) {
        if (each->order.kind == kind && applies(each->order)) {
            if (each->order.after > 0) {
                --each->order.after;
            } else if (!taken) {
                taken = each->order;
                m_counts.add(kind);
                each = consume(m_active, each);
                continue;
            }
        }
        ++each;
    }
    return taken;
}

bool Faults::takeRefusal()
{
    return take(FaultKind::RefuseLogins, [](const FaultOrder &) { return true; }).has_value();
}

CallFault Faults::takeCall(wire::Operation operation)
{
    const auto applies = [operation](const FaultOrder &order) {
        return !order.operation || *order.operation == operation;
    };
    CallFault fault;
    if (const auto delay = take(FaultKind::Delay, applies))
        fault.delay = std::chrono::milliseconds(delay->milliseconds);
    fault.hangs = take(FaultKind::Hang, applies).has_value();
    if (const auto failure = take(FaultKind::Fail, applies))
        fault.code = static_cast<int32_t>(failure->code);
    return fault;
}

std::optional<Corruption> Faults::takeCorruption(wire::Operation operation, wire::AnswerForm form)
{
    const auto taken = take(FaultKind::Answer, [&](const FaultOrder &order) {
        return (!order.operation || *order.operation == operation) &&
               canCorrupt(order.answer, form);
    });
    return taken ? std::optional(taken->answer) : std::nullopt;
}

ActiveFaults Faults::takeForConnection()
{
    ActiveFaults taken;
    for (auto each = m_active.begin(); each != m_active.end();) {
        const bool ofEvents = isOfEvents(each->order.kind);
        if (ofEvents)
            taken.push_back(*each);
        each = ofEvents && !isOfAllConnections(each->order) ? m_active.erase(each) : each + 1;
    }
    return taken;
}

} // namespace sim
