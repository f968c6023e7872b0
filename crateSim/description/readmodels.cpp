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
    explicit ParameterReader(const Field &field) : m_fields(field, "a parameter") {}

    ParameterDescription run()
    {
        const auto name = m_fields.required("name").text();
        const auto type = m_fields.required("type").wordOrCode<ParamType>();
        m_typed = type.has_value();
        m_parameter = blankParameter(type.value_or(ParamType::Text));
        m_parameter.name = name.value_or("");
        m_parameter.mode = m_fields.required("mode").wordOrCode<Mode>().value_or(Mode::Read);
        m_parameter.role = m_fields.optional("role").word<Role>().value_or(Role::None);
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
            if (has)
                continue;
            const Field field = m_fields.optional(key);
            if (field.isPresent() && m_typed)
                field.report("\"" + field.name() + "\" does not belong to the type " + typeText());
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
            m_parameter.minimum = m_fields.required("minimum").real<float>().value_or(-largest);
            m_parameter.maximum = m_fields.required("maximum").real<float>().value_or(largest);
            const Field unit =
                type == ParamType::Numeric ? m_fields.required("unit") : m_fields.optional("unit");
            m_parameter.unit = unit.wordOrCode<Unit>().value_or(Unit::None);
            m_parameter.exponent = m_fields.optional("exponent").integer<int16_t>().value_or(0);
        }
        if (belongs(hasDecimals(type), {"decimals"}))
            m_parameter.decimals = m_fields.optional("decimals").integer<int16_t>().value_or(0);
    }

    void readLabels()
    {
        if (!belongs(hasLabels(m_parameter.type), {"on-label", "off-label"}))
            return;
        m_parameter.onLabel = m_fields.required("on-label").text().value_or("");
        m_parameter.offLabel = m_fields.required("off-label").text().value_or("");
    }

    void readStart()
    {
        m_parameter.start = defaultStart(m_parameter);
        const Field start = m_fields.optional("start");
        if (m_typed)
            m_parameter.start = parameterValue(start, m_parameter).value_or(m_parameter.start);
    }

    Fields m_fields;
    ParameterDescription m_parameter;
    bool m_typed = false;
};

std::vector<ParameterDescription> readLevel(const Field &list, bool &broken)
{
    std::vector<ParameterDescription> parameters;
    for (const auto &item : list.items()) {
        ParameterReader reader(item);
        parameters.push_back(reader.run());
        broken = broken || !reader.isJudgeable();
    }
    broken = broken || list.findings().isReported(list.path());
    return parameters;
}

ModelDescription readModel(const Field &field, std::set<std::string> &broken)
{
    Fields fields(field, "a model");
    ModelDescription model;
    model.key = field.name();
    model.name = fields.optional("name").text().value_or(field.name());
    bool isBroken = !field.isMap();
    model.board = readLevel(fields.optional("board"), isBroken);
    model.channel = readLevel(fields.optional("channel"), isBroken);
    fields.finish();
    if (isBroken)
        broken.insert(model.key);
    return model;
}

std::optional<Value> switchValue(const Field &field, const ParameterDescription &parameter)
{
    if (field.isScalar()) {
        const std::string &text = field.written();
        const int64_t number = field.isPlain() ? parseInteger(text).value_or(-1) : -1;
        if (number == 0 || (field.isPlain() && text == "false"))
            return uint32_t{0};
        if (number == 1 || (field.isPlain() && text == "true"))
            return uint32_t{1};
        const bool isOn = text == parameter.onLabel;
        if (isOn != (text == parameter.offLabel))
            return uint32_t{isOn ? 1u : 0u};
    }
    if (field.isPresent())
        field.report("\"" + field.name() + "\" is neither 0, 1, false, true nor one of its labels");
    return std::nullopt;
}

} // namespace

std::optional<Value> parameterValue(const Field &field, const ParameterDescription &parameter)
{
    if (parameter.type == ParamType::OnOff)
        return switchValue(field, parameter);
    return shapedValue(field, shapeOf(parameter.type));
}

const ModelDescription *ReadModels::find(const std::string &key) const
{
    const auto found = std::find_if(models.begin(), models.end(),
                                    [&](const auto &each) { return each.key == key; });
    return found == models.end() ? nullptr : &*found;
}

ReadModels readModels(const Field &field)
{
    ReadModels read;
    for (const auto &entry : field.entries())
        read.models.push_back(
            readModel(entry.at("models/" + std::to_string(read.models.size())), read.broken));
    return read;
}

} // namespace sim
