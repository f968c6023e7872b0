#include "limits.h"

namespace sim {

namespace {

bool within(double number, double low, double high)
{
    return number >= low && number <= high; // false for NaN
}

bool fits(const PropertyDescription &property, const Value &value)
{
    if (property.type == PropertyType::Text)
        return std::get<std::string>(value).size() <= maxText;
    const auto [low, high] = rangeOf(property.type);
    return within(toNumber(value), low, high);
}

bool fits(const ParameterDescription &parameter, const Value &value)
{
    const double number = toNumber(value);
    switch (parameter.type) {
    case ParamType::OnOff: return within(number, 0, 1);
    case ParamType::Numeric:
    case ParamType::Integer:
    case ParamType::Enumeration:
        return within(number, static_cast<double>(parameter.minimum),
                      static_cast<double>(parameter.maximum));
    case ParamType::Text: return std::get<std::string>(value).size() <= maxText;
    case ParamType::ChannelStatus:
    case ParamType::BoardStatus: break;
    }
    return true;
}

} // namespace

Result checkValue(const Item &item, const Value &value)
{
    if (shapeOf(value) != item.shape)
        return Result::BadRequest;
    bool ok = true;
    if (item.parameter != nullptr)
        ok = fits(*item.parameter, value);
    else if (item.property != nullptr)
        ok = fits(*item.property, value);
    else
        ok = std::get<std::string>(value).size() <= maxChannelName;
    return ok ? Result::Ok : Result::OutOfRange;
}

} // namespace sim
