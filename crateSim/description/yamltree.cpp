#include "yamltree.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/exceptions.h>
#include <yaml-cpp/parser.h>

#include "utf8.h"

namespace sim {

namespace {

// Bounds what aliases and merges can make of a small text, and the memory of a
// large one.
constexpr size_t maxNodes = 250000;

// Aliases of aliases make a tree far deeper than the text; walking and deleting
// it goes level by level.
constexpr int maxHeight = 500;

class TooLarge : public std::runtime_error {
public:
    TooLarge(int line, const std::string &what) : std::runtime_error(what), m_line(line) {}
    int line() const { return m_line; }

private:
    int m_line;
};

int lineOf(const YAML::Mark &mark) { return mark.line + 1; }

// Builds one document's tree from the parser's events.
class TreeBuilder : public YAML::EventHandler {
public:
    explicit TreeBuilder(std::vector<Finding> &findings) : m_findings(findings) {}

    YamlPointer root() const { return m_root; }
    int line() const { return m_line; }

    void OnDocumentStart(const YAML::Mark &mark) override { m_line = lineOf(mark); }
    void OnDocumentEnd() override {}

    void OnNull(const YAML::Mark &mark, YAML::anchor_t anchor) override
    {
        place(made(mark, YamlNode::Kind::Null, anchor));
    }

    void OnAlias(const YAML::Mark &mark, YAML::anchor_t anchor) override
    {
        const auto found = m_anchors.find(anchor);
        for (const auto &open : m_open) {
            if (found != m_anchors.end() && open.node == found->second) {
                report(mark, "an alias stands inside of what it stands for");
                return OnNull(mark, 0);
            }
        }
        count(lineOf(mark));
        if (found != m_anchors.end())
            place(found->second);
    }

    void OnScalar(const YAML::Mark &mark, const std::string &tag, YAML::anchor_t anchor,
                  const std::string &text) override
    {
        const auto node = made(mark, YamlNode::Kind::Scalar, anchor);
        node->plain = tag == "?" || tag.empty() || isStandard(tag, {"int", "float", "bool"});
        if (!node->plain && tag != "!" && !isStandard(tag, {"str"}))
            report(mark, "tag \"" + tag + "\" means nothing here");
        node->text = text;
        place(node);
    }

    void OnSequenceStart(const YAML::Mark &mark, const std::string &tag, YAML::anchor_t anchor,
                         YAML::EmitterStyle::value) override
    {
        checkTag(mark, tag, "seq");
        open(made(mark, YamlNode::Kind::List, anchor));
    }

    void OnSequenceEnd() override { close(); }

    void OnMapStart(const YAML::Mark &mark, const std::string &tag, YAML::anchor_t anchor,
                    YAML::EmitterStyle::value) override
    {
        checkTag(mark, tag, "map");
        open(made(mark, YamlNode::Kind::Map, anchor));
    }

    void OnMapEnd() override
    {
        merge(m_open.back());
        close();
    }

private:
    struct Open {
        std::shared_ptr<YamlNode> node;
        std::optional<YamlEntry> entry; // a map's key that waits for its value
        bool unusable = false;          // the key is no text: the value goes nowhere
        std::set<std::string> keys;
        std::vector<YamlPointer> merges;
    };

    void report(const YAML::Mark &mark, const std::string &text)
    {
        m_findings.push_back({lineOf(mark), text});
    }

    void count(int line)
    {
        if (++m_count > maxNodes)
            throw TooLarge(line, "more than " + std::to_string(maxNodes) + " values");
    }

    static bool isStandard(const std::string &tag, std::initializer_list<std::string_view> names)
    {
        constexpr std::string_view prefix = "tag:yaml.org,2002:";
        if (tag.compare(0, prefix.size(), prefix) != 0)
            return false;
        for (const auto name : names)
            if (tag.compare(prefix.size(), std::string::npos, name) == 0)
                return true;
        return false;
    }

    void checkTag(const YAML::Mark &mark, const std::string &tag, std::string_view standard)
    {
        if (!tag.empty() && tag != "?" && tag != "!" && !isStandard(tag, {standard}))
            report(mark, "tag \"" + tag + "\" means nothing here");
    }

    std::shared_ptr<YamlNode> made(const YAML::Mark &mark, YamlNode::Kind kind,
                                   YAML::anchor_t anchor)
    {
        count(lineOf(mark));
        auto node = std::make_shared<YamlNode>();
        node->kind = kind;
        node->line = lineOf(mark);
        if (anchor != 0)
            m_anchors[anchor] = node;
        return node;
    }

    void open(std::shared_ptr<YamlNode> node)
    {
        m_open.push_back({});
        m_open.back().node = std::move(node);
    }

