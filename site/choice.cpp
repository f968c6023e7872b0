#include "choice.h"

namespace site {

void Choice::reportTwice(const std::string &what, int first, int second) const
{
    const std::string key = what + "/" + std::to_string(first) + "/" + std::to_string(second);
    if (m_findings.isReported(key))
        return;
    m_findings.add(second, key,
                   m_place + " has " + what + " in line " + std::to_string(first) + " already");
}

const Placed<Severity> *Choice::severity(State state) const
{
    return chosen<Placed<Severity>>(
        "this state's severity", [&](const Entry &entry) -> const Placed<Severity> * {
            const auto found = entry.states.find(state);
            return found == entry.states.end() ? nullptr : &found->second;
        });
}

const Entry *Choice::nameEntry() const
{
    const auto *chosenName = get(&Entry::name, "a name");
    for (const Entry *entry : m_entries)
        if (entry->name && &*entry->name == chosenName)
            return entry;
    return nullptr;
}

} // namespace site
