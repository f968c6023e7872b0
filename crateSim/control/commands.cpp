#include "commands.h"

#include <map>

namespace sim::control {

namespace {

using Command = Json (*)(SimulationState &state, const Json &request);
using LaterCommand = void (*)(const ControlContext &context, const Json &request,
                              const Reply &reply);

const std::map<std::string, Command> commands = {
    {"clear-faults", clearFaults},
    {"condition", condition},
    {"continue", continueTime},
    {"execute", execute},
    {"fault", orderFault},
    {"faults", showFaults},
    {"get", get},
    {"insert", insert},
    {"log", log},
    {"pause", pause},
    {"remove", remove},
    {"set", set},
    {"show", show},
    {"speed", speed},
    {"statistics", statistics},
    {"storm", storm},
    {"subscriptions", subscriptions},
    {"trip", trip},
};

const std::map<std::string, LaterCommand> laterCommands = {
    {"step", step},
    {"wait", wait},
};

void run(const ControlContext &context, const Json &request, const Reply &reply)
{
    if (!request.is_object())
        throw ControlError("the request is not a JSON object");
    const std::string name = textField(request, "cmd");
    if (const auto later = laterCommands.find(name); later != laterCommands.end())
        return later->second(context, request, reply);
    const auto found = commands.find(name);
    if (found == commands.end())
        throw ControlError("unknown command \"" + name + "\"");
    const Json answer = success(found->second(context.state, request));
    context.state.notify();
    reply(answer);
}

} // namespace

Json success(Json fields)
{
    fields["ok"] = true;
    return fields;
}

Json failure(const std::string &text) { return {{"ok", false}, {"error", text}}; }

void runControlCommand(const ControlContext &context, const std::string &line, const Reply &reply)
{
    try {
        run(context, Json::parse(line), reply);
    } catch (const ControlError &error) {
        reply(failure(error.what()));
    } catch (const Json::exception &) {
        reply(failure("the request is not valid JSON"));
    } catch (const std::exception &error) {
        // Whatever it is, one bad request ends no crate.
        reply(failure(error.what()));
    }
}

} // namespace sim::control
