// Reading and setting items, executing commands.
#include <fmt/format.h>

#include "command.h"
#include "editdistance.h"
#include "model/words.h"
#include "placeitems.h"

namespace sim::control {

namespace {

std::string rangeText(const Item &item)
{
    std::string text = resultText(Result::OutOfRange);
    const auto *parameter = item.parameter;
    if (parameter == nullptr || parameter->type == ParamType::Text)
        return text;
    const bool isSwitch = parameter->type == ParamType::OnOff;
    return fmt::format("{}: {} goes from {} to {} {}", text, item.name,
                       isSwitch ? 0 : parameter->minimum, isSwitch ? 1 : parameter->maximum,
                       unitSymbol(parameter->unit, parameter->exponent));
}

std::vector<std::string_view> commandNames(const Crate &crate)
{
    std::vector<std::string_view> names;
    for (const auto &command : crate.description().commands)
        names.push_back(command.name);
    return names;
}

} // namespace

Json get(SimulationState &state, const Json &request)
{
    return {{"value", toJson(state.shown.value(itemOf(state.crate, request)))}};
}

Json set(SimulationState &state, const Json &request)
{
    const Item &item = state.crate.items().item(itemOf(state.crate, request));
    if (!request.contains("value"))
        throw ControlError("\"value\" is missing");
    const Value value = fromJson(item.shape, request["value"]);
    const Result result = state.crate.write(item.address, item.name, value, Origin::FrontPanel);
    if (result == Result::OutOfRange)
        throw ControlError(rangeText(item));
    require(result);
    return {};
}

Json execute(SimulationState &state, const Json &request)
{
    const std::string name = textField(request, "name");
    const Result result = state.crate.execute(name);
    if (result == Result::NoCommand)
        throw ControlError("no such command: \"" + name + "\"" +
                           suggestion(name, commandNames(state.crate)));
    require(result);
    return {};
}

} // namespace sim::control
