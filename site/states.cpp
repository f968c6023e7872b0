#include "states.h"

#include <algorithm>

#include "recordtext.h"

namespace site {

namespace {

constexpr size_t calcInputs = 12; // of a calc record
constexpr size_t fanout = 8;      // of a dfanout record

// An event number that every base takes; the server's own database uses none.
constexpr const char *lostEvent = "181";

// The states by the bits of the status word, which come before others as a mainframe's own panel
// has them. Two expressions, since one takes 80 characters. The second is asked where the first
// gives 0.
constexpr const char *urgentStates = "A&2048?15:A&1024?14:A&2?2:A&64?8:A&512?7:A&256?9:A&4?3:"
                                     "A&8?4:A&16?5:0";
constexpr const char *otherStates = "B?B:A&128?10:A&32?6:A&4096?11:A&8192?5:A&16384?12:"
                                    "A&32768?13:A&1";

constexpr const char *stateFields[stateCount] = {"ZR", "ON", "TW", "TH", "FR", "FV", "SX", "SV",
                                                 "EI", "NI", "TE", "EL", "TV", "TT", "FT", "FF"};

std::string input(const std::string &record, const char *modifiers = "NPP MS")
{
    return record + " " + modifiers;
}

class Writer {
public:
    Writer(const PlannedCrate &crate, bool stale)
        : m_crate(crate), m_lost(stale ? crate.name + ":Health:Lost" : "")
    {
    }

    std::string run()
    {
        std::vector<const PlannedBoard *> boards;
        for (const PlannedBoard &board : m_crate.boards)
            if (board.hasStates())
                boards.push_back(&board);
        if (boards.empty())
            return "";
        std::vector<std::string> sums;
        for (const PlannedBoard *board : boards) {
            addBoard(*board, sumOf(m_crate.name, sums.size(), boards.size()));
            sums.push_back(board->record + ":Channels");
        }
        addSummary(m_crate.name, sums, "");
        if (!m_lost.empty())
            addLostEvent();
        return std::move(m_text);
    }

private:
    void addBoard(const PlannedBoard &board, const std::string &next)
    {
        std::vector<const PlannedChannel *> channels;
        for (const PlannedChannel &channel : board.channels)
            if (channel.hasState)
                channels.push_back(&channel);
        std::vector<std::string> counts;
        for (const PlannedChannel *channel : channels) {
            addChannel(*channel, sumOf(board.record, counts.size(), channels.size()));
            counts.push_back(channel->stateRecord() + ":Count");
            m_entries.push_back(stateEntry(*channel));
        }
        addSummary(board.record, counts, next);
    }

    void addChannel(const PlannedChannel &channel, const std::string &next)
    {
        const std::string state = channel.stateRecord();
        const std::string status = channel.roles.status->parameter->record;
        RecordText word("calcout", state + ":Word");
        word.field("INPA", input(status, "NPP NMS"))
            .field("INPB", input(status + ".SEVR", "NPP NMS"));
        if (!m_lost.empty())
            word.field("INPC", input(m_lost, "NPP NMS"));
        // A reading that fails and a lost connection are changes too.
        word.field("CALC", "A+65536*B+262144*C")
            .field("OOPT", "On Change")
            .field("DOPT", "Use OCAL");
        word.field("OCAL", urgentStates).field("OUT", state + ":Code.B PP").field("PINI", "YES");
        RecordText code("calc", state + ":Code");
        code.field("INPA", input(status));
        code.field("CALC",
                   m_lost.empty() ? otherStates : "(" + std::string(otherStates) + ")+16*C");
        if (!m_lost.empty())
            code.field("INPC", input(m_lost, "NPP NMS"))
                .field("HIHI", "16")
                .field("HHSV", "INVALID");
        code.field("PINI", "YES").field("FLNK", state);
        RecordText count("calc", state + ":Count");
        count.field("INPA", input(status, "NPP NMS")).field("INPB", input(state));
        count.field("CALC", "(A&1)+1E4*((A&6)>0)+1E8*((A&576)>0)").field("FLNK", next);
        m_text += word.text() + code.text() + stateText(channel) + count.text();
    }

    std::string stateText(const PlannedChannel &channel) const
    {
        const std::string state = channel.stateRecord();
        RecordText record("mbbi", state);
        if (!channel.name.empty())
            record.alias(channel.shownState());
        record.field("DESC", channel.description.empty() ? "State" : channel.description);
        // The number's bits above the fourth say that the connection is lost.
        record.field("DTYP", "Raw Soft Channel").field("INP", input(state + ":Code"));
        record.field("NOBT", "4");
        for (size_t index = 0; index < stateCount; ++index) {
            const std::string prefix = stateFields[index];
            record.field(prefix + "VL", std::to_string(index));
            record.field(prefix + "ST", stateWords[index].text);
            if (channel.severities.at(index) != Severity::None)
                record.field(prefix + "SV", severityText(channel.severities.at(index)));
        }
        return record.field("FLNK", state + ":Count").text();
    }

