// Requests that are answered later.
#include "command.h"

namespace sim::control {

namespace {

Waits::Condition callCondition(SimulationState &state, const Json &request)
{
    const auto operation = operationField(request, "call");
    const auto count = static_cast<uint64_t>(countField(request, "count", 1));
    return [&state, operation, count] { return state.statistics.calls.count(operation) >= count; };
}

Waits::Condition connectionCondition(SimulationState &state, const Json &request)
{
    const auto count = static_cast<size_t>(countField(request, "eventConnections", 1));
    return [&state, count] { return state.links.connectedCount() == count; };
}

Waits::Condition sessionCondition(SimulationState &state, const Json &request)
{
    const auto count = static_cast<size_t>(countField(request, "sessions", 1));
    return [&state, count] { return state.sessions == count; };
}

Waits::Condition faultCondition(SimulationState &state, const Json &request)
{
    const FaultKind kind = faultKindField(request, "fault");
    const auto count = static_cast<uint64_t>(countField(request, "count", 1));
    return [&state, kind, count] { return state.statistics.faults.of(kind) >= count; };
}

bool matches(const Value &value, const Json &wanted, double tolerance)
{
    if (wanted.is_string())
        return toText(value) == wanted.get<std::string>();
    return std::abs(toNumber(value) - wanted.get<double>()) <= tolerance;
}

// "value" with "tolerance", or "bits" that all have to be set.
Waits::Condition valueCondition(SimulationState &state, const Json &request)
{
    const ItemId id = itemOf(state.crate, request);
    if (request.contains("bits")) {
        const Item &item = state.crate.items().item(id);
        if (item.shape != Shape::Signed && item.shape != Shape::Unsigned)
            throw ControlError("\"" + std::string(item.name) + "\" has no bits");
        const auto bits = static_cast<uint32_t>(countField(request, "bits", 0));
        return [&state, id, bits] {
            const auto status = static_cast<int64_t>(toNumber(state.shown.value(id)));
            return (static_cast<uint32_t>(status) & bits) == bits;
        };
    }
    const Json wanted = request.value("value", Json());
    if (!wanted.is_number() && !wanted.is_string())
        throw ControlError("\"value\" is missing, or is neither a number nor text");
    const Json tolerance = request.value("tolerance", Json(0.0));
    if (!tolerance.is_number())
        throw ControlError("\"tolerance\" is not a number");
    return [&state, id, wanted, tolerance = tolerance.get<double>()] {
        return matches(state.shown.value(id), wanted, tolerance);
    };
}

Waits::Condition conditionOf(SimulationState &state, const Json &request)
{
    if (request.contains("call"))
        return callCondition(state, request);
    if (request.contains("fault"))
        return faultCondition(state, request);
    if (request.contains("eventConnections"))
        return connectionCondition(state, request);
    if (request.contains("sessions"))
        return sessionCondition(state, request);
    return valueCondition(state, request);
}

std::chrono::milliseconds timeoutOf(const Json &request)
{
    constexpr double longest = 3600;
    const Json seconds = request.value("timeout", Json(10.0));
    if (!seconds.is_number() || !(seconds >= 0.0 && seconds <= longest))
        throw ControlError("\"timeout\" is not a number of seconds from 0 to 3600");
    return std::chrono::milliseconds(static_cast<int64_t>(seconds.get<double>() * 1000));
}

} // namespace

void wait(const ControlContext &context, const Json &request, const Reply &reply)
{
    context.waits.add(conditionOf(context.state, request), timeoutOf(request),
                      [reply](bool held) { reply(held ? success() : failure("timed out")); });
}

} // namespace sim::control
