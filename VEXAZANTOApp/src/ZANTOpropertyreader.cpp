#include "ZANTOpropertyreader.h"

#include "ZANTOmessages.h"
#include "ZANTOtypes.h"
#include "vexahvwrapper.h"

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <iterator>
#include <string_view>

namespace {

constexpr const char *onOff[] = {VEXAHV_PROP_ONSTATE, VEXAHV_PROP_OFFSTATE};
constexpr const char *number[] = {VEXAHV_PROP_MINVAL, VEXAHV_PROP_MAXVAL, VEXAHV_PROP_UNIT,
                                  VEXAHV_PROP_EXP, VEXAHV_PROP_DECIMAL};
constexpr const char *enumeration[] = {VEXAHV_PROP_MINVAL, VEXAHV_PROP_MAXVAL, VEXAHV_PROP_UNIT,
                                       VEXAHV_PROP_EXP, VEXAHV_PROP_ENUM};

} // namespace

ZANTOPropertyNames ZANTOPropertyNamesOf(uint32_t type)
{
    switch (type) {
    case VEXAHV_PARAM_ONOFF: return {std::begin(onOff), std::end(onOff)};
    case VEXAHV_PARAM_NUMERIC:
    case VEXAHV_PARAM_INTEGER: return {std::begin(number), std::end(number)};
    case VEXAHV_PARAM_ENUM: return {std::begin(enumeration), std::end(enumeration)};
    default: return {nullptr, nullptr};
    }
}

namespace {

// An answer of the library, one byte longer than the longest text so that it always ends.
union PropertyAnswer {
    char text[VEXAHV_TEXT_SIZE + 1];
    float real;
    uint16_t u16;
    int16_t s16;
};

struct PropertyShape {
    std::string_view name;
    std::size_t cleared; // bytes of the answer that may be read; all others stay as they are
    void (*store)(const PropertyAnswer &answer, variant &value);
};

constexpr std::size_t numberSize = 4;
constexpr std::size_t textSize = sizeof(PropertyAnswer);

void storeReal(const PropertyAnswer &answer, variant &value) { value.setValue(answer.real); }
void storeU16(const PropertyAnswer &answer, variant &value) { value.setValue(answer.u16); }
void storeS16(const PropertyAnswer &answer, variant &value) { value.setValue(answer.s16); }
void storeText(const PropertyAnswer &answer, variant &value) { value.setValue(answer.text); }

constexpr PropertyShape propertyShapes[] = {
    {VEXAHV_PROP_MINVAL, numberSize, storeReal}, {VEXAHV_PROP_MAXVAL, numberSize, storeReal},
    {VEXAHV_PROP_UNIT, numberSize, storeU16},    {VEXAHV_PROP_EXP, numberSize, storeS16},
    {VEXAHV_PROP_DECIMAL, numberSize, storeS16}, {VEXAHV_PROP_ONSTATE, textSize, storeText},
    {VEXAHV_PROP_OFFSTATE, textSize, storeText},
};

// False when the property is unknown or cannot be read.
bool readProperty(const ZANTOParameterSource &source, const char *propName, const char *paramName,
                  variant &value)
{
    const auto *shape =
        std::find_if(std::begin(propertyShapes), std::end(propertyShapes),
                     [name = std::string_view(propName)](const auto &s) { return name == s.name; });
    if (shape == std::end(propertyShapes))
        return false;
    PropertyAnswer answer;
    std::fill_n(answer.text, shape->cleared, '\0');
    if (!source.property(paramName, propName, &answer))
        return false;
    shape->store(answer, value);
    return true;
}

} // namespace

ZANTONodeValue ZANTOReadProperty(const ZANTOParameterSource &source, const char *propName,
                                 const std::string &paramName)
{
    const time_t now = std::time(nullptr);
    variant value;
    if (readProperty(source, propName, paramName.c_str(), value))
        return ZANTONodeValue(value, nodeValueQualityGood, now);
    ZANTO_TRACE(0, "Error getting [%s] for [%s] %s parameter\n", propName, paramName.c_str(),
                source.kind() == nodeTypeBoardParam ? "board" : "channel");
    return ZANTONodeValue(value, nodeValueQualityBad, now);
}
