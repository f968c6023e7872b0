#include "bytes.h"

#include "protocol/bytes.h"

namespace sim::calls {

namespace {

using wire::bytesOf;
using wire::numberOf;

template <class Number, class Alternative> std::optional<Value> valueOf(const std::string &bytes)
{
    const auto number = numberOf<Number>(bytes);
    return number ? std::optional<Value>(static_cast<Alternative>(*number)) : std::nullopt;
}

} // namespace

std::string propertyBytes(PropertyType type, const Value &value)
{
    switch (type) {
    case PropertyType::Text: return std::get<std::string>(value) + '\0';
    case PropertyType::Real: return bytesOf(std::get<float>(value));
    case PropertyType::UInt16: return bytesOf(static_cast<uint16_t>(std::get<uint32_t>(value)));
    case PropertyType::UInt32: return bytesOf(std::get<uint32_t>(value));
    case PropertyType::Int32: return bytesOf(std::get<int32_t>(value));
    case PropertyType::Int16:
    case PropertyType::Boolean: break;
    }
    return bytesOf(static_cast<int16_t>(std::get<int32_t>(value)));
}

std::optional<Value> propertyValue(PropertyType type, const std::string &bytes)
{
    switch (type) {
    case PropertyType::Text: return bytes;
    case PropertyType::Real: return valueOf<float, float>(bytes);
    case PropertyType::UInt16: return valueOf<uint16_t, uint32_t>(bytes);
    case PropertyType::UInt32: return valueOf<uint32_t, uint32_t>(bytes);
    case PropertyType::Int32: return valueOf<int32_t, int32_t>(bytes);
    case PropertyType::Int16:
    case PropertyType::Boolean: break;
    }
    return valueOf<int16_t, int32_t>(bytes);
}

std::string parameterBytes(const Value &value)
{
    struct Visitor {
        std::string operator()(const std::string &) const { return {}; }
        std::string operator()(float number) const { return bytesOf(number); }
        std::string operator()(int32_t number) const { return bytesOf(number); }
        std::string operator()(uint32_t number) const { return bytesOf(number); }
    };
    return std::visit(Visitor(), value);
}

Value parameterValue(Shape shape, uint32_t word)
{
    if (shape == Shape::Unsigned)
        return word;
    if (shape == Shape::Real)
        return *numberOf<float>(bytesOf(word));
    return *numberOf<int32_t>(bytesOf(word));
}

} // namespace sim::calls
