// The parts of a description that belong to no board: properties, commands,
// users, faults.
#include "reader.h"

namespace sim {

std::optional<Value> shapedValue(const Field &field, Shape shape)
{
    const auto valueOf = [](auto read) {
        return read ? std::optional<Value>(*read) : std::nullopt;
    };
    switch (shape) {
    case Shape::Text: return valueOf(field.text());
    case Shape::Real: return valueOf(field.real<float>());
    case Shape::Signed: return valueOf(field.integer<int32_t>());
    case Shape::Unsigned: break;
    }
    return valueOf(field.integer<uint32_t>());
}

namespace {

std::optional<Value> propertyValue(const Field &field, PropertyType type)
{
    const bool isWord =
        field.isPlain() && (field.written() == "true" || field.written() == "false");
    if (type == PropertyType::Boolean && isWord)
        return Value(int32_t{field.written() == "true"});
    return shapedValue(field, shapeOf(type));
}

std::optional<FaultOrder> readFault(const Field &field)
{
    FaultFields fields;
    bool readable = field.isMap();
    for (const auto &entry : field.entries("a fault")) {
        if (entry.isScalar())
            fields.emplace(entry.name(), entry.scalar());
        else
            entry.reportKind("a single value");
        readable = readable && entry.isScalar();
    }
    std::vector<FaultProblem> problems;
    const auto order = readable ? readFaultOrder(fields, problems) : std::nullopt;
    for (const auto &problem : problems) {
        const std::string path = field.path() + "/" + problem.field;
        field.findings().add(field.findings().lineOf(path), path, problem.text);
    }
    return order;
}

} // namespace

PropertyDescription readProperty(const Field &field)
{
    Fields fields(field, "a property");
    PropertyDescription property;
    property.name = fields.required("name").text().value_or("");
    const auto type = fields.required("type").wordOrCode<PropertyType>();
    property.type = type.value_or(PropertyType::Text);
    property.mode = fields.required("mode").wordOrCode<Mode>().value_or(Mode::Read);
    property.role = fields.optional("role").word<PropertyRole>().value_or(PropertyRole::None);
    property.start = defaultStart(property.type);
    const Field start = fields.optional("start");
    if (type)
        property.start = propertyValue(start, *type).value_or(property.start);
    fields.finish();
    return property;
}

CommandDescription readCommand(const Field &field)
{
    Fields fields(field, "a command");
    CommandDescription command;
    command.name = fields.required("name").text().value_or("");
    command.action = fields.optional("action").word<Action>().value_or(Action::None);
    fields.finish();
    return command;
}

User readUser(const Field &field)
{
    Fields fields(field, "a user");
    User user;
    user.name = fields.required("name").text().value_or("");
    user.password = fields.required("password").text().value_or("");
    fields.finish();
    return user;
}

std::vector<FaultOrder> readFaults(const Field &field)
{
    std::vector<FaultOrder> faults;
    for (const auto &item : field.items())
        if (auto order = readFault(item))
            faults.push_back(*order);
    return faults;
}

} // namespace sim
