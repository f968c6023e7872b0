#include "comparewords.h"

#include "description/scalars.h"

namespace sim {

namespace {

using Kind = Difference::Kind;

// The word, or the number of a code that has none.
template <class Code> std::string codeText(Code code)
{
    const std::string word(wordOf(code));
    return word.empty() ? "code " + std::to_string(static_cast<unsigned>(code)) : word;
}

std::string symbolOf(const ParameterDescription &parameter)
{
    return unitSymbol(parameter.unit, parameter.exponent);
}

std::string unitText(const ParameterDescription &parameter)
{
    const std::string symbol = symbolOf(parameter);
    if (wordOf(parameter.unit).empty())
        return codeText(parameter.unit) + symbol;
    return symbol.empty() ? "none" : symbol;
}

// Of two numbers of a parameter; the unit stands behind both only when it has changed too.
std::string numbersText(const ParameterDescription &before, const ParameterDescription &after,
                        const std::string &one, const std::string &other)
{
    const auto withUnit = [](const std::string &number, const std::string &symbol) {
        return symbol.empty() ? number : number + ' ' + symbol;
    };
    const bool sameUnit = unitText(before) == unitText(after);
    return arrow(sameUnit ? one : withUnit(one, symbolOf(before)),
                 withUnit(other, symbolOf(after)));
}

std::string valueText(const ParameterDescription &parameter, const Value &value)
{
    if (std::holds_alternative<std::string>(value))
        return quoted(toText(value));
    const auto &label = toNumber(value) != 0 ? parameter.onLabel : parameter.offLabel;
    return hasLabels(parameter.type) && !label.empty() ? label : toText(value);
}

std::string valueText(const PropertyDescription &property)
{
    const std::string text = toText(property.start);
    return property.type == PropertyType::Text ? quoted(text) : text;
}

// Says what is different about a parameter or property, if anything is.
template <class Named>
void compareTexts(Kind kind, const char *what, const Named &named, const std::string &before,
                  const std::string &after, DifferenceCollector &found)
{
    if (before != after)
        found.add(kind, what + (" of " + named.name + ' ') + arrow(before, after), named.name);
}

struct Aspect {
    Kind kind;
    const char *name;
    std::string (*text)(const ParameterDescription &);
};

constexpr Aspect aspects[] = {
    {Kind::Mode, "mode", [](const ParameterDescription &p) { return codeText(p.mode); }},
    {Kind::Unit, "unit", unitText},
    {Kind::Other, "decimals",
     [](const ParameterDescription &p) { return std::to_string(p.decimals); }},
    {Kind::Other, "label for on", [](const ParameterDescription &p) { return quoted(p.onLabel); }},
    {Kind::Other, "label for off",
     [](const ParameterDescription &p) { return quoted(p.offLabel); }},
};

struct Bound {
    Kind kind;
    const char *name;
    float ParameterDescription::*value;
};

constexpr Bound bounds[] = {{Kind::Minimum, "minimum", &ParameterDescription::minimum},
                            {Kind::Maximum, "maximum", &ParameterDescription::maximum}};

} // namespace

void compareParameter(const ParameterDescription &before, const ParameterDescription &after,
                      DifferenceCollector &found)
{
    // Of another type, nothing else can be compared.
    if (before.type != after.type)
        return compareTexts(Kind::Type, "type", after, codeText(before.type), codeText(after.type),
                            found);
    for (const auto &[kind, name, text] : aspects)
        compareTexts(kind, name, after, text(before), text(after), found);
    for (const auto &[kind, name, value] : bounds) {
        const std::string one = realText(before.*value);
        const std::string other = realText(after.*value);
        if (one != other)
            found.add(kind,
                      name + (" of " + after.name + ' ') + numbersText(before, after, one, other),
                      after.name, static_cast<double>(after.*value));
    }
}

void compareParameterValue(const ParameterDescription &before, const Value &one,
                           const ParameterDescription &after, const Value &other,
                           DifferenceCollector &found)
{
    const bool comparable = before.type == after.type && before.mode == Mode::ReadWrite &&
                            after.mode == Mode::ReadWrite;
    if (comparable && toText(one) != toText(other))
        found.add(Kind::Other,
                  after.name + ' ' +
                      numbersText(before, after, valueText(before, one), valueText(after, other)),
                  after.name);
}

void compareProperty(const PropertyDescription &before, const PropertyDescription &after,
                     DifferenceCollector &found)
{
    compareTexts(Kind::Type, "type", after, codeText(before.type), codeText(after.type), found);
    compareTexts(Kind::Mode, "mode", after, codeText(before.mode), codeText(after.mode), found);
}

void comparePropertyValue(const PropertyDescription &before, const PropertyDescription &after,
                          DifferenceCollector &found)
{
    const bool comparable =
        before.type == after.type && after.role == PropertyRole::None && after.mode != Mode::Write;
    if (comparable && valueText(before) != valueText(after))
        found.add(Kind::Other, after.name + ' ' + arrow(valueText(before), valueText(after)),
                  after.name);
}

} // namespace sim
