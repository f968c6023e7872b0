#include "commands.h"

#include "fields.h"
#include "tables.h"

namespace sim::control {

namespace {

using nlohmann::json;

CommandTable joined()
{
    CommandTable all;
    for (const auto *table :
         {&clockCommands(), &faultCommands(), &hardwareCommands(), &itemCommands(), &showCommands(),
          &statisticsCommands(), &stormCommands()})
        all.insert(table->begin(), table->end());
    return all;
}

const std::map<std::string, LaterCommand> laterCommands = {
    {"step", step},
    {"wait", wait},
};

void run(const ControlContext &context, const json &request, const Reply &reply)
{
    static const CommandTable commands = joined();
    if (!request.is_object())
        throw ControlError("the request is no JSON object");
    const std::string name = textField(request, "cmd");
    if (const auto later = laterCommands.find(name); later != laterCommands.end())
        return later->second(context, request, reply);
    const auto found = commands.find(name);
    if (found == commands.end())
        throw ControlError("\"" + name + "\" is no command");
    const json answer = success(found->second(context.world, request));
    context.world.notify();
    reply(answer);
}

} // namespace

json success(json fields)
{
    fields["ok"] = true;
    return fields;
}

json failure(const std::string &text) { return {{"ok", false}, {"error", text}}; }

void runControlCommand(const ControlContext &context, const std::string &line, const Reply &reply)
{
    try {
        run(context, json::parse(line), reply);
    } catch (const ControlError &error) {
        reply(failure(error.what()));
    } catch (const json::exception &) {
        reply(failure("the request is no valid JSON"));
    } catch (const std::exception &error) {
        // Whatever it is, one bad request ends no crate.
        reply(failure(error.what()));
    }
}

} // namespace sim::control
