#include "fields.h"

#include <cmath>
#include <limits>

#include "placeitems.h"

namespace sim::control {

void require(Result result)
{
    if (result != Result::Ok)
        throw ControlError(resultText(result));
}

std::string textField(const Json &request, const char *name)
{
    const auto found = request.find(name);
    if (found == request.end() || !found->is_string())
        throw ControlError(std::string("\"") + name + "\" is missing or is not text");
    return found->get<std::string>();
}

int32_t countField(const Json &request, const char *name, int32_t missing)
{
    const auto found = request.find(name);
    if (found == request.end())
        return missing;
    const bool fits =
        found->is_number_integer() && *found >= 0 && *found <= std::numeric_limits<int32_t>::max();
    if (!fits)
        throw ControlError(std::string("\"") + name + "\" is not an integer from 0 up");
    return found->get<int32_t>();
}

double numberField(const Json &request, const char *name)
{
    const auto found = request.find(name);
    if (found == request.end() || !found->is_number() || !std::isfinite(found->get<double>()))
        throw ControlError(std::string("\"") + name + "\" is missing or is not a number");
    return found->get<double>();
}

bool boolField(const Json &request, const char *name, bool missing)
{
    const auto found = request.find(name);
    if (found == request.end())
        return missing;
    if (!found->is_boolean())
        throw ControlError(std::string("\"") + name + "\" is neither true nor false");
    return found->get<bool>();
}

wire::Operation operationField(const Json &request, const char *name)
{
    const std::string text = textField(request, name);
    const auto operation = findOperationNamed(text);
    if (!operation)
        throw ControlError("unknown operation \"" + text + "\"");
    return *operation;
}

FaultKind faultKindField(const Json &request, const char *name)
{
    const std::string text = textField(request, name);
    const auto kind = findFaultKind(text);
    if (!kind)
        throw ControlError("unknown fault \"" + text + "\"");
    return *kind;
}

Address addressOf(const Json &request)
{
    return {countField(request, "slot", -1), countField(request, "channel", -1)};
}

ItemId itemOf(const Crate &crate, const Json &request)
{
    const Address address = addressOf(request);
    const std::string name = textField(request, "name");
    ItemId id = 0;
    if (const Result result = crate.find(address, name, id); result != Result::Ok)
        throw ControlError(reasonAt(crate, address, result, name));
    return id;
}

// A float becomes the shortest decimal number that means it.
Json toJson(const Value &value)
{
    if (const auto *text = std::get_if<std::string>(&value))
        return *text;
    if (!std::isfinite(toNumber(value)))
        return nullptr;
    return Json::parse(toText(value));
}

Value fromJson(Shape shape, const Json &value)
{
    if (shape == Shape::Text) {
        if (!value.is_string())
            throw ControlError("the value is not text");
        return value.get<std::string>();
    }
    if (value.is_boolean())
        return fromNumber(shape, value.get<bool>() ? 1 : 0);
    if (!value.is_number())
        throw ControlError("the value is not a number");
    const auto number = value.get<double>();
    const auto [low, high] = rangeOf(shape);
    if (!(number >= low && number <= high))
        throw ControlError(resultText(Result::OutOfRange));
    return fromNumber(shape, number);
}

} // namespace sim::control
