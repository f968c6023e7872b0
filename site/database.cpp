#include "database.h"

#include "lists.h"
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

void addStale(RecordText &record, const PlannedCrate &crate, StaleLink link)
{
    if (link == StaleLink::State)
        record.add("field(SDIS, {state:\"ZANTO:EventsLost\"})");
    else
        record.field("SDIS", crate.name + ":Health:Lost");
    record.field("DISV", "1").field("DISS", "INVALID");
}

class Writer {
public:
    Writer(const PlannedCrate &crate, const Plan &plan, StaleLink link)
        : m_crate(crate), m_plan(plan), m_link(link)
    {
    }

    std::string run()
    {
        forEachList(m_crate, [this](const auto &list, auto *, const PlannedChannel *channel) {
            add(list, channel);
        });
        return std::move(m_text) + stateRecords(m_crate, m_plan.stale);
    }

private:
    void add(const std::vector<PlannedParameter> &parameters, const PlannedChannel *channel)
    {
        for (const PlannedParameter &each : parameters) {
            const bool isStatus =
                channel != nullptr && channel->hasState && channel->roles.status == &each;
            RecordText main(each.parameter->type, each.parameter->record);
            addMain(main, each, channel != nullptr ? channel->roles : ChannelRoles());
            if (each.parameter->isSetPoint()) {
                RecordText readBack(each.parameter->readBackType(), each.parameter->readBack());
                addReadBack(readBack, each);
                m_text += main.text() + readBack.text();
                continue;
            }
            addLive(main, each);
            if (isStatus)
                main.field("FLNK", stateEntry(*channel));
            m_text += main.text();
        }
    }

    void addMain(RecordText &record, const PlannedParameter &planned,
                 const ChannelRoles &roles) const
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

    void addReadBack(RecordText &record, const PlannedParameter &planned) const
    {
        if (!planned.alias.empty())
            record.alias(planned.shownReadBack());
        if (!planned.description.empty())
            record.field("DESC", planned.description);
        // The server gives them to the set-point alone.
        for (const std::string &each : planned.parameter->display)
            record.add(each);
        addLive(record, planned);
    }

    // What follows the hardware.
    void addLive(RecordText &record, const PlannedParameter &planned) const
    {
        addLimits(record, planned.limits);
        if (m_plan.stale && planned.parameter->readable)
            addStale(record, m_crate, m_link);
        if (planned.archive)
            record.info("archive", std::string(planned.archive->scan ? "scan" : "monitor") + ", " +
                                       numberText(planned.archive->period) + ", VAL");
    }

    const PlannedCrate &m_crate;
    const Plan &m_plan;
    const StaleLink m_link;
    std::string m_text;
};

} // namespace

std::string databaseText(const PlannedCrate &crate, const Plan &plan, StaleLink link)
{
    return "# Written by zantosite. Load it behind the server's own database, before iocInit.\n\n" +
           Writer(crate, plan, link).run();
}

} // namespace site
