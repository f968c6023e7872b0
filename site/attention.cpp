#include "comparefiles.h"

#include <algorithm>
#include <map>

#include "description/scalars.h"

namespace site {

namespace {

using Kind = sim::Difference::Kind;

// By the line to look at.
using Reasons = std::map<int, sim::Differences>;

bool isOneOf(Kind kind, std::initializer_list<Kind> kinds)
{
    return std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
}

// Looks at one entry for one difference that concerns it.
class Examination {
public:
    Examination(const Entry &entry, const sim::Difference &difference, Reasons &reasons)
        : m_entry(entry), m_difference(difference), m_reasons(reasons)
    {
    }

    void run() const
    {
        const Kind kind = m_difference.kind;
        const std::string &parameter = m_difference.parameter;
        if (isOneOf(kind, {Kind::SlotEmptied, Kind::ChannelsGone}))
            add(m_entry.line, m_difference.text);
        if (isOneOf(kind, {Kind::BoardExchanged, Kind::ChannelName})) {
            check(m_entry.name, "the name");
            check(m_entry.description, "the description");
        }
        if (isOneOf(kind, {Kind::ParameterGone, Kind::Type, Kind::Mode, Kind::Unit}))
            check(saidOf(parameter, m_entry.drive, false), "its drive limits");
        if (isOneOf(kind, {Kind::ParameterGone, Kind::Type, Kind::Unit}))
            check(saidOf(parameter, m_entry.limits, kind == Kind::Unit), "its alarm limits");
        if (isOneOf(kind, {Kind::ParameterGone, Kind::Type, Kind::Mode}))
            check(saidOf(parameter, m_entry.access, false), "its access group");
        if (isOneOf(kind, {Kind::ParameterGone, Kind::Type}))
            check(saidOf(parameter, m_entry.archive, false), "its archive policy");
        if (isOneOf(kind, {Kind::Minimum, Kind::Maximum}))
            checkBounds();
    }

private:
    void add(int line, const std::string &text) const
    {
        m_reasons[line].push_back(m_difference);
        m_reasons[line].back().text = text;
    }

    template <class Value> void check(const Value &placed, const std::string &what) const
    {
        if (placed)
            add(placed->line, m_difference.text + "; check " + what);
    }

    void checkBounds() const
    {
        const std::string &parameter = m_difference.parameter;
        if (const auto *limits = saidOf(parameter, m_entry.limits))
            for (const ThresholdWords &words : thresholdWords)
                if (const auto &threshold = limits->value.*words.threshold)
                    checkBound(limits->line, std::string("limit ") + words.limit, threshold->limit);
        // Those of all parameters are for set-points, which this one need not be.
        if (const auto *drive = saidOf(parameter, m_entry.drive, false)) {
            checkBound(drive->line, "lower drive limit", drive->value.low);
            checkBound(drive->line, "upper drive limit", drive->value.high);
        }
    }

    void checkBound(int line, const std::string &what, double limit) const
    {
        const bool isMaximum = m_difference.kind == Kind::Maximum;
        if (isMaximum ? limit <= m_difference.bound : limit >= m_difference.bound)
            return;
        add(line, what + " of " + m_difference.parameter + ", " + sim::realText(limit) + ", is " +
                      (isMaximum ? "above the new maximum " : "below the new minimum ") +
                      sim::realText(m_difference.bound));
    }

    const Entry &m_entry;
    const sim::Difference &m_difference;
    Reasons &m_reasons;
};

// An entry for channels has to do with what becomes of their board too. The defaults are for
// whatever channels there are.
bool concerns(EntryKind of, const sim::Difference &difference)
{
    if (of == EntryKind::System || difference.slot < 0)
        return of == EntryKind::System && difference.slot < 0;
    if (of == EntryKind::Defaults &&
        isOneOf(difference.kind, {Kind::SlotEmptied, Kind::ChannelsGone}))
        return false;
    if (!difference.channels.empty())
        return of != EntryKind::Boards;
    return of == EntryKind::Boards ||
           isOneOf(difference.kind, {Kind::SlotEmptied, Kind::BoardExchanged});
}

// Of the difference only what the entry speaks of.
void examine(const Entry &entry, sim::Difference difference, Reasons &reasons)
{
    auto &channels = difference.channels;
    const bool isOfChannels = !channels.empty();
    const auto isOther = [&](int channel) { return !entry.covers(difference.slot, channel); };
    channels.erase(std::remove_if(channels.begin(), channels.end(), isOther), channels.end());
    if (isOfChannels ? !channels.empty() : !isOther(-1))
        Examination(entry, difference, reasons).run();
}

} // namespace

std::vector<sim::Finding> attention(const SiteFile &site, const std::string &crate,
                                    const sim::Differences &differences)
{
    Reasons reasons;
    forEachEntry(site, [&](const Entry &entry) {
        if (site.crates.size() > 1 && !entry.isOf(crate))
            return;
        for (const auto &difference : differences)
            if (concerns(entry.kind, difference))
                examine(entry, difference, reasons);
    });
    std::vector<sim::Finding> found;
    for (const auto &[line, all] : reasons)
        for (const auto &text : sim::differenceLines(all))
            found.push_back({line, text});
    return found;
}

} // namespace site
