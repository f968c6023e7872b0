// What the entries of a site file say of one channel, board or crate.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "sitefile.h"

namespace site {

// The entries that speak of one place. Two of them must not say the same thing.
class Choice {
public:
    // The place names it in findings: "03:007". The defaults may be null.
    Choice(std::string place, const Entry *defaults, sim::Findings &findings)
        : m_place(std::move(place)), m_defaults(defaults), m_findings(findings)
    {
    }

    void add(const Entry &entry) { m_entries.push_back(&entry); }

    const std::string &place() const { return m_place; }
    const std::vector<const Entry *> &entries() const { return m_entries; }

    // An optional member of an entry, or else that of the defaults; null when nobody says it.
    template <class Value>
    const Placed<Value> *get(std::optional<Placed<Value>> Entry::*member, const char *what) const
    {
        return chosen<Placed<Value>>(what, [&](const Entry &entry) -> const Placed<Value> * {
            const auto &value = entry.*member;
            return value ? &*value : nullptr;
        });
    }

    // What is said of a parameter by its name.
    template <class Value>
    const Placed<Value> *get(ByParameter<Value> Entry::*member, const std::string &parameter,
                             const char *what) const
    {
        return chosen<Placed<Value>>(what, [&](const Entry &entry) -> const Placed<Value> * {
            const auto found = (entry.*member).find(parameter);
            return found == (entry.*member).end() ? nullptr : &found->second;
        });
    }

    const Placed<Severity> *severity(State state) const;

    // The entry that gives the name, or null.
    const Entry *nameEntry() const;

    void report(int line, const std::string &text) const
    {
        m_findings.add(line, "", m_place + " " + text);
    }

private:
    template <class Value>
    const Value *chosen(const std::string &what,
                        const std::function<const Value *(const Entry &)> &from) const
    {
        const Value *found = nullptr;
        for (const Entry *entry : m_entries) {
            const Value *value = from(*entry);
            if (found != nullptr && value != nullptr)
                reportTwice(what, found->line, value->line);
            else if (value != nullptr)
                found = value;
        }
        return found == nullptr && m_defaults != nullptr ? from(*m_defaults) : found;
    }

    // Once for two lines, however many channels they have in common.
    void reportTwice(const std::string &what, int first, int second) const;

    const std::string m_place;
    const Entry *m_defaults;
    sim::Findings &m_findings;
    std::vector<const Entry *> m_entries;
};

} // namespace site
