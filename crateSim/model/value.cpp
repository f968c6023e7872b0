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
    const auto numberOf = [](const auto &each) {
        if constexpr (std::is_arithmetic_v<std::decay_t<decltype(each)>>)
            return static_cast<double>(each);
        else
            return 0.0;
    };
    return std::visit(numberOf, value);
}

std::string toText(const Value &value)
{
    if (const auto *text = std::get_if<std::string>(&value))
        return *text;
    char buffer[64];
    const auto write = [&buffer](const auto &number) {
        if constexpr (std::is_arithmetic_v<std::decay_t<decltype(number)>>)
            return std::to_chars(buffer, std::end(buffer), number).ptr;
        else
            return buffer;
    };
    return std::string(buffer, std::visit(write, value));
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
