// Takes typed fields out of a YAML map and notes whatever is wrong with them.
#pragma once

#include <limits>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "../model/value.h"
#include "../model/words.h"
#include "yamltree.h"

namespace sim {

// Aliases can make a small text endless to read.
class TooMuchToRead : public std::runtime_error {
public:
    TooMuchToRead() : std::runtime_error("too much to read") {}
};

// What is known about the text that is being read, for the findings. Of very many
// only the first are kept, and the number of the others.
class Notes {
public:
    // Counts a value that is being looked at. Throws TooMuchToRead.
    void visit();

    void report(int line, const std::string &path, const std::string &text);

    void place(const std::string &path, int line) { m_lines.emplace(path, line); }
    bool isPlaced(const std::string &path) const { return m_lines.count(path) != 0; }
    // Of the path or the nearest one above it that has a place; 0 when none has.
    int lineOf(std::string path) const;

    // Whether something was found at exactly that path.
    bool isReported(const std::string &path) const { return m_reported.count(path) != 0; }

    // By line.
    std::vector<Finding> takeFindings();

private:
    std::vector<Finding> m_findings;
    size_t m_more = 0;
    size_t m_visits = 0;
    std::map<std::string, int> m_lines;
    std::set<std::string> m_reported;
    std::set<std::pair<int, std::string>> m_told;
};

// A node with its name for messages and its path for the notes.
struct NamedNode {
    YamlPointer node;
    int line = 0;
    std::string name;
    std::string path;
};

// Each reads a node; without a result the reason has been noted.
std::optional<std::string> textOf(const NamedNode &node, Notes &notes);
std::optional<float> realOf(const NamedNode &node, Notes &notes);
std::optional<double> doubleOf(const NamedNode &node, Notes &notes);
std::optional<int64_t> integerOf(const NamedNode &node, int64_t low, int64_t high, Notes &notes);
const std::vector<YamlPointer> *listOf(const NamedNode &node, Notes &notes);

// Integers in decimal or, with 0x in front, hexadecimal; nothing for any other text.
std::optional<int64_t> parseInteger(std::string_view text);

// A number or word as the plain text means it; other texts stay texts.
std::variant<bool, int64_t, double, std::string> plainValue(const YamlNode &scalar);

enum class Need : uint8_t { Optional, Required };

class Fields {
public:
    // The kind names the map in messages: "a board". The notes must outlive this.
    Fields(const NamedNode &node, std::string kind, Notes &notes);

    // Otherwise it is no map, which has been noted, and no field is ever found
    // or missed in it.
    bool isMap() const { return m_isMap; }

    std::optional<NamedNode> take(const std::string &key, Need need);

    std::optional<std::string> text(const std::string &key, Need need);
    std::optional<float> real(const std::string &key, Need need);
    std::optional<double> number(const std::string &key, Need need);

    template <class Integer>
    std::optional<Integer> integer(const std::string &key, Need need,
                                   Integer low = std::numeric_limits<Integer>::min(),
                                   Integer high = std::numeric_limits<Integer>::max())
    {
        const auto node = take(key, need);
        const auto number = node ? integerOf(*node, low, high, m_notes) : std::nullopt;
        return number ? std::optional(static_cast<Integer>(*number)) : std::nullopt;
    }

    // A word of the table of codes.
    template <class Code> std::optional<Code> word(const std::string &key, Need need)
    {
        const auto node = take(key, need);
        return node ? wordIn<Code>(*node, {}) : std::nullopt;
    }

    // The same, or the number of a code beyond the table.
    template <class Code> std::optional<Code> wordOrCode(const std::string &key, Need need)
    {
        const auto node = take(key, need);
        if (!node)
            return std::nullopt;
        using Number = std::underlying_type_t<Code>;
        const bool isPlain = node->node->kind == YamlNode::Kind::Scalar && node->node->plain;
        const auto number = isPlain ? parseInteger(node->node->text) : std::nullopt;
        if (number && *number >= 0 && *number <= std::numeric_limits<Number>::max() &&
            wordOf(static_cast<Code>(*number)).empty())
            return static_cast<Code>(*number);
        return wordIn<Code>(*node, ", nor a code that has no word");
    }

    // The list under the key, empty for none.
    std::vector<NamedNode> list(const std::string &key, Need need);
    // The map under the key as named nodes, in their order.
    std::vector<NamedNode> entries(const std::string &key, Need need);

    // Notes the keys that nobody took.
    void finish();

private:
    template <class Code> std::optional<Code> wordIn(const NamedNode &node, const std::string &more)
    {
        const auto text = textOf(node, m_notes);
        if (!text)
            return std::nullopt;
        if (const auto code = findWord<Code>(*text))
            return code;
        m_notes.report(node.line, node.path,
                       "\"" + *text + "\" is none of " + allWords<Code>() + more);
        return std::nullopt;
    }

    const NamedNode m_node;
    const std::string m_kind;
    Notes &m_notes;
    const bool m_isMap;
    std::vector<std::string> m_asked;
};

} // namespace sim
