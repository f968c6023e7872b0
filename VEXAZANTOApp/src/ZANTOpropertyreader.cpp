#include "ZANTOpropertyreader.h"

#include "ZANTOmessages.h"
#include "ZANTOstartupcall.h"
#include "ZANTOtypes.h"
#include "vexahvwrapper.h"

#include <algorithm>
#include <ctime>
#include <iterator>

std::vector<const char *> ZANTOPropertyNames(uint32_t type)
{
    switch (type) {
    case VEXAHV_PARAM_ONOFF:
        return {VEXAHV_PROP_ONSTATE, VEXAHV_PROP_OFFSTATE};
    case VEXAHV_PARAM_NUMERIC:
    case VEXAHV_PARAM_INTEGER:
        return {VEXAHV_PROP_MINVAL, VEXAHV_PROP_MAXVAL, VEXAHV_PROP_UNIT, VEXAHV_PROP_EXP,
                VEXAHV_PROP_DECIMAL};
    case VEXAHV_PARAM_ENUM:
        return {VEXAHV_PROP_MINVAL, VEXAHV_PROP_MAXVAL, VEXAHV_PROP_UNIT, VEXAHV_PROP_EXP,
                VEXAHV_PROP_ENUM};
    default:
        return {};
    }
}

namespace {

/// An answer of the library, one byte longer than the longest text so that it always ends.
union PropertyAnswer {
    char text[VEXAHV_TEXT_SIZE + 1];
    float real;
    uint16_t u16;
    int16_t s16;
};

struct PropertyShape {
    const char *name;
    void (*store)(const PropertyAnswer &answer, variant &value);
};

const PropertyShape propertyShapes[] = {
    {VEXAHV_PROP_MINVAL, [](const PropertyAnswer &a, variant &v) { v.setValue(a.real); }},
    {VEXAHV_PROP_MAXVAL, [](const PropertyAnswer &a, variant &v) { v.setValue(a.real); }},
    {VEXAHV_PROP_UNIT, [](const PropertyAnswer &a, variant &v) { v.setValue(a.u16); }},
    {VEXAHV_PROP_EXP, [](const PropertyAnswer &a, variant &v) { v.setValue(a.s16); }},
    {VEXAHV_PROP_DECIMAL, [](const PropertyAnswer &a, variant &v) { v.setValue(a.s16); }},
    {VEXAHV_PROP_ONSTATE, [](const PropertyAnswer &a, variant &v) { v.setValue(a.text); }},
    {VEXAHV_PROP_OFFSTATE, [](const PropertyAnswer &a, variant &v) { v.setValue(a.text); }},
};

} // namespace

ZANTONodeValue ZANTOReadProperty(const std::string &propName, const std::string &paramName,
                                 const char *level, const ZANTOPropertyCall &get)
{
    const time_t now = std::time(nullptr);
    variant value;
    const auto *shape = std::find_if(std::begin(propertyShapes), std::end(propertyShapes),
                                     [&](const auto &s) { return propName == s.name; });
    PropertyAnswer answer = {};
    if (shape != std::end(propertyShapes) && ZANTOStartupCall([&] { return get(&answer); }) == 0) {
        shape->store(answer, value);
        return ZANTONodeValue(value, nodeValueQualityGood, now);
    }
    if (DEBUG > 0)
        ZANTOPrint("Error getting [%s] for [%s] %s parameter\n", propName.c_str(),
                    paramName.c_str(), level);
    return ZANTONodeValue(value, nodeValueQualityBad, now);
}
