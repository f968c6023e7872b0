// Reading and setting items, executing commands.
#include "controlfields.h"
#include "controltables.h"

namespace sim::daemon {

namespace {

using nlohmann::json;

json get(World &world, const json &request)
{
    return {{"value", toJson(world.crate.items().value(itemOf(world.crate, request)))}};
}

json set(World &world, const json &request)
{
    const Item &item = world.crate.items().item(itemOf(world.crate, request));
    if (!request.contains("value"))
        throw ControlError("\"value\" is missing");
    const Value value = fromJson(item.shape, request["value"]);
    require(world.crate.write(item.address, item.name, value, Origin::FrontPanel));
    return json::object();
}

json execute(World &world, const json &request)
{
    require(world.crate.execute(textField(request, "name")));
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

} // namespace sim::daemon
