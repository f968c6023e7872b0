#include <algorithm>
#include <limits>

#include "reader.h"

namespace sim {

namespace {

constexpr float largest = std::numeric_limits<float>::max();

// Reads one parameter of a list. What cannot be read is left such that nothing
// else looks wrong because of it.
class ParameterReader {
public:
    ParameterReader(const NamedNode &node, Notes &notes)
        : m_fields(node, "a parameter", notes), m_notes(notes)
    {
    }

    ParameterDescription run()
    {
        const auto name = m_fields.text("name", Need::Required);
        const auto type = m_fields.wordOrCode<ParamType>("type", Need::Required);
        m_typed = type.has_value();
        m_parameter = blankParameter(type.value_or(ParamType::Text));
        m_parameter.name = name.value_or("");
        m_parameter.mode = m_fields.wordOrCode<Mode>("mode", Need::Required).value_or(Mode::Read);
        m_parameter.role = m_fields.word<Role>("role", Need::Optional).value_or(Role::None);
        readLimits();
        readLabels();
        readStart();
        m_fields.finish();
        return m_parameter;
    }

    bool isJudgeable() const { return m_typed; }

private:
    // Whether fields of a type are there to be read; otherwise they are taken
    // all the same and noted where the type is known not to have them.
    bool belongs(bool has, std::initializer_list<const char *> keys)
    {
        for (const char *key : keys) {
            const auto node = has ? std::nullopt : m_fields.take(key, Need::Optional);
            if (node && m_typed)
                m_notes.report(node->line, node->path,
                               "\"" + std::string(key) + "\" does not belong to the type " +
                                   typeText());
        }
        return has;
    }

    std::string typeText() const
    {
        const auto word = wordOf(m_parameter.type);
        return word.empty() ? std::to_string(static_cast<uint32_t>(m_parameter.type))
                            : std::string(word);
    }

    void readLimits()
    {
        const ParamType type = m_parameter.type;
        if (belongs(hasLimits(type), {"minimum", "maximum", "unit", "exponent"})) {
            m_parameter.minimum = m_fields.real("minimum", Need::Required).value_or(-largest);
            m_parameter.maximum = m_fields.real("maximum", Need::Required).value_or(largest);
            const Need need = type == ParamType::Numeric ? Need::Required : Need::Optional;
            m_parameter.unit = m_fields.wordOrCode<Unit>("unit", need).value_or(Unit::None);
            m_parameter.exponent =
                m_fields.integer<int16_t>("exponent", Need::Optional).value_or(0);
        }
        if (belongs(hasDecimals(type), {"decimals"}))
            m_parameter.decimals =
                m_fields.integer<int16_t>("decimals", Need::Optional).value_or(0);
    }

    void readLabels()
    {
        if (!belongs(hasLabels(m_parameter.type), {"on-label", "off-label"}))
            return;
        m_parameter.onLabel = m_fields.text("on-label", Need::Required).value_or("");
        m_parameter.offLabel = m_fields.text("off-label", Need::Required).value_or("");
    }

    void readStart()
    {
        m_parameter.start = usualStart(m_parameter);
        const auto node = m_fields.take("start", Need::Optional);
        if (node && m_typed)
            if (auto value = parameterValue(*node, m_parameter, m_notes))
                m_parameter.start = std::move(*value);
    }

    Fields m_fields;
    Notes &m_notes;
    ParameterDescription m_parameter;
    bool m_typed = false;
};

std::vector<ParameterDescription> readLevel(Fields &fields, const std::string &level,
                                            const std::string &key, std::set<std::string> &broken,
                                            Notes &notes)
{
    std::vector<ParameterDescription> parameters;
    for (const auto &node : fields.list(level, Need::Optional)) {
        ParameterReader reader(node, notes);
        parameters.push_back(reader.run());
        if (!reader.isJudgeable())
            broken.insert(key);
    }
    return parameters;
}

ModelDescription readModel(const NamedNode &node, std::set<std::string> &broken, Notes &notes)
{
    Fields fields(node, "a model", notes);
    ModelDescription model;
    model.key = node.name;
    model.name = fields.text("name", Need::Optional).value_or(node.name);
    model.board = readLevel(fields, "board", model.key, broken, notes);
    model.channel = readLevel(fields, "channel", model.key, broken, notes);
    fields.finish();
    if (!fields.isMap() || notes.isReported(node.path + "/board") ||
        notes.isReported(node.path + "/channel"))
        broken.insert(model.key);
    return model;
}

std::optional<Value> switchValue(const NamedNode &node, const ParameterDescription &parameter,
                                 Notes &notes)
{
    const YamlNode &scalar = *node.node;
    if (scalar.kind == YamlNode::Kind::Scalar) {
        const int64_t number = scalar.plain ? parseInteger(scalar.text).value_or(-1) : -1;
        if (number == 0 || (scalar.plain && scalar.text == "false"))
            return uint32_t{0};
        if (number == 1 || (scalar.plain && scalar.text == "true"))
            return uint32_t{1};
        const bool isOn = scalar.text == parameter.onLabel;
        if (isOn != (scalar.text == parameter.offLabel))
            return uint32_t{isOn ? 1u : 0u};
    }
    notes.report(node.line, node.path,
                 "\"" + node.name + "\" is neither 0, 1, false, true nor one of its labels");
    return std::nullopt;
}

} // namespace

std::optional<Value> parameterValue(const NamedNode &node, const ParameterDescription &parameter,
                                    Notes &notes)
{
    if (parameter.type == ParamType::OnOff)
        return switchValue(node, parameter, notes);
    return shapedValue(node, shapeOf(parameter.type), notes);
}

const ModelDescription *ReadModels::find(const std::string &key) const
{
    const auto found = std::find_if(models.begin(), models.end(),
                                    [&](const auto &each) { return each.key == key; });
    return found == models.end() ? nullptr : &*found;
}

ReadModels readModels(const std::vector<NamedNode> &entries, Notes &notes)
{
    ReadModels read;
    for (NamedNode node : entries) {
        node.path = "models/" + std::to_string(read.models.size());
        notes.place(node.path, node.line);
        read.models.push_back(readModel(node, read.broken, notes));
    }
    return read;
}

} // namespace sim
