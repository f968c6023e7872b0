#include "saveset.h"

#include <algorithm>
#include <vector>

namespace site {

namespace {

// Which comes before which. Voltages come last, when limits and rates hold.
constexpr const PlannedParameter *ChannelRoles::*restoredFirst[] = {
    &ChannelRoles::voltageLimit, &ChannelRoles::currentSet, &ChannelRoles::rampUp,
    &ChannelRoles::rampDown,     &ChannelRoles::tripTime,
};

constexpr int others = 1 + static_cast<int>(std::size(restoredFirst));
constexpr int last = others + 1;

struct Row {
    int order;
    const PlannedParameter *planned;
};

// A name in a table: quoted where a comma or a quote would break it.
std::string cell(const std::string &text)
{
    if (text.find_first_of(",\"") == std::string::npos)
        return text;
    std::string quoted = "\"";
    for (const char byte : text)
        quoted += byte == '"' ? std::string("\"\"") : std::string(1, byte);
    return quoted + '"';
}

} // namespace

int saveOrder(const PlannedParameter &planned, const ChannelRoles &roles)
{
    // Numbers alone: what switches is never restored.
    if (planned.parameter->type != "ao" || !planned.parameter->isSetPoint())
        return 0;
    if (&planned == roles.voltageSet)
        return last;
    for (size_t index = 0; index < std::size(restoredFirst); ++index)
        if (&planned == roles.*restoredFirst[index])
            return static_cast<int>(index) + 1;
    return others;
}

std::string saveSetText(const Plan &plan)
{
    std::vector<Row> rows;
    for (const PlannedCrate &crate : plan.crates)
        forEachList(crate, [&](const auto &list, auto *, const PlannedChannel *channel) {
            for (const PlannedParameter &each : list)
                if (const int order = saveOrder(each, channel ? channel->roles : ChannelRoles()))
                    rows.push_back({order, &each});
        });
    std::stable_sort(rows.begin(), rows.end(),
                     [](const Row &a, const Row &b) { return a.order < b.order; });
    std::string text = "PV,READBACK,READ_ONLY\n";
    for (const Row &row : rows)
        text += cell(row.planned->shownName()) + "," + cell(row.planned->shownReadBack()) + ",0\n";
    return text;
}

} // namespace site
