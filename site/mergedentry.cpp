#include "mergedentry.h"

#include <functional>

#include "pvlist/names.h"

namespace site {

namespace {

// Hears of what is said in two lines.
using Twice = std::function<void(const std::string &what, int first, int second)>;

template <class Value>
void take(std::optional<Placed<Value>> &into, const std::optional<Placed<Value>> &from,
          const char *what, const Twice &twice)
{
    if (!into)
        into = from;
    else if (from)
        twice(what, into->line, from->line);
}

template <class Key, class Value>
void take(std::map<Key, Placed<Value>> &into, const std::map<Key, Placed<Value>> &from,
          const char *what, const Twice &twice)
{
    for (const auto &[key, value] : from) {
        const auto [place, isNew] = into.emplace(key, value);
        if (!isNew)
            twice(what, place->second.line, value.line);
    }
}

void merge(Entry &into, const Entry &from, const Twice &twice)
{
    take(into.name, from.name, "a name", twice);
    take(into.description, from.description, "a description", twice);
    take(into.limits, from.limits, "alarm limits", twice);
    take(into.drive, from.drive, "drive limits", twice);
    take(into.access, from.access, "an access group", twice);
    take(into.archive, from.archive, "an archive policy", twice);
    take(into.states, from.states, "this state's severity", twice);
    take(into.guidance, from.guidance, "guidance", twice);
    take(into.delay, from.delay, "a delay", twice);
    take(into.latching, from.latching, "latching", twice);
    take(into.annunciating, from.annunciating, "annunciating", twice);
}

} // namespace

void MergedEntry::add(const Entry &entry)
{
    if (m_isTwice)
        return;
    merge(m_merged, entry, [this](const std::string &what, int first, int second) {
        m_isTwice = true;
        report(second, what + " in line " + std::to_string(first) + " already");
    });
}

void MergedEntry::addDefaults(const Entry &defaults)
{
    merge(m_merged, defaults, [](const std::string &, int, int) {});
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
