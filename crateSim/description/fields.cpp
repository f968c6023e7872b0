#include "fields.h"

#include <algorithm>
#include <charconv>

namespace sim {

namespace {

constexpr size_t maxFindings = 1000;
constexpr size_t maxVisits = 500000;

template <class Number> std::optional<Number> parseReal(std::string_view text)
{
    constexpr Number infinity = std::numeric_limits<Number>::infinity();
    if (text == ".inf" || text == "+.inf")
        return infinity;
    if (text == "-.inf")
        return -infinity;
    if (text == ".nan")
        return std::numeric_limits<Number>::quiet_NaN();
    if (const auto integer = parseInteger(text))
        return static_cast<Number>(*integer);
    if (!text.empty() && text.front() == '+')
        text.remove_prefix(1);
    // from_chars() knows words for infinity too, but they are no YAML.
    if (text.find_first_not_of("0123456789.eE+-") != std::string_view::npos)
        return std::nullopt;
    Number number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

bool isPlain(const NamedNode &node)
{
    return node.node->kind == YamlNode::Kind::Scalar && node.node->plain;
}

std::string quoted(const std::string &text) { return "\"" + text + "\""; }

template <class Number> std::optional<Number> readReal(const NamedNode &node, Notes &notes)
{
    const auto number = isPlain(node) ? parseReal<Number>(node.node->text) : std::nullopt;
    if (!number)
        notes.report(node.line, node.path,
                     quoted(node.name) +
                         (isPlain(node)
                              ? " is no number: " + quoted(node.node->text)
                              : " is " + std::string(kindText(*node.node)) + ", not a number"));
    return number;
}

} // namespace

void Notes::report(int line, const std::string &path, const std::string &text)
{
    m_reported.insert(path);
    // An alias would have everything found again.
    if (!m_told.emplace(line, text).second)
        return;
    if (m_findings.size() < maxFindings)
        m_findings.push_back({line, text});
    else
        ++m_more;
}

void Notes::visit()
{
    if (++m_visits > maxVisits)
        throw TooMuchToRead();
}

std::vector<Finding> Notes::takeFindings()
{
    std::stable_sort(m_findings.begin(), m_findings.end(),
                     [](const auto &a, const auto &b) { return a.line < b.line; });
    if (m_more > 0)
        m_findings.push_back({m_findings.back().line, "and " + std::to_string(m_more) +
                                                          " more findings, here or elsewhere"});
    return std::move(m_findings);
}

int Notes::lineOf(std::string path) const
{
    for (;;) {
        const auto found = m_lines.find(path);
        if (found != m_lines.end())
            return found->second;
        const auto slash = path.rfind('/');
        if (slash == std::string::npos)
            return 0;
        path.resize(slash);
    }
}

std::optional<std::string> textOf(const NamedNode &node, Notes &notes)
{
    if (node.node->kind == YamlNode::Kind::Scalar)
        return node.node->text;
    notes.report(node.line, node.path,
                 quoted(node.name) + " is " + std::string(kindText(*node.node)) + ", not a text");
    return std::nullopt;
}

std::optional<float> realOf(const NamedNode &node, Notes &notes)
{
    return readReal<float>(node, notes);
}

std::optional<double> doubleOf(const NamedNode &node, Notes &notes)
{
    return readReal<double>(node, notes);
}

std::optional<int64_t> parseInteger(std::string_view text)
{
    const bool negative = !text.empty() && text.front() == '-';
    if (negative || (!text.empty() && text.front() == '+'))
        text.remove_prefix(1);
    const bool hexadecimal = text.substr(0, 2) == "0x";
    if (hexadecimal)
        text.remove_prefix(2);
    if (text.empty() || text.front() == '-')
        return std::nullopt;
    int64_t number = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), number, hexadecimal ? 16 : 10);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return negative ? -number : number;
}

