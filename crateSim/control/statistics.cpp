// What the crate has been asked, and by whom.
#include "fields.h"
#include "tables.h"

namespace sim::control {

namespace {

using nlohmann::json;

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
                   {"keepAlivesSent", s.keepAlivesSent},
                   {"faults", faultCounts(s.faults)},
                   {"storm", stormState(world.stormMaker)}};
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

} // namespace

const CommandTable &statisticsCommands()
{
    static const CommandTable table = {
        {"log", log},
        {"statistics", statistics},
        {"subscriptions", subscriptions},
    };
    return table;
}

} // namespace sim::control
