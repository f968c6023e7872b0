// Misbehaviour towards the clients.
#include "controlfields.h"
#include "controltables.h"

namespace sim::daemon {

namespace {

using nlohmann::json;

json dropEvents(World &world, const json &)
{
    const size_t connected = world.connectedLinks();
    for (const auto &link : world.openLinks())
        link->drop();
    return {{"dropped", connected}};
}

json hang(World &world, const json &request)
{
    const bool on = boolField(request, "on", true);
    world.faults.hang(on);
    if (!on && world.onRelease)
        world.onRelease();
    return json::object();
}

json refuseLogins(World &world, const json &request)
{
    world.faults.refuseLogins(static_cast<uint32_t>(countField(request, "count", 1)));
    return json::object();
}

json fail(World &world, const json &request)
{
    const auto operation = operationField(request, "operation");
    const auto code = request.value("code", json(1));
    if (!code.is_number_integer() || code == 0)
        throw ControlError("\"code\" is no number other than 0");
    const int32_t count = countField(request, "count", 1);
    if (count == 0)
        throw ControlError("\"count\" is 0");
    world.faults.fail(operation, code.get<int32_t>(), static_cast<uint32_t>(count),
                      static_cast<uint32_t>(countField(request, "after", 0)));
    return json::object();
}

} // namespace

const CommandTable &faultCommands()
{
    static const CommandTable table = {
        {"drop-events", dropEvents},
        {"fail", fail},
        {"hang", hang},
        {"refuse-logins", refuseLogins},
    };
    return table;
}

} // namespace sim::daemon
