// Misbehaviour to order.
#include <spdlog/spdlog.h>

#include "command.h"

namespace sim::control {

namespace {

FaultFieldValue fieldValue(const std::string &name, const Json &value)
{
    if (value.is_boolean())
        return value.get<bool>();
    if (value.is_number_integer())
        return value.get<int64_t>();
    if (value.is_number())
        return value.get<double>();
    if (value.is_string())
        return value.get<std::string>();
    throw ControlError("\"" + name + "\" is neither a number nor text");
}

// Every field but the command's name belongs to the order.
FaultOrder orderOf(const Json &request)
{
    FaultFields fields;
    for (const auto &[name, value] : request.items())
        if (name != "cmd")
            fields[name] = fieldValue(name, value);
    std::vector<FaultProblem> problems;
    const auto order = readFaultOrder(fields, problems);
    if (!order)
        throw ControlError(problems.front().text);
    return *order;
}

Json toJson(const FaultOrder &order)
{
    Json fields = Json::object();
    for (const auto &[name, value] : faultFields(order))
        std::visit([&, &key = name](const auto &field) { fields[key] = field; }, value);
    return fields;
}

} // namespace

Json orderFault(SimulationState &state, const Json &request)
{
    const FaultOrder order = orderOf(request);
    spdlog::info("fault ordered: {}", toJson(order).dump());
    state.orderFault(order);
    return {};
}

Json showFaults(SimulationState &state, const Json &)
{
    Json active = Json::array();
    for (const auto &order : state.activeFaults())
        active.push_back(toJson(order));
    return {{"active", active}, {"counts", faultCounts(state.statistics.faults)}};
}

Json clearFaults(SimulationState &state, const Json &request)
{
    state.clearFaults(request.contains("kind") ? std::optional(faultKindField(request, "kind"))
                                               : std::nullopt);
    return {};
}

// Kinds that have never been applied are left out.
Json faultCounts(const FaultCounts &counts)
{
    auto fields = Json::object();
    for (size_t index = 0; index < static_cast<size_t>(FaultKind::Count_); ++index) {
        const auto kind = static_cast<FaultKind>(index);
        if (counts.of(kind) > 0)
            fields[std::string(faultKindName(kind))] = counts.of(kind);
    }
    return fields;
}

} // namespace sim::control
