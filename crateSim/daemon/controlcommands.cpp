#include "controlcommands.h"

#include <map>

#include "controlfields.h"

namespace sim::daemon {

namespace {

using nlohmann::json;

// Commands that answer at once return the answer's fields.
using Command = json (*)(World &, const json &);

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

json show(World &world, const json &)
{
    json slots = json::array();
    for (int32_t slot = 0; slot < static_cast<int32_t>(world.crate.slotCount()); ++slot) {
        const Board *board = world.crate.board(slot);
        if (board != nullptr)
            slots.push_back({{"slot", slot},
                             {"model", board->model().name},
                             {"description", board->description().description},
                             {"channels", board->channelCount()}});
    }
    return {{"name", world.crate.description().name},
            {"slotCount", world.crate.slotCount()},
            {"slots", slots}};
}

// The last lines of the call log that begin with "match".
json logLines(const Statistics &statistics, const json &request, int32_t last)
{
    const std::string match = request.contains("match") ? textField(request, "match") : "";
    json lines = json::array();
    for (const auto &line : statistics.log())
        if (line.compare(0, match.size(), match) == 0)
            lines.push_back(line);
    const auto limit = static_cast<size_t>(last);
    if (lines.size() > limit)
        lines.erase(lines.begin(),
                    lines.begin() + static_cast<std::ptrdiff_t>(lines.size() - limit));
    return lines;
}

json statistics(World &world, const json &request)
{
    const Statistics &s = world.statistics;
    json calls = json::object();
    json failures = json::object();
    for (size_t index = 0; index < wire::operationCount; ++index) {
        const auto operation = static_cast<wire::Operation>(index);
        if (s.calls(operation) > 0)
            calls[std::string(wire::operationName(operation))] = s.calls(operation);
        if (s.failures(operation) > 0)
            failures[std::string(wire::operationName(operation))] = s.failures(operation);
    }
    size_t subscriptions = 0;
    for (const auto &link : world.openLinks())
        subscriptions += link->subscriptionCount();
    json answer = {{"calls", calls},
                   {"failures", failures},
                   {"sessions", world.sessions},
                   {"sessionsAccepted", s.sessionsAccepted},
                   {"loginsRefused", s.loginsRefused},
                   {"badFrames", s.badFrames},
                   {"subscriptions", subscriptions},
                   {"eventConnections", world.connectedLinks()},
                   {"eventConnectionsOpened", s.eventConnectionsOpened},
                   {"eventConnectionsLost", s.eventConnectionsLost},
                   {"eventsSent", s.eventsSent},
                   {"batchesSent", s.batchesSent},
                   {"keepAlivesSent", s.keepAlivesSent}};
    if (const int32_t last = countField(request, "log", 0); last > 0)
        answer["log"] = logLines(s, request, last);
    if (boolField(request, "clear", false))
        world.statistics.clear();
    return answer;
}

json log(World &world, const json &request)
{
    const auto all = static_cast<int32_t>(Statistics::logLimit);
    return {{"log", logLines(world.statistics, request, countField(request, "last", all))}};
}

json subscriptions(World &world, const json &)
{
    const ItemStore &items = world.crate.items();
    json links = json::array();
    for (const auto &link : world.openLinks()) {
        json subscribed = json::array();
        for (ItemId id = 0; id < items.size(); ++id)
            if (link->isSubscribed(id))
                subscribed.push_back({{"slot", items.item(id).address.slot},
                                      {"channel", items.item(id).address.channel},
                                      {"name", items.item(id).name}});
        links.push_back({{"address", link->subscriber().address().to_string()},
                         {"port", link->subscriber().port()},
                         {"connected", link->isConnected()},
                         {"items", subscribed}});
    }
    return {{"subscribers", links}};
}

json trip(World &world, const json &request)
{
    const bool external = boolField(request, "external", false);
    require(world.crate.tripChannel(
        addressOf(request), external ? channelbit::ExternalTrip : channelbit::InternalTrip));
    return json::object();
}

// Raises or drops a status bit from outside: "bit" counts from 0. Without a
// channel it is the board's.
json condition(World &world, const json &request)
{
    constexpr uint32_t settableOnBoard = 0xf;
    constexpr uint32_t settableOnChannel =
        channelbit::OverVoltage | channelbit::UnderVoltage | channelbit::ExternalDisable
        | channelbit::CalibrationError | channelbit::Unplugged | channelbit::UnderCurrent
        | channelbit::OverVoltageProtection | channelbit::PowerFail
        | channelbit::TemperatureError;
    const Address address = addressOf(request);
    const int32_t number = countField(request, "bit", 32);
    const uint32_t bit = number < 32 ? 1u << number : 0;
    const bool on = boolField(request, "on", true);
    const bool ofBoard = address.channel < 0;
    if ((bit & (ofBoard ? settableOnBoard : settableOnChannel)) == 0)
        throw ControlError("\"bit\" is missing or no condition that can be set");
    require(ofBoard ? world.crate.setBoardCondition(address.slot, bit, on)
                    : world.crate.setChannelCondition(address, bit, on));
    return json::object();
}

json remove(World &world, const json &request)
{
    require(world.crate.removeBoard(addressOf(request).slot));
    return json::object();
}

json insert(World &world, const json &request)
{
    require(world.crate.insertBoard(addressOf(request).slot));
    return json::object();
}

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

const std::map<std::string, Command> commands = {
    {"condition", condition},
    {"drop-events", dropEvents},
    {"execute", execute},
    {"fail", fail},
    {"get", get},
    {"hang", hang},
    {"insert", insert},
    {"log", log},
    {"refuse-logins", refuseLogins},
    {"remove", remove},
    {"set", set},
    {"show", show},
    {"statistics", statistics},
    {"subscriptions", subscriptions},
    {"trip", trip},
};

// ---- Waiting

Waits::Condition callCondition(World &world, const json &request)
{
    const auto operation = operationField(request, "call");
    const auto count = static_cast<uint64_t>(countField(request, "count", 1));
    return [&world, operation, count] { return world.statistics.calls(operation) >= count; };
}

Waits::Condition connectionCondition(World &world, const json &request)
{
    const auto count = static_cast<size_t>(countField(request, "eventConnections", 1));
    return [&world, count] { return world.connectedLinks() == count; };
}

Waits::Condition sessionCondition(World &world, const json &request)
{
    const auto count = static_cast<size_t>(countField(request, "sessions", 1));
    return [&world, count] { return world.sessions == count; };
}

bool matches(const Value &value, const json &wanted, double tolerance)
{
    if (wanted.is_string())
        return toText(value) == wanted.get<std::string>();
    return std::abs(toNumber(value) - wanted.get<double>()) <= tolerance;
}

// "value" with "tolerance", or "bits" that all have to be set.
Waits::Condition valueCondition(World &world, const json &request)
{
    const ItemId id = itemOf(world.crate, request);
    if (request.contains("bits")) {
        const auto bits = static_cast<uint32_t>(countField(request, "bits", 0));
        return [&world, id, bits] {
            const auto status = static_cast<int64_t>(toNumber(world.crate.items().value(id)));
            return (static_cast<uint32_t>(status) & bits) == bits;
        };
    }
    const json wanted = request.value("value", json());
    if (!wanted.is_number() && !wanted.is_string())
        throw ControlError("\"value\" is missing or neither number nor text");
    const json tolerance = request.value("tolerance", json(0.0));
    if (!tolerance.is_number())
        throw ControlError("\"tolerance\" is no number");
    return [&world, id, wanted, tolerance = tolerance.get<double>()] {
        return matches(world.crate.items().value(id), wanted, tolerance);
    };
}

Waits::Condition conditionOf(World &world, const json &request)
{
    if (request.contains("call"))
        return callCondition(world, request);
    if (request.contains("eventConnections"))
        return connectionCondition(world, request);
    if (request.contains("sessions"))
        return sessionCondition(world, request);
    return valueCondition(world, request);
}

std::chrono::milliseconds timeoutOf(const json &request)
{
    constexpr double longest = 3600;
    const json seconds = request.value("timeout", json(10.0));
    if (!seconds.is_number() || !(seconds >= 0.0 && seconds <= longest))
        throw ControlError("\"timeout\" is no number of seconds from 0 to 3600");
    return std::chrono::milliseconds(static_cast<int64_t>(seconds.get<double>() * 1000));
}

json success(json fields)
{
    fields["ok"] = true;
    return fields;
}

json failure(const std::string &text)
{
    return {{"ok", false}, {"error", text}};
}

void run(World &world, Waits &waits, const json &request, const Reply &reply)
{
    if (!request.is_object())
        throw ControlError("the request is no JSON object");
    const std::string name = textField(request, "cmd");
    if (name == "wait") {
        waits.add(conditionOf(world, request), timeoutOf(request), [reply](bool held) {
            reply(held ? success(json::object()) : failure("timed out"));
        });
        return;
    }
    const auto found = commands.find(name);
    if (found == commands.end())
        throw ControlError("\"" + name + "\" is no command");
    const json answer = success(found->second(world, request));
    world.notify();
    reply(answer);
}

} // namespace

void runControlCommand(World &world, Waits &waits, const std::string &line, const Reply &reply)
{
    try {
        run(world, waits, json::parse(line), reply);
    } catch (const ControlError &error) {
        reply(failure(error.what()));
    } catch (const json::exception &) {
        reply(failure("the request is no valid JSON"));
    }
}

} // namespace sim::daemon
