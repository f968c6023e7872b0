// Requests that are answered later.
#include "command.h"

namespace sim::control {

namespace {

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

// Of calls and faults there may be more than wanted by the time anybody looks.
Waits::Condition conditionOf(SimulationState &state, const Json &request)
{
    const auto wanted = [&request](const char *name) {
        return static_cast<uint64_t>(countField(request, name, 1));
    };
    if (request.contains("call"))
        return [&state, operation = operationField(request, "call"), count = wanted("count")] {
            return state.statistics.calls.count(operation) >= count;
        };
    if (request.contains("fault"))
        return [&state, kind = faultKindField(request, "fault"), count = wanted("count")] {
            return state.statistics.faults.of(kind) >= count;
        };
    if (request.contains("eventConnections"))
        return [&state, count = wanted("eventConnections")] {
            return state.links.connectedCount() == count;
        };
    if (request.contains("sessions"))
        return [&state, count = wanted("sessions")] { return state.sessions == count; };
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
