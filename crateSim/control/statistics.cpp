// What the crate has been asked, and by whom.
#include "command.h"

namespace sim::control {

namespace {

// The last lines of the call log that begin with "match".
Json logLines(const calls::CallStatistics &statistics, const Json &request, int32_t last)
{
    const std::string match = request.contains("match") ? textField(request, "match") : "";
    Json lines = Json::array();
    for (const auto &line : statistics.log())
        if (line.compare(0, match.size(), match) == 0)
            lines.push_back(line);
    const auto limit = static_cast<size_t>(last);
    if (lines.size() > limit)
        lines.erase(lines.begin(),
                    lines.begin() + static_cast<std::ptrdiff_t>(lines.size() - limit));
    return lines;
}

Json stormState(const Storm &storm)
{
    return {{"running", storm.isRunning()},
            {"rate", storm.rate()},
            {"sent", storm.sent()},
            {"dropped", storm.dropped()}};
}

} // namespace

Json statistics(SimulationState &state, const Json &request)
{
    const Statistics &s = state.statistics;
    Json calls = Json::object();
    Json failures = Json::object();
    for (size_t index = 0; index < wire::operationCount; ++index) {
        const auto operation = static_cast<wire::Operation>(index);
        if (s.calls.count(operation) > 0)
            calls[std::string(wire::operationName(operation))] = s.calls.count(operation);
        if (s.calls.failures(operation) > 0)
            failures[std::string(wire::operationName(operation))] = s.calls.failures(operation);
    }
    size_t subscriptions = 0;
    for (const auto &link : state.links.all())
        subscriptions += link->subscriptionCount();
    Json answer = {{"calls", calls},
                   {"failures", failures},
                   {"sessions", state.sessions},
                   {"sessionsAccepted", s.sessionsAccepted},
                   {"loginsRefused", s.calls.loginsRefused()},
                   {"badFrames", s.badFrames},
                   {"subscriptions", subscriptions},
                   {"eventConnections", state.links.connectedCount()},
                   {"eventConnectionsOpened", s.events.connectionsOpened},
                   {"eventConnectionsLost", s.events.connectionsLost},
                   {"eventsSent", s.events.events},
                   {"batchesSent", s.events.batches},
                   {"keepAlivesSent", s.events.keepAlives},
                   {"faults", faultCounts(s.faults)},
                   {"storm", stormState(state.storm)}};
    if (const int32_t last = countField(request, "log", 0); last > 0)
        answer["log"] = logLines(s.calls, request, last);
    if (boolField(request, "clear", false))
        state.statistics = {};
    return answer;
}

Json log(SimulationState &state, const Json &request)
{
    const auto all = static_cast<int32_t>(calls::CallStatistics::logLimit);
    return {{"log", logLines(state.statistics.calls, request, countField(request, "last", all))}};
}

Json subscriptions(SimulationState &state, const Json &)
{
    const ItemStore &items = state.crate.items();
    Json links = Json::array();
    for (const auto &link : state.links.all()) {
        Json subscribed = Json::array();
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

} // namespace sim::control
