#include "mergedentry.h"

#include <utility>

#include "pvlist/names.h"

namespace site {

namespace {

// The lines where the same is said, first and again; 0: nowhere.
using Twice = std::pair<int, int>;

template <class Value>
Twice take(std::optional<Placed<Value>> &into, const std::optional<Placed<Value>> &from)
{
    if (into && from)
        return {into->line, from->line};
    if (from)
        into = from;
    return {};
}

template <class Key, class Value>
Twice take(std::map<Key, Placed<Value>> &into, const std::map<Key, Placed<Value>> &from)
{
    Twice twice;
    for (const auto &[key, value] : from) {
        const auto [place, isNew] = into.emplace(key, value);
        if (!isNew)
            twice = {place->second.line, value.line};
    }
    return twice;
}

} // namespace

void MergedEntry::add(const Entry &entry)
{
    if (m_isTwice)
        return;
    const auto merge = [&](auto member, const std::string &what) {
        const auto [first, second] = take(this->*member, entry.*member);
        if (second == 0 || entry.kind == EntryKind::Defaults)
            return;
        m_isTwice = true;
        report(second, what + " in line " + std::to_string(first) + " already");
    };
    merge(&Entry::name, "a name");
    merge(&Entry::description, "a description");
    merge(&Entry::limits, "alarm limits");
    merge(&Entry::drive, "drive limits");
    merge(&Entry::access, "an access group");
    merge(&Entry::archive, "an archive policy");
    merge(&Entry::states, "this state's severity");
    merge(&Entry::guidance, "guidance");
    merge(&Entry::delay, "a delay");
    merge(&Entry::latching, "latching");
    merge(&Entry::annunciating, "annunciating");
}

void MergedEntry::report(int line, const std::string &text) const
{
    addOnce(m_findings, line, m_place, " has " + text);
}

void addOnce(sim::Findings &findings, int line, const std::string &subject, const std::string &text)
{
    const std::string key = std::to_string(line) + text;
    if (!findings.isReported(key))
        findings.add(line, key, printable(subject) + text);
}

} // namespace site
