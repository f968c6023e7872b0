// The values of a YAML document, each with its place for what is found wrong.
#pragma once

#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "../model/words.h"
#include "document.h"

namespace sim {

// Integers in decimal or, with 0x in front, hexadecimal; nothing for any other text.
std::optional<int64_t> parseInteger(std::string_view text);

// A value, or the absence of one. Whatever reads it gives nothing when it is
// absent, and after the reason has been reported.
class Field {
public:
    Field(const YAML::Node &node, int line, std::string name, std::string path, Findings &findings);

    bool isPresent() const { return m_node.IsDefined(); }
    bool isList() const { return m_node.IsSequence(); }
    bool isMap() const { return m_node.IsMap(); }
    bool isScalar() const { return m_node.IsScalar(); }
    // Written without quotes: it may be a number.
    bool isPlain() const;
    // Of a scalar, as written.
    const std::string &written() const { return m_node.Scalar(); }

    int line() const { return m_line; }
    const std::string &name() const { return m_name; }
    const std::string &path() const { return m_path; }
    // The same under another path.
    Field at(const std::string &path) const;

    void report(const std::string &text) const { m_findings.add(m_line, m_path, text); }
    // Says what it is instead of what was wanted: "a list".
    void reportKind(const std::string &wanted) const;
    Findings &findings() const { return m_findings; }

    std::optional<std::string> text() const;
    template <class Real> std::optional<Real> real() const; // float or double

    template <class Integer>
    std::optional<Integer> integer(Integer low = std::numeric_limits<Integer>::min(),
                                   Integer high = std::numeric_limits<Integer>::max()) const
    {
        const auto number = integerWithin(low, high);
        return number ? std::optional(static_cast<Integer>(*number)) : std::nullopt;
    }

    // A word of the table of codes.
    template <class Code> std::optional<Code> word() const { return wordOr<Code>(""); }

    // The same, or the number of a code beyond the table.
    template <class Code> std::optional<Code> wordOrCode() const
    {
        using Number = std::underlying_type_t<Code>;
        const auto number = isPlain() ? parseInteger(written()) : std::nullopt;
        if (number && *number >= 0 && *number <= std::numeric_limits<Number>::max() &&
            wordOf(static_cast<Code>(*number)).empty())
            return static_cast<Code>(*number);
        return wordOr<Code>(", nor the number of another code");
    }

    // Of a scalar: a number or word as the plain text means it; other texts stay texts.
    std::variant<bool, int64_t, double, std::string> scalar() const;

    // Of a list, called as the list is.
    std::vector<Field> items() const;
    // Of a map, called as their keys are; those that are merged come last.
    std::vector<Field> entries(const std::string &kind = "a map") const;

private:
    std::optional<int64_t> integerWithin(int64_t low, int64_t high) const;

    template <class Code> std::optional<Code> wordOr(const std::string &alternative) const
    {
        const auto word = text();
        if (!word)
            return std::nullopt;
        if (const auto code = findWord<Code>(*word))
            return code;
        report("\"" + *word + "\" is not one of " + allWords<Code>() + alternative);
        return std::nullopt;
    }

    YAML::Node m_node;
    int m_line;
    std::string m_name;
    std::string m_path;
    Findings &m_findings;
};

// Takes the fields of a map.
class Fields {
public:
    // The kind names the map in messages: "a board".
    Fields(const Field &map, std::string kind);

    // Nothing is missing in what is not a map, which has been reported.
    Field required(const std::string &key);
    Field optional(const std::string &key);

    // Reports the keys that nobody asked for.
    void finish();

private:
    const Field m_map;
    const std::string m_kind;
    const std::vector<Field> m_entries;
    std::vector<std::string> m_asked;
};

} // namespace sim
