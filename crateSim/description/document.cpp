#include "document.h"

#include <algorithm>
#include <sstream>
#include <utf8.h>
#include <yaml-cpp/eventhandler.h>

namespace sim {

namespace {

// Bounds the memory of a large text.
constexpr size_t maxNodes = 250000;

class TooManyValues : public YAML::Exception {
public:
    explicit TooManyValues(const YAML::Mark &mark)
        : YAML::Exception(mark, "more than " + std::to_string(maxNodes) + " values")
    {
    }
};

// Goes through a text before any of its nodes is made.
class Inspector : public YAML::EventHandler {
public:
    explicit Inspector(Findings &findings) : m_findings(findings) {}

    int documentLine() const { return m_documentLine; }

    void OnDocumentStart(const YAML::Mark &mark) override { m_documentLine = lineOf(mark); }
    void OnDocumentEnd() override {}
    void OnNull(const YAML::Mark &mark, YAML::anchor_t) override { count(mark); }
    void OnAlias(const YAML::Mark &mark, YAML::anchor_t) override { count(mark); }

    void OnScalar(const YAML::Mark &mark, const std::string &tag, YAML::anchor_t,
                  const std::string &) override
    {
        count(mark);
        checkTag(mark, tag, {"str", "int", "float", "bool"});
    }

    void OnSequenceStart(const YAML::Mark &mark, const std::string &tag, YAML::anchor_t,
                         YAML::EmitterStyle::value) override
    {
        count(mark);
        checkTag(mark, tag, {"seq"});
    }

    void OnSequenceEnd() override {}

    void OnMapStart(const YAML::Mark &mark, const std::string &tag, YAML::anchor_t,
                    YAML::EmitterStyle::value) override
    {
        count(mark);
        checkTag(mark, tag, {"map"});
    }

    void OnMapEnd() override {}

private:
    void count(const YAML::Mark &mark)
    {
        if (++m_count > maxNodes)
            throw TooManyValues(mark);
    }

    void checkTag(const YAML::Mark &mark, const std::string &tag,
                  std::initializer_list<const char *> names)
    {
        const bool known = tag.empty() || tag == "?" || tag == "!" ||
                           std::any_of(names.begin(), names.end(), [&](const std::string &name) {
                               return tag == "tag:yaml.org,2002:" + name;
                           });
        if (!known)
            m_findings.add(lineOf(mark), "", "tag \"" + tag + "\" is not supported");
    }

    Findings &m_findings;
    int m_documentLine = 0;
    size_t m_count = 0;
};

// What the parser would take for its own end, or pass on unseen.
bool isReadable(const std::string &text, Findings &findings)
{
    if (text.size() > maxYamlSize) {
        findings.add(0, "", "is larger than " + std::to_string(maxYamlSize >> 20) + " MiB");
        return false;
    }
    const auto isControl = [](unsigned char byte) {
        return (byte < ' ' && byte != '\t' && byte != '\n' && byte != '\r') || byte == 0x7f;
    };
    const auto invalid = utf8::find_invalid(text.begin(), text.end());
    const auto bad = std::find_if(text.begin(), invalid, isControl);
    if (bad == text.end())
        return true;
    findings.add(1 + static_cast<int>(std::count(text.begin(), bad, '\n')), "",
                 bad == invalid ? "is not valid UTF-8" : "contains a control character");
    return false;
}

std::optional<YAML::Node> load(const std::string &text, Findings &findings)
{
    std::istringstream stream(text);
    YAML::Parser parser(stream);
    Inspector inspector(findings);
    if (!parser.HandleNextDocument(inspector)) {
        findings.add(0, "", "is empty");
        return std::nullopt;
    }
    if (parser.HandleNextDocument(inspector))
        findings.add(inspector.documentLine(), "", "a second document begins; only one is read");
    return YAML::Load(text);
}

} // namespace

std::optional<YAML::Node> loadYaml(const std::string &text, Findings &findings)
{
    if (!isReadable(text, findings))
        return std::nullopt;
    try {
        return load(text, findings);
    } catch (const TooManyValues &error) {
        findings.add(lineOf(error.mark), "", error.msg);
    } catch (const YAML::Exception &error) {
        findings.add(std::max(0, lineOf(error.mark)), "", "is not YAML: " + error.msg);
    }
    return std::nullopt;
}

} // namespace sim
