#include "field.h"

#include <algorithm>
#include <charconv>

namespace sim {

namespace {

std::string quoted(const std::string &text) { return "\"" + text + "\""; }

std::string kindText(const YAML::Node &node, bool plain)
{
    switch (node.Type()) {
    case YAML::NodeType::Scalar: return plain ? "a single value" : "a text";
    case YAML::NodeType::Sequence: return "a list";
    case YAML::NodeType::Map: return "a map";
    default: return "empty";
    }
}

// The entries of a map as YAML has them and those it merges.
class EntryReader {
public:
    EntryReader(const YAML::Node &map, const std::string &path, Findings &findings)
        : m_path(path), m_findings(findings), m_maps{map}
    {
    }

    // What a map says itself wins, then the first of those merged.
    std::vector<Field> run()
    {
        while (!m_maps.empty()) {
            const YAML::Node map = m_maps.back();
            m_maps.pop_back();
            m_merges.clear();
            for (const auto &entry : map)
                read(entry.first, entry.second);
            m_maps.insert(m_maps.end(), m_merges.rbegin(), m_merges.rend());
            m_isMerged = true;
        }
        return std::move(m_entries);
    }

private:
    void read(const YAML::Node &key, const YAML::Node &value)
    {
        m_findings.visit();
        const int line = lineOf(key.Mark());
        if (!key.IsScalar())
            report(line, "key is " + kindText(key, false) + ", not a text");
        else if (key.Scalar() == "<<")
            merge(line, value);
        else if (m_keys.insert(key.Scalar()).second)
            add(line, key.Scalar(), value);
        else
            report(line, "key " + quoted(key.Scalar()) + " appears twice");
    }

    void add(int line, const std::string &key, const YAML::Node &value)
    {
        const std::string path = m_path.empty() ? key : m_path + "/" + key;
        m_findings.setLine(path, line);
        m_entries.emplace_back(value, line, key, path, m_findings);
    }

    void merge(int line, const YAML::Node &value)
    {
        if (value.IsSequence())
            for (const auto &source : value)
                mergeMap(line, source);
        else
            mergeMap(line, value);
    }

    void mergeMap(int line, const YAML::Node &source)
    {
        m_findings.visit();
        if (source.IsMap())
            m_merges.push_back(source);
        else
            report(line, "\"<<\" takes a map or a list of maps");
    }

    // A merged map is reported on where it stands.
    void report(int line, const std::string &text)
    {
        if (!m_isMerged)
            m_findings.add(line, m_path, text);
    }

    const std::string m_path;
    Findings &m_findings;
    // Only ever appended to: to assign a node is to change the document.
    std::vector<YAML::Node> m_maps; // to come, the next one last
    std::vector<YAML::Node> m_merges;
    bool m_isMerged = false;
    std::set<std::string> m_keys;
    std::vector<Field> m_entries;
};

} // namespace

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

Field::Field(const YAML::Node &node, int line, std::string name, std::string path,
             Findings &findings)
    : m_node(node), m_line(line), m_name(std::move(name)), m_path(std::move(path)),
      m_findings(findings)
{
}

Field Field::at(const std::string &path) const
{
    m_findings.setLine(path, m_line);
    return {m_node, m_line, m_name, path, m_findings};
}

bool Field::isPlain() const
{
    return isScalar() && m_node.Tag() != "!" && m_node.Tag() != "tag:yaml.org,2002:str";
}

void Field::reportKind(const std::string &wanted) const
{
    if (isPresent())
        report(quoted(m_name) + " is " + kindText(m_node, isPlain()) + ", not " + wanted);
}

std::optional<std::string> Field::text() const
{
    if (isScalar())
        return written();
    reportKind("a text");
    return std::nullopt;
}

template <class Real> std::optional<Real> Field::real() const
{
    if (!isPlain()) {
        reportKind("a number");
        return std::nullopt;
    }
    if (const auto integer = parseInteger(written()))
        return static_cast<Real>(*integer);
    Real number = 0;
    if (YAML::convert<Real>::decode(m_node, number))
        return number;
    report(quoted(m_name) + " is not a number: " + quoted(written()));
    return std::nullopt;
}

template std::optional<float> Field::real() const;
template std::optional<double> Field::real() const;

std::optional<int64_t> Field::integerWithin(int64_t low, int64_t high) const
{
    const auto number = isPlain() ? parseInteger(written()) : std::nullopt;
    if (number && *number >= low && *number <= high)
        return number;
    if (isPresent())
        report(quoted(m_name) + " is not an integer from " + std::to_string(low) + " to " +
               std::to_string(high));
    return std::nullopt;
}

std::variant<bool, int64_t, double, std::string> Field::scalar() const
{
    if (!isPlain())
        return written();
    if (written() == "true" || written() == "false")
        return written() == "true";
    if (const auto integer = parseInteger(written()))
        return *integer;
    double real = 0;
    if (YAML::convert<double>::decode(m_node, real))
        return real;
    return written();
}

std::vector<Field> Field::items() const
{
    std::vector<Field> all;
    if (!isList())
        reportKind("a list");
    else
        for (const auto &item : m_node) {
            m_findings.visit();
            const std::string path = m_path + "/" + std::to_string(all.size());
            m_findings.setLine(path, lineOf(item.Mark()));
            all.emplace_back(item, lineOf(item.Mark()), m_name, path, m_findings);
        }
    return all;
}

std::vector<Field> Field::entries(const std::string &kind) const
{
    if (isMap())
        return EntryReader(m_node, m_path, m_findings).run();
    reportKind(kind);
    return {};
}

Fields::Fields(const Field &map, std::string kind)
    : m_map(map), m_kind(std::move(kind)), m_entries(map.entries(m_kind))
{
}

Field Fields::optional(const std::string &key)
{
    static const YAML::Node absent(YAML::NodeType::Undefined);
    m_asked.push_back(key);
    for (const auto &entry : m_entries)
        if (entry.name() == key)
            return entry;
    const std::string path = m_map.path().empty() ? key : m_map.path() + "/" + key;
    return {absent, m_map.line(), key, path, m_map.findings()};
}

Field Fields::required(const std::string &key)
{
    Field field = optional(key);
    if (m_map.isMap() && !field.isPresent())
        field.report(quoted(key) + " is missing in " + m_kind);
    return field;
}

void Fields::finish()
{
    std::string known;
    for (const auto &key : m_asked)
        known.append(known.empty() ? "" : ", ").append(key);
    for (const auto &entry : m_entries)
        if (std::find(m_asked.begin(), m_asked.end(), entry.name()) == m_asked.end())
            m_map.findings().add(entry.line(), m_map.path(),
                                 m_kind + " has no key " + quoted(entry.name()) +
                                     " (known: " + known + ")");
}

} // namespace sim