    void close()
    {
        const auto node = m_open.back().node;
        for (const auto &item : node->items)
            node->height = std::max(node->height, item->height + 1);
        for (const auto &entry : node->entries)
            node->height = std::max(node->height, entry.value->height + 1);
        if (node->height > maxHeight)
            throw TooLarge(node->line, "more than " + std::to_string(maxHeight) + " levels");
        m_open.pop_back();
        place(node);
    }

    // A complete node goes where the parser stands.
    void place(const YamlPointer &node)
    {
        if (m_open.empty())
            m_root = node;
        else if (m_open.back().node->kind == YamlNode::Kind::List)
            m_open.back().node->items.push_back(node);
        else if (m_open.back().entry || m_open.back().unusable)
            placeValue(m_open.back(), node);
        else
            placeKey(m_open.back(), *node);
    }

    void placeKey(Open &map, const YamlNode &key)
    {
        map.unusable = key.kind != YamlNode::Kind::Scalar;
        if (map.unusable)
            m_findings.push_back(
                {key.line, "key is " + std::string(kindText(key)) + ", not a text"});
        else
            map.entry = YamlEntry{key.text, key.line, nullptr};
    }

    void placeValue(Open &map, const YamlPointer &value)
    {
        if (!map.unusable) {
            map.entry->value = value;
            addEntry(map, std::move(*map.entry));
        }
        map.entry.reset();
        map.unusable = false;
    }

    void addEntry(Open &map, YamlEntry entry)
    {
        if (entry.key == "<<")
            addMerge(map, entry);
        else if (map.keys.insert(entry.key).second)
            map.node->entries.push_back(std::move(entry));
        else
            m_findings.push_back({entry.line, "key \"" + entry.key + "\" is there twice"});
    }

    void addMerge(Open &map, const YamlEntry &entry)
    {
        const bool list = entry.value->kind == YamlNode::Kind::List;
        const auto sources = list ? entry.value->items : std::vector{entry.value};
        for (const auto &source : sources) {
            if (source->kind == YamlNode::Kind::Map)
                map.merges.push_back(source);
            else
                m_findings.push_back({entry.line, "\"<<\" takes a map or a list of maps"});
        }
    }

    // What a map says itself wins, then the first of those merged.
    void merge(Open &map)
    {
        for (const auto &source : map.merges) {
            for (const auto &entry : source->entries) {
                count(map.node->line);
                if (map.keys.insert(entry.key).second)
                    map.node->entries.push_back(entry);
            }
        }
    }

    std::vector<Finding> &m_findings;
    YamlPointer m_root;
    int m_line = 0;
    size_t m_count = 0;
    std::vector<Open> m_open;
    std::map<YAML::anchor_t, std::shared_ptr<YamlNode>> m_anchors;
};

YamlPointer parse(const std::string &text, std::vector<Finding> &findings)
{
    std::istringstream stream(text);
    YAML::Parser parser(stream);
    TreeBuilder first(findings);
    if (!parser.HandleNextDocument(first)) {
        findings.push_back({0, "is empty"});
        return nullptr;
    }
    std::vector<Finding> ignored;
    TreeBuilder second(ignored);
    if (parser.HandleNextDocument(second))
        findings.push_back({second.line(), "a second document begins; one is all that is read"});
    return first.root();
}

// What the parser would take for its own end, or pass on unseen.
std::optional<Finding> unreadable(const std::string &text)
{
    if (text.size() > maxYamlSize)
        return Finding{0, "is larger than " + std::to_string(maxYamlSize >> 20) + " MiB"};
    int line = 1;
    for (size_t at = 0; at < text.size();) {
        const size_t length = utf8Length(std::string_view(text).substr(at));
        const auto byte = static_cast<unsigned char>(text[at]);
        if (length == 0)
            return Finding{line, "holds what is not UTF-8"};
        if ((byte < ' ' && byte != '\t' && byte != '\n' && byte != '\r') || byte == 0x7f)
            return Finding{line, "holds a control character"};
        line += byte == '\n' ? 1 : 0;
        at += length;
    }
    return std::nullopt;
}

} // namespace

YamlPointer readYaml(const std::string &text, std::vector<Finding> &findings)
{
    if (const auto finding = unreadable(text)) {
        findings.push_back(*finding);
        return nullptr;
    }
    try {
        return parse(text, findings);
    } catch (const TooLarge &error) {
        findings.push_back({error.line(), error.what()});
    } catch (const YAML::Exception &error) {
        findings.push_back({std::max(0, lineOf(error.mark)), "is not YAML: " + error.msg});
    }
    return nullptr;
}

std::string_view kindText(const YamlNode &node)
{
    switch (node.kind) {
    case YamlNode::Kind::Scalar: return node.plain ? "a single value" : "a text";
    case YamlNode::Kind::List: return "a list";
    case YamlNode::Kind::Map: return "a map";
    case YamlNode::Kind::Null: break;
    }
    return "empty";
}

} // namespace sim