std::optional<int64_t> integerOf(const NamedNode &node, int64_t low, int64_t high, Notes &notes)
{
    const auto number = isPlain(node) ? parseInteger(node.node->text) : std::nullopt;
    if (number && *number >= low && *number <= high)
        return number;
    notes.report(node.line, node.path,
                 quoted(node.name) + " is no integer from " + std::to_string(low) + " to " +
                     std::to_string(high));
    return std::nullopt;
}

const std::vector<YamlPointer> *listOf(const NamedNode &node, Notes &notes)
{
    if (node.node->kind == YamlNode::Kind::List)
        return &node.node->items;
    notes.report(node.line, node.path,
                 quoted(node.name) + " is " + std::string(kindText(*node.node)) + ", not a list");
    return nullptr;
}

std::variant<bool, int64_t, double, std::string> plainValue(const YamlNode &scalar)
{
    if (!scalar.plain)
        return scalar.text;
    if (scalar.text == "true" || scalar.text == "false")
        return scalar.text == "true";
    if (const auto integer = parseInteger(scalar.text))
        return *integer;
    if (const auto real = parseReal<double>(scalar.text))
        return *real;
    return scalar.text;
}

Fields::Fields(const NamedNode &node, std::string kind, Notes &notes)
    : m_node(node), m_kind(std::move(kind)), m_notes(notes),
      m_isMap(node.node->kind == YamlNode::Kind::Map)
{
    notes.visit();
    if (!m_isMap)
        notes.report(node.line, node.path,
                     quoted(node.name) + " is " + std::string(kindText(*node.node)) + ", not " +
                         m_kind);
}

std::optional<NamedNode> Fields::take(const std::string &key, Need need)
{
    m_asked.push_back(key);
    const auto &entries = m_node.node->entries;
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [&](const auto &entry) { return entry.key == key; });
    const std::string path = m_node.path.empty() ? key : m_node.path + "/" + key;
    if (found != entries.end()) {
        m_notes.place(path, found->line);
        return NamedNode{found->value, found->line, key, path};
    }
    if (m_isMap && need == Need::Required)
        m_notes.report(m_node.line, path, quoted(key) + " is missing in " + m_kind);
    return std::nullopt;
}

std::optional<std::string> Fields::text(const std::string &key, Need need)
{
    const auto node = take(key, need);
    return node ? textOf(*node, m_notes) : std::nullopt;
}

std::optional<float> Fields::real(const std::string &key, Need need)
{
    const auto node = take(key, need);
    return node ? realOf(*node, m_notes) : std::nullopt;
}

std::optional<double> Fields::number(const std::string &key, Need need)
{
    const auto node = take(key, need);
    return node ? doubleOf(*node, m_notes) : std::nullopt;
}

std::vector<NamedNode> Fields::list(const std::string &key, Need need)
{
    std::vector<NamedNode> all;
    const auto node = take(key, need);
    const auto *items = node ? listOf(*node, m_notes) : nullptr;
    for (size_t index = 0; items != nullptr && index < items->size(); ++index) {
        const auto &item = (*items)[index];
        m_notes.visit();
        const std::string path = node->path + "/" + std::to_string(index);
        m_notes.place(path, item->line);
        all.push_back({item, item->line, key, path});
    }
    return all;
}

std::vector<NamedNode> Fields::entries(const std::string &key, Need need)
{
    std::vector<NamedNode> all;
    const auto node = take(key, need);
    if (!node || !Fields(*node, "a map", m_notes).isMap())
        return all;
    for (const auto &entry : node->node->entries) {
        m_notes.visit();
        const std::string path = node->path + "/" + entry.key;
        m_notes.place(path, entry.line);
        all.push_back({entry.value, entry.line, entry.key, path});
    }
    return all;
}

void Fields::finish()
{
    if (!m_isMap)
        return;
    std::string known;
    for (const auto &key : m_asked)
        known.append(known.empty() ? "" : ", ").append(key);
    for (const auto &entry : m_node.node->entries)
        if (std::find(m_asked.begin(), m_asked.end(), entry.key) == m_asked.end())
            m_notes.report(entry.line, m_node.path,
                           quoted(entry.key) + " is no key of " + m_kind + " (known: " + known +
                               ")");
}

} // namespace sim
