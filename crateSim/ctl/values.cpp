#include "values.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <strings.h>

#include "problem.h"

namespace sim::ctl {

namespace {

bool equalsIgnoringCase(const std::string &one, const std::string &other)
{
    return strcasecmp(one.c_str(), other.c_str()) == 0;
}

// The number that the text is as a whole.
template <class Number, class... Base>
std::optional<Number> parseAll(std::string_view text, Base... base)
{
    Number number = 0;
    const char *end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number, base...);
    if (error != std::errc() || rest != end)
        return std::nullopt;
    return number;
}

std::optional<int64_t> parseInteger(std::string_view text)
{
    if (text.substr(0, 2) != "0x" && text.substr(0, 2) != "0X")
        return parseAll<int64_t>(text);
    const auto number = parseAll<int64_t>(text.substr(2), 16);
    return number && *number >= 0 ? number : std::nullopt;
}

// 0 or 1 for what people call the two states of a switch.
std::optional<int64_t> parseSwitch(const Json &item, const std::string &text)
{
    const Json labels = item.value("labels", Json::array());
    for (size_t state = 0; state < labels.size(); ++state)
        if (equalsIgnoringCase(labels[state].get<std::string>(), text))
            return static_cast<int64_t>(state);
    for (const char *off : {"0", "off", "false", "no"})
        if (equalsIgnoringCase(text, off))
            return 0;
    for (const char *on : {"1", "on", "true", "yes"})
        if (equalsIgnoringCase(text, on))
            return 1;
    return std::nullopt;
}

template <class Number>
Json required(const std::optional<Number> &value, const Json &item, const std::string &text,
              const std::string &what)
{
    if (!value)
        throw Problem(
            fmt::format("{} takes {}, not \"{}\"", item.at("name").get<std::string>(), what, text));
    return *value;
}

} // namespace

std::optional<double> parseReal(std::string_view text)
{
    const auto number = parseAll<double>(text);
    return number && std::isfinite(*number) ? number : std::nullopt;
}

std::optional<int32_t> parseWholeNumber(std::string_view text)
{
    const auto number = parseAll<int32_t>(text);
    return number && *number >= 0 ? number : std::nullopt;
}

Json valueFor(const Json &item, const std::string &text)
{
    const std::string type = item.at("type");
    if (type == "text")
        return text;
    if (type == "numeric" || type == "real")
        return required(parseReal(text), item, text, "a number");
    if (type == "boolean")
        return required(parseSwitch(item, text), item, text, "on or off");
    if (type == "on-off")
        return required(parseSwitch(item, text), item, text,
                        joined(item.value("labels", Json({"off", "on"})), " or "));
    return required(parseInteger(text), item, text, "a whole number");
}

Json plainValue(const std::string &text)
{
    if (text == "true" || text == "false")
        return text == "true";
    if (const auto integer = parseInteger(text))
        return *integer;
    if (const auto real = parseReal(text))
        return *real;
    return text;
}

void addField(Json &request, const std::string &text)
{
    const size_t equals = text.find('=');
    if (equals == 0 || equals == std::string::npos)
        throw Problem(fmt::format("\"{}\" is not of the form FIELD=VALUE", text));
    request[text.substr(0, equals)] = plainValue(text.substr(equals + 1));
}

Json parseMix(const std::string &text)
{
    Json mix = Json::object();
    for (const auto &part : splitAt(',', text)) {
        const size_t equals = part.find('=');
        const auto weight = parseReal(part.substr(equals == std::string::npos ? 0 : equals + 1));
        if (equals == 0 || equals == std::string::npos || !weight || *weight < 0)
            throw Problem(fmt::format("\"{}\" is not of the form KIND=SHARE", part));
        mix[part.substr(0, equals)] = plainValue(part.substr(equals + 1));
    }
    return mix;
}

std::string textOf(const Json &value)
{
    if (!value.is_string())
        return value.is_null() ? "nan" : value.dump();
    auto text = value.get<std::string>();
    const auto isControl = [](unsigned char letter) { return letter < ' ' || letter == 0x7f; };
    std::replace_if(text.begin(), text.end(), isControl, '?');
    return text;
}

std::string fixed(const Json &value, int decimals)
{
    constexpr int most = 20; // a crate may state anything
    return value.is_number()
               ? fmt::format("{:.{}f}", value.get<double>(), std::clamp(decimals, 0, most))
               : textOf(value);
}

std::vector<std::string> splitAt(char separator, const std::string &text)
{
    std::vector<std::string> parts;
    size_t begin = 0;
    for (size_t end = text.find(separator); end != std::string::npos;
         begin = end + 1, end = text.find(separator, begin))
        parts.push_back(text.substr(begin, end - begin));
    parts.push_back(text.substr(begin));
    return parts;
}

std::string joined(const Json &texts, std::string_view separator)
{
    std::string all;
    for (const auto &text : texts)
        all += (all.empty() ? "" : std::string(separator)) + textOf(text);
    return all;
}

} // namespace sim::ctl
