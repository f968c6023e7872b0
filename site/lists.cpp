#include "lists.h"

#include <functional>
#include <nlohmann/json.hpp>

#include "names.h"

namespace site {

namespace {

using Json = nlohmann::ordered_json;

// Where a parameter belongs; null where it belongs to something higher.
struct Place {
    const PlannedCrate &crate;
    const PlannedBoard *board;
    const PlannedChannel *channel;
};

using Act = std::function<void(const PlannedParameter &, const Place &)>;

void forEachParameter(const Plan &plan, const Act &act)
{
    const auto each = [&](const std::vector<PlannedParameter> &list, const Place &place) {
        for (const PlannedParameter &parameter : list)
            act(parameter, place);
    };
    for (const PlannedCrate &crate : plan.crates) {
        each(crate.parameters, {crate, nullptr, nullptr});
        for (const PlannedBoard &board : crate.boards) {
            each(board.parameters, {crate, &board, nullptr});
            for (const PlannedChannel &channel : board.channels)
                each(channel.parameters, {crate, &board, &channel});
        }
    }
}

// Bytes that are no UTF-8 can stand in a record's name, not in JSON.
std::string lines(const Json &list)
{
    std::string text;
    for (const Json &item : list)
        text += (text.empty() ? "" : ",\n") +
                item.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    return "[\n" + text + "\n]\n";
}

Json entry(const std::string &name, const PlannedParameter &parameter, const Place &place)
{
    Json properties = Json::array();
    const auto add = [&](const char *key, const std::string &value) {
        if (!value.empty())
            properties.push_back({{"name", key}, {"owner", "zantosite"}, {"value", value}});
    };
    add("iocName", place.crate.name);
    add("recordType", parameter.parameter->type);
    add("parameter", parameter.parameter->name);
    add("crate", place.crate.name);
    add("slot", place.board != nullptr ? std::to_string(place.board->slot) : "");
    add("channel", place.channel != nullptr ? std::to_string(place.channel->number) : "");
    add("element", place.channel != nullptr ? place.channel->name : "");
    add("description", parameter.description);
    add("engineeringUnit", parameter.parameter->unit);
    add("record", name == parameter.parameter->record ? "" : parameter.parameter->record);
    return {{"name", name}, {"owner", "zantosite"}, {"properties", properties}};
}

} // namespace

std::string archiveText(const Plan &plan)
{
    Json list = Json::array();
    forEachParameter(plan, [&](const PlannedParameter &parameter, const Place &) {
        if (!parameter.archive)
            return;
        const std::string period = numberText(parameter.archive->period);
        const bool isWhole = period.find_first_not_of("0123456789") == std::string::npos;
        list.push_back({{"pv", parameter.shownReadBack()},
                        {"samplingperiod", isWhole ? period + ".0" : period},
                        {"samplingmethod", parameter.archive->scan ? "SCAN" : "MONITOR"}});
    });
    return lines(list);
}

std::string channelFinderText(const Plan &plan)
{
    Json list = Json::array();
    forEachParameter(plan, [&](const PlannedParameter &parameter, const Place &place) {
        list.push_back(entry(parameter.parameter->record, parameter, place));
        if (!parameter.alias.empty())
            list.push_back(entry(parameter.alias, parameter, place));
    });
    return lines(list);
}

} // namespace site
