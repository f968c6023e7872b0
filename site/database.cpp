// site.db.
#include "outputs.h"

#include "recordtext.h"
#include "states.h"

namespace site {

namespace {

void addLimits(RecordText &record, const AlarmLimits &limits)
{
    for (const ThresholdWords &words : thresholdWords)
        if (const auto &threshold = limits.*words.threshold) {
            record.field(words.limit, numberText(threshold->limit));
            record.field(words.severityField, severityText(threshold->severity));
        }
    if (limits.hysteresis)
        record.field("HYST", numberText(*limits.hysteresis));
}

// What SDIS holds so that a read-back follows the event connection; empty: nothing does.
std::string lostLink(const PlannedCrate &crate, const Plan &plan, StaleLink link)
{
    if (!plan.stale)
        return "";
    return link == StaleLink::State ? "{state:\"ZANTO:EventsLost\"}"
                                    : quotedForDatabase(crate.name + ":Health:Lost");
}

void addMain(RecordText &record, const PlannedParameter &planned, const ChannelRoles &roles)
{
    if (!planned.alias.empty())
        record.alias(planned.alias);
    if (!planned.description.empty())
        record.field("DESC", planned.description);
    if (!planned.access.empty())
        record.field("ASG", planned.access);
    if (planned.drive) {
        record.field("DRVL", numberText(planned.drive->low));
        record.field("DRVH", numberText(planned.drive->high));
    }
    const int order = saveOrder(planned, roles);
    if (order > 0)
        record.info("saveSet", std::to_string(order) + ", VAL");
}

// What follows the hardware.
void addLive(RecordText &record, const PlannedParameter &planned, const std::string &lost)
{
    addLimits(record, planned.limits);
    if (!lost.empty() && planned.parameter->readable)
        record.add("field(SDIS, " + lost + ")").field("DISV", "1").field("DISS", "INVALID");
    if (planned.archive)
        record.info("archive", std::string(planned.archive->scan ? "scan" : "monitor") + ", " +
                                   numberText(planned.archive->period) + ", VAL");
}

void addReadBack(RecordText &record, const PlannedParameter &planned, const std::string &lost)
{
    if (!planned.alias.empty())
        record.alias(planned.shownReadBack());
    if (!planned.description.empty())
        record.field("DESC", planned.description);
    // The server gives them to the set-point alone.
    for (const std::string &each : planned.parameter->display)
        record.add(each);
    addLive(record, planned, lost);
}

// Its own record and that of its read-back. The channel is null where there is none.
std::string recordsOf(const PlannedParameter &planned, const PlannedChannel *channel,
                      const std::string &lost)
{
    const Parameter &parameter = *planned.parameter;
    RecordText main(parameter.type, parameter.record);
    addMain(main, planned, channel != nullptr ? channel->roles : ChannelRoles());
    if (parameter.isSetPoint()) {
        RecordText readBack(parameter.readBackType(), parameter.readBack());
        addReadBack(readBack, planned, lost);
        return main.text() + readBack.text();
    }
    addLive(main, planned, lost);
    if (channel != nullptr && channel->hasState && channel->roles.status == &planned)
        main.field("FLNK", stateEntry(*channel));
    return main.text();
}

} // namespace

std::string databaseText(const PlannedCrate &crate, const Plan &plan, StaleLink link)
{
    std::string text =
        "# Written by zantosite. Load it behind the server's own database, before iocInit.\n\n";
    const std::string lost = lostLink(crate, plan, link);
    forEachList(crate, [&](const auto &list, auto *, const PlannedChannel *channel) {
        for (const PlannedParameter &each : list)
            text += recordsOf(each, channel, lost);
    });
    return text + stateRecords(crate, plan.stale);
}

} // namespace site
