// archive.json, channelfinder.json and save-set.csv.
#include "outputs.h"

#include <algorithm>
#include <array>
#include <iomanip>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "pvlist/names.h"

namespace site {

namespace {

using Json = nlohmann::ordered_json;

// Calls act(parameter, crate, board, channel), as forEachList does.
template <class Act> void forEachParameter(const Plan &plan, const Act &act)
{
    for (const PlannedCrate &crate : plan.crates)
        forEachList(crate, [&](const auto &list, const auto *board, const auto *channel) {
            for (const PlannedParameter &parameter : list)
                act(parameter, crate, board, channel);
        });
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

Json entry(const std::string &name, const PlannedParameter &parameter, const PlannedCrate &crate,
           const PlannedBoard *board, const PlannedChannel *channel)
{
    Json properties = Json::array();
    const auto add = [&](const char *key, const std::string &value) {
        if (!value.empty())
            properties.push_back({{"name", key}, {"owner", "zantosite"}, {"value", value}});
    };
    add("iocName", crate.name);
    add("recordType", parameter.parameter->type);
    add("parameter", parameter.parameter->name);
    add("crate", crate.name);
    add("slot", board != nullptr ? std::to_string(board->slot) : "");
    add("channel", channel != nullptr ? std::to_string(channel->number) : "");
    add("element", channel != nullptr ? channel->name : "");
    add("description", parameter.description);
    add("engineeringUnit", parameter.parameter->unit);
    add("record", name == parameter.parameter->record ? "" : parameter.parameter->record);
    return {{"name", name}, {"owner", "zantosite"}, {"properties", properties}};
}

// A name in a table: quoted where a comma or a quote would break it.
std::string cell(const std::string &text)
{
    std::ostringstream quoted;
    quoted << std::quoted(text, '"', '"');
    return text.find_first_of(",\"") == std::string::npos ? text : quoted.str();
}

} // namespace

std::string archiveText(const Plan &plan)
{
    Json list = Json::array();
    forEachParameter(plan, [&](const PlannedParameter &parameter, const auto &...) {
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
    forEachParameter(plan, [&](const PlannedParameter &parameter, const auto &...place) {
        list.push_back(entry(parameter.parameter->record, parameter, place...));
        if (!parameter.alias.empty())
            list.push_back(entry(parameter.alias, parameter, place...));
    });
    return lines(list);
}

int saveOrder(const PlannedParameter &planned, const ChannelRoles &roles)
{
    // Numbers alone: what switches is never restored.
    if (planned.parameter->type != "ao" || !planned.parameter->isSetPoint())
        return 0;
    // Which comes before which. All others follow, and then voltages, when limits and rates hold.
    const std::array first{roles.voltageLimit, roles.currentSet, roles.rampUp, roles.rampDown,
                           roles.tripTime};
    const auto place = std::find(first.begin(), first.end(), &planned) - first.begin();
    return 1 + static_cast<int>(&planned == roles.voltageSet ? first.size() + 1 : place);
}

std::string saveSetText(const Plan &plan)
{
    std::multimap<int, const PlannedParameter *> rows; // by their order
    forEachParameter(plan, [&](const PlannedParameter &each, auto &, auto *, auto *channel) {
        if (const int order = saveOrder(each, channel ? channel->roles : ChannelRoles()))
            rows.emplace(order, &each);
    });
    std::string text = "PV,READBACK,READ_ONLY\n";
    for (const auto &[order, planned] : rows)
        text += cell(planned->shownName()) + "," + cell(planned->shownReadBack()) + ",0\n";
    return text;
}

} // namespace site
