// Reading and setting items, executing commands.
#include <fmt/format.h>

#include "fields.h"
#include "tables.h"
#include "nearest.h"
#include "placeitems.h"

namespace sim::control {

namespace {

using nlohmann::json;

json get(World &world, const json &request)
{
    return {{"value", toJson(world.crate.items().value(itemOf(world.crate, request)))}};
}

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

json set(World &world, const json &request)
{
    const Item &item = world.crate.items().item(itemOf(world.crate, request));
    if (!request.contains("value"))
        throw ControlError("\"value\" is missing");
    const Value value = fromJson(item.shape, request["value"]);
    const Result result = world.crate.write(item.address, item.name, value, Origin::FrontPanel);
    if (result == Result::OutOfRange)
        throw ControlError(rangeText(item));
    require(result);
    return json::object();
}

std::vector<std::string_view> commandNames(const Crate &crate)
{
    std::vector<std::string_view> names;
    for (const auto &command : crate.description().commands)
        names.push_back(command.name);
    return names;
}

json execute(World &world, const json &request)
{
    const std::string name = textField(request, "name");
    const Result result = world.crate.execute(name);
    if (result == Result::NoCommand)
        throw ControlError("no such command: \"" + name + "\"" +
                           suggestion(name, commandNames(world.crate)));
    require(result);
    return json::object();
}

} // namespace

const CommandTable &itemCommands()
{
    static const CommandTable table = {
        {"execute", execute},
        {"get", get},
        {"set", set},
    };
    return table;
}

} // namespace sim::control
