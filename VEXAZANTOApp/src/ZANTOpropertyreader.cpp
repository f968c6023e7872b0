#include "ZANTOpropertyreader.h"

#include "ZANTOclock.h"
#include "ZANTOmessages.h"
#include "ZANTOtypes.h"
#include "ZANTOwirevalue.h"
#include "vexahvwrapper.h"

#include <algorithm>
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

struct PropertyShape {
    std::string_view name;
    ZANTOWire wire;
};

constexpr PropertyShape propertyShapes[] = {
    {VEXAHV_PROP_MINVAL, ZANTOWire::real},   {VEXAHV_PROP_MAXVAL, ZANTOWire::real},
    {VEXAHV_PROP_UNIT, ZANTOWire::u16},      {VEXAHV_PROP_EXP, ZANTOWire::s16},
    {VEXAHV_PROP_DECIMAL, ZANTOWire::s16},   {VEXAHV_PROP_ONSTATE, ZANTOWire::text},
    {VEXAHV_PROP_OFFSTATE, ZANTOWire::text},
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
    ZANTOValueBuffer answer;
    if (!source.property(paramName, propName, answer.data()))
        return false;
    value = answer.decode(shape->wire);
    return true;
}

} // namespace

ZANTONodeValue ZANTOReadProperty(const ZANTOParameterSource &source, const char *propName,
                                 const std::string &paramName)
{
    const time_t now = ZANTONow();
    variant value;
    if (readProperty(source, propName, paramName.c_str(), value))
        return ZANTONodeValue(value, nodeValueQualityGood, now);
    ZANTO_TRACE(0, "Error getting [%s] for [%s] %s parameter\n", propName, paramName.c_str(),
                source.kind() == nodeTypeBoardParam ? "board" : "channel");
    return ZANTONodeValue(value, nodeValueQualityBad, now);
}