    // The record that sums up one of `count` others, at the first level unless told.
    static std::string sumOf(const std::string &whole, size_t index, size_t count, int level = 0)
    {
        const std::string total = whole + ":Channels";
        return count <= calcInputs
                   ? total
                   : total + ":" + std::to_string(level) + ":" + std::to_string(index / calcInputs);
    }

    void addSum(const std::string &record, const std::vector<std::string> &parts,
                const std::string &next)
    {
        RecordText text("calc", record);
        std::string sum;
        for (size_t index = 0; index < parts.size(); ++index) {
            const std::string letter(1, static_cast<char>('A' + index));
            text.field("INP" + letter, input(parts[index]));
            sum += (index == 0 ? "" : "+") + letter;
        }
        m_text += text.field("CALC", sum).field("FLNK", next).text();
    }

    // Sums of at most twelve of them, sums of these, and so on.
    void addTotal(const std::string &whole, const std::vector<std::string> &summands, int level = 0)
    {
        const size_t count = summands.size();
        if (count <= calcInputs)
            return addSum(whole + ":Channels", summands, whole + ":" + channelsOn);
        std::vector<std::string> sums;
        const size_t sumCount = (count + calcInputs - 1) / calcInputs;
        for (size_t begin = 0; begin < count; begin += calcInputs) {
            const auto *first = summands.data() + begin;
            const std::string next = sumOf(whole, sums.size(), sumCount, level + 1);
            sums.push_back(sumOf(whole, begin, count, level));
            addSum(sums.back(), {first, first + std::min(calcInputs, count - begin)}, next);
        }
        addTotal(whole, sums, level + 1);
    }

    void addSummary(const std::string &whole, const std::vector<std::string> &summands,
                    const std::string &next)
    {
        addTotal(whole, summands);
        addCount(whole, channelsOn, "Channels on", "A-1E4*FLOOR(A/1E4)", channelsRamping);
        addCount(whole, channelsRamping, "Channels ramping", "FLOOR(A/1E4)-1E4*FLOOR(A/1E8)",
                 channelsTripped);
        addCount(whole, channelsTripped, "Channels tripped", "FLOOR(A/1E8)", worstSeverity);
        RecordText worst("mbbi", whole + ":" + worstSeverity);
        worst.field("DESC", "Worst severity of the channels");
        worst.field("INP", input(whole + ":Channels.SEVR", "NPP MS"));
        for (size_t index = 0; index < 4; ++index)
            worst.field(std::string(stateFields[index]) + "ST",
                        severityText(static_cast<Severity>(index)));
        if (!next.empty())
            worst.field("FLNK", next);
        m_text += worst.text();
    }

    void addCount(const std::string &whole, const char *name, const char *description,
                  const char *expression, const char *next)
    {
        RecordText record("calc", whole + ":" + name);
        record.field("DESC", description);
        record.field("INPA", input(whole + ":Channels", "NPP MSI"));
        record.field("CALC", expression).field("FLNK", whole + ":" + next);
        m_text += record.text();
    }

    // Processes every Word once when the connection is lost. When it is back the status records,
    // which are then read again, do so.
    void addLostEvent()
    {
        const std::string event = m_crate.name + ":Health:LostEvent";
        m_text += RecordText("bi", m_lost).field("FLNK", event).text();
        RecordText record("event", event);
        record.field("SDIS", m_lost).field("DISV", "0").field("VAL", lostEvent);
        m_text += record.text();
        for (size_t begin = 0; begin < m_entries.size(); begin += fanout) {
            RecordText each("dfanout", m_lost + ":" + std::to_string(begin / fanout));
            each.field("SCAN", "Event").field("EVNT", lostEvent).field("VAL", "1");
            for (size_t index = begin; index < std::min(m_entries.size(), begin + fanout); ++index)
                each.field(std::string("OUT") + static_cast<char>('A' + index - begin),
                           m_entries[index] + ".PROC PP");
            m_text += each.text();
        }
    }

    const PlannedCrate &m_crate;
    const std::string m_lost; // empty: nothing becomes INVALID
    std::string m_text;
    std::vector<std::string> m_entries;
};

} // namespace

std::string stateEntry(const PlannedChannel &channel) { return channel.stateRecord() + ":Word"; }

std::string longestStateRecord(const PlannedChannel &channel)
{
    return channel.stateRecord() + ":Count";
}

std::string stateRecords(const PlannedCrate &crate, bool stale)
{
    return Writer(crate, stale).run();
}

} // namespace site
