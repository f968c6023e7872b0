// The parts of a description that belong to no board: properties, commands,
// users, faults.
#include <limits>

#include "reader.h"

namespace sim {

std::optional<Value> shapedValue(const NamedNode &node, Shape shape, Notes &notes)
{
    constexpr auto low = std::numeric_limits<int32_t>::min();
    constexpr auto high = std::numeric_limits<int32_t>::max();
    if (shape == Shape::Text) {
        if (auto text = textOf(node, notes))
            return Value(std::move(*text));
    } else if (shape == Shape::Real) {
        if (const auto real = realOf(node, notes))
            return Value(*real);
    } else if (shape == Shape::Signed) {
        if (const auto number = integerOf(node, low, high, notes))
            return Value(static_cast<int32_t>(*number));
    } else if (const auto number =
                   integerOf(node, 0, std::numeric_limits<uint32_t>::max(), notes)) {
        return Value(static_cast<uint32_t>(*number));
    }
    return std::nullopt;
}

namespace {

std::optional<Value> propertyValue(const NamedNode &node, PropertyType type, Notes &notes)
{
    const YamlNode &scalar = *node.node;
    const bool isWord = scalar.kind == YamlNode::Kind::Scalar && scalar.plain &&
                        (scalar.text == "true" || scalar.text == "false");
    if (type == PropertyType::Boolean && isWord)
        return Value(int32_t{scalar.text == "true"});
    return shapedValue(node, shapeOf(type), notes);
}

PropertyDescription readProperty(const NamedNode &node, Notes &notes)
{
    Fields fields(node, "a property", notes);
    PropertyDescription property;
    property.name = fields.text("name", Need::Required).value_or("");
    const auto type = fields.wordOrCode<PropertyType>("type", Need::Required);
    property.type = type.value_or(PropertyType::Text);
    property.mode = fields.wordOrCode<Mode>("mode", Need::Required).value_or(Mode::Read);
    property.role = fields.word<PropertyRole>("role", Need::Optional).value_or(PropertyRole::None);
    property.start = usualStart(property.type);
    const auto start = fields.take("start", Need::Optional);
    if (start && type)
        if (auto value = propertyValue(*start, *type, notes))
            property.start = std::move(*value);
    fields.finish();
    return property;
}

CommandDescription readCommand(const NamedNode &node, Notes &notes)
{
    Fields fields(node, "a command", notes);
    CommandDescription command;
    command.name = fields.text("name", Need::Required).value_or("");
    command.action = fields.word<Action>("action", Need::Optional).value_or(Action::None);
    fields.finish();
    return command;
}

User readUser(const NamedNode &node, Notes &notes)
{
    Fields fields(node, "a user", notes);
    User user;
    user.name = fields.text("name", Need::Required).value_or("");
    user.password = fields.text("password", Need::Required).value_or("");
    fields.finish();
    return user;
}

std::optional<FaultOrder> readFault(const NamedNode &node, Notes &notes)
{
    if (!Fields(node, "a fault", notes).isMap())
        return std::nullopt;
    FaultFields fields;
    bool readable = true;
    for (const auto &entry : node.node->entries) {
        const std::string path = node.path + "/" + entry.key;
        notes.place(path, entry.line);
        const bool scalar = entry.value->kind == YamlNode::Kind::Scalar;
        if (scalar)
            fields.emplace(entry.key, plainValue(*entry.value));
        else
            notes.report(entry.line, path,
                         "\"" + entry.key + "\" is " + std::string(kindText(*entry.value)) +
                             ", not a single value");
        readable = readable && scalar;
    }
    std::vector<FaultProblem> problems;
    const auto order = readable ? readFaultOrder(fields, problems) : std::nullopt;
    for (const auto &problem : problems) {
        const std::string path = node.path + "/" + problem.field;
        notes.report(notes.lineOf(path), path, problem.text);
    }
    return order;
}

template <class Described>
std::vector<Described> readEach(const std::vector<NamedNode> &list, Notes &notes,
                                Described (*read)(const NamedNode &, Notes &))
{
    std::vector<Described> all;
    all.reserve(list.size());
    for (const auto &node : list)
        all.push_back(read(node, notes));
    return all;
}

} // namespace

std::vector<PropertyDescription> readProperties(const std::vector<NamedNode> &list, Notes &notes)
{
    return readEach(list, notes, readProperty);
}

std::vector<CommandDescription> readCommands(const std::vector<NamedNode> &list, Notes &notes)
{
    return readEach(list, notes, readCommand);
}

std::vector<User> readUsers(const std::vector<NamedNode> &list, Notes &notes)
{
    return readEach(list, notes, readUser);
}

std::vector<FaultOrder> readFaults(const std::vector<NamedNode> &list, Notes &notes)
{
    std::vector<FaultOrder> faults;
    for (const auto &node : list)
        if (auto order = readFault(node, notes))
            faults.push_back(*order);
    return faults;
}

} // namespace sim
