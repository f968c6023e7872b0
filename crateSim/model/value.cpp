#include "value.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace sim {

Shape shapeOf(ParamType type)
{
    switch (type) {
    case ParamType::Numeric: return Shape::Real;
    case ParamType::OnOff: return Shape::Unsigned;
    case ParamType::Text: return Shape::Text;
    case ParamType::ChannelStatus:
    case ParamType::BoardStatus:
    case ParamType::Integer:
    case ParamType::Enumeration: break;
    }
    return Shape::Signed;
}

Shape shapeOf(PropertyType type)
{
    switch (type) {
    case PropertyType::Text: return Shape::Text;
    case PropertyType::Real: return Shape::Real;
    case PropertyType::UInt16:
    case PropertyType::UInt32: return Shape::Unsigned;
    case PropertyType::Int16:
    case PropertyType::Int32:
    case PropertyType::Boolean: break;
    }
    return Shape::Signed;
}

std::pair<double, double> rangeOf(Shape shape)
{
    constexpr double most = std::numeric_limits<float>::max();
    switch (shape) {
    case Shape::Signed: return {INT32_MIN, INT32_MAX};
    case Shape::Unsigned: return {0, UINT32_MAX};
    default: return {-most, most};
    }
}

std::pair<double, double> rangeOf(PropertyType type)
{
    switch (type) {
    case PropertyType::UInt16: return {0, UINT16_MAX};
    case PropertyType::Int16: return {INT16_MIN, INT16_MAX};
    case PropertyType::Boolean: return {0, 1};
    case PropertyType::Text:
    case PropertyType::Real:
    case PropertyType::UInt32:
    case PropertyType::Int32: break;
    }
    return rangeOf(shapeOf(type));
}

double toNumber(const Value &value)
{
    struct Visitor {
        double operator()(const std::string &) const { return 0.0; }
        double operator()(float number) const { return static_cast<double>(number); }
        double operator()(int32_t number) const { return number; }
        double operator()(uint32_t number) const { return number; }
    };
    return std::visit(Visitor(), value);
}

namespace {

template <class Number> std::string numberText(Number number)
{
    char buffer[64];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, number).ptr;
    return std::string(buffer, end);
}

} // namespace

std::string toText(const Value &value)
{
    struct Visitor {
        std::string operator()(const std::string &text) const { return text; }
        std::string operator()(float number) const { return numberText(number); }
        std::string operator()(int32_t number) const { return numberText(number); }
        std::string operator()(uint32_t number) const { return numberText(number); }
    };
    return std::visit(Visitor(), value);
}

Value fromNumber(Shape shape, double number)
{
    switch (shape) {
    case Shape::Real: return static_cast<float>(number);
    case Shape::Signed: return static_cast<int32_t>(std::llround(number));
    case Shape::Unsigned: return static_cast<uint32_t>(std::llround(number));
    case Shape::Text: break;
    }
    return toText(static_cast<float>(number));
}

} // namespace sim
