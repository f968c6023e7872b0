#include "attention.h"

#include <algorithm>
#include <iterator>
#include <map>

#include "description/scalars.h"

namespace site {

namespace {

using Kind = sim::Difference::Kind;
using Ranges = std::vector<Range>;

// By the line to look at.
using Reasons = std::map<int, sim::Differences>;

// Looks at one entry for one difference that concerns it.
class Examination {
public:
    Examination(const Entry &entry, const sim::Difference &difference, Reasons &reasons)
        : m_entry(entry), m_difference(difference), m_reasons(reasons)
    {
    }

    void run() const
    {
        switch (m_difference.kind) {
        case Kind::SlotEmptied:
        case Kind::ChannelsGone: return add(m_entry.line, m_difference.text);
        case Kind::BoardExchanged:
        case Kind::ChannelName: return checkNames();
        case Kind::ParameterGone:
        case Kind::Type:
        case Kind::Mode:
        case Kind::Unit: return checkSettings();
        case Kind::Minimum:
        case Kind::Maximum: return checkBounds();
        case Kind::SlotFilled:
        case Kind::Other: return;
        }
    }

private:
    void add(int line, const std::string &text) const
    {
        sim::Difference reason = m_difference;
        reason.text = text;
        m_reasons[line].push_back(reason);
    }

    // What is said of the parameter by its name or, where that counts, of all; null: nothing.
    template <class Value>
    const Placed<Value> *valueIn(const ByParameter<Value> &values, bool allCount) const
    {
        auto found = values.find(m_difference.parameter);
        if (found == values.end() && allCount)
            found = values.find(allParameters);
        return found == values.end() ? nullptr : &found->second;
    }

    template <class Value> void check(const Value &placed, const std::string &what) const
    {
        if (placed)
            add(placed->line, m_difference.text + "; check " + what);
    }

    void checkNames() const
    {
        check(m_entry.name, "the name");
        check(m_entry.description, "the description");
    }

    void checkSettings() const
    {
        const bool isUnit = m_difference.kind == Kind::Unit;
        const bool isMode = m_difference.kind == Kind::Mode;
        check(valueIn(m_entry.drive, false), "its drive limits");
        if (!isMode)
            check(valueIn(m_entry.limits, isUnit), "its alarm limits");
        if (!isUnit)
            check(valueIn(m_entry.access, false), "its access group");
        if (!isUnit && !isMode)
            check(valueIn(m_entry.archive, false), "its archive policy");
    }

    void checkBounds() const
    {
        if (const auto *limits = valueIn(m_entry.limits, true)) {
            for (const ThresholdWords &words : thresholdWords)
                if (const auto &threshold = limits->value.*words.threshold)
                    checkBound(limits->line, std::string("limit ") + words.limit, threshold->limit);
        }
        // Those of all parameters are for set-points, which this one need not be.
        if (const auto *drive = valueIn(m_entry.drive, false)) {
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

// What an entry speaks of.
enum class Level { System, Boards, Channels };

// An entry for channels has to do with what becomes of their board too.
bool concerns(const Range &range, Level level, const sim::Difference &difference)
{
    if (level == Level::System)
        return difference.slot < 0;
    const bool ofBoard =
        difference.kind == Kind::SlotEmptied || difference.kind == Kind::BoardExchanged;
    const bool ofChannels = level == Level::Channels;
    return range.slots.hold(difference.slot) &&
           (difference.channels.empty() ? !ofChannels || ofBoard : ofChannels);
}

// Of the difference only what lies in the ranges.
void examine(const Entry &entry, const Ranges &ranges, Level level,
             const sim::Difference &difference, Reasons &reasons)
{
    const auto isInRanges = [&](int channel) {
        return std::any_of(ranges.begin(), ranges.end(), [&](const Range &range) {
            return concerns(range, level, difference) &&
                   (channel < 0 || range.channels.hold(channel));
        });
    };
    sim::Difference part = difference;
    part.channels.clear();
    std::copy_if(difference.channels.begin(), difference.channels.end(),
                 std::back_inserter(part.channels), isInRanges);
    if (difference.channels.empty() ? isInRanges(-1) : !part.channels.empty())
        Examination(entry, part, reasons).run();
}

class Attentions {
public:
    Attentions(const SiteFile &site, const std::string &crate) : m_site(site), m_crate(crate) {}

    void examineAll(const Entry &entry, const Ranges &ranges, Level level,
                    const sim::Differences &differences)
    {
        const auto &named = entry.crate.value;
        if (!named.empty() && named != m_crate && m_site.crates.size() > 1)
            return;
        for (const auto &difference : differences)
            examine(entry, ranges, level, difference, m_reasons);
    }

    std::vector<Attention> take() const
    {
        std::vector<Attention> found;
        for (const auto &[line, differences] : m_reasons)
            for (auto &text : sim::differenceLines(differences))
                found.push_back({line, std::move(text)});
        return found;
    }

private:
    const SiteFile &m_site;
    const std::string &m_crate;
    Reasons m_reasons;
};

// The defaults are for whatever channels there are.
sim::Differences withoutLosses(sim::Differences differences)
{
    const auto isLoss = [](const sim::Difference &each) {
        return each.kind == Kind::SlotEmptied || each.kind == Kind::ChannelsGone;
    };
    differences.erase(std::remove_if(differences.begin(), differences.end(), isLoss),
                      differences.end());
    return differences;
}

} // namespace

std::vector<Attention> attention(const SiteFile &site, const std::string &crate,
                                 const sim::Differences &differences)
{
    Attentions found(site, crate);
    found.examineAll(site.defaults, {Range()}, Level::Channels, withoutLosses(differences));
    for (const auto &entry : site.channels)
        found.examineAll(entry, entry.ranges.value, Level::Channels, differences);
    for (const auto &entry : site.boards)
        found.examineAll(entry, entry.ranges.value, Level::Boards, differences);
    for (const auto &entry : site.system)
        found.examineAll(entry, {Range()}, Level::System, differences);
    return found.take();
}

} // namespace site
