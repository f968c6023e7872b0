#include "ZANTOutils.h"

#include "ZANTOclock.h"
#include "ZANTOhealth.h"
#include "ZANTOlookup.h"
#include "ZANTOmessages.h"
#include "ZANTOnode.h"
#include "ZANTOrecordtext.h"
#include "ZANTOstartupcall.h"
#include "ZANTOstatic.h"
#include "ZANTOwirevalue.h"

#include <cstdio>
#include <cstring>
#include <utility>

namespace {

std::string &neverDestroyedName()
{
    static ZANTONeverDestroyed<std::string> name;
    return name.get();
}

template <typename Code> struct CodeText {
    Code code;
    const char *text;
};

template <typename Code, size_t n>
std::string textOf(const CodeText<Code> (&table)[n], Code code, const char *fallback)
{
    for (const auto &row : table) {
        if (row.code == code)
            return row.text;
    }
    return fallback;
}

// The first row that has a bit of the status decides.
template <size_t n> std::string firstBitText(const CodeText<uint32_t> (&table)[n], int32_t status)
{
    for (const auto &row : table) {
        if ((static_cast<uint32_t>(status) & row.code) != 0)
            return row.text;
    }
    return "";
}

} // namespace

std::string &ZANTOUtils::SysName = neverDestroyedName();

// ---- codes to texts ----

std::string ZANTOUtils::ZANTOConvertPropertyUnit(uint16_t value)
{
    static const CodeText<uint16_t> units[] = {
        {0, "None"}, {1, "Ampere"}, {2, "Volt"},   {3, "Watt"}, {4, "Celsius"}, {5, "Hertz"},
        {6, "Bar"},  {7, "Vps"},    {8, "Second"}, {9, "Rpm"},  {10, "Count"}};
    return textOf(units, value, "");
}

std::string ZANTOUtils::ZANTOConvertPropertyUnitShortForm(uint16_t value)
{
    static const CodeText<uint16_t> units[] = {{1, "A"},
                                               {2, "V"},
                                               {3, "W"},
                                               {4, "\xC2\xB0"
                                                   "C"},
                                               {5, "Hz"},
                                               {6, "Bar"},
                                               {7, "Vps"},
                                               {8, "sec"},
                                               {9, "Rpm"},
                                               {10, "Count"}};
    return textOf(units, value, "");
}

std::string ZANTOUtils::ZANTOConvertPropertyExp(int16_t value)
{
    static const CodeText<int16_t> prefixes[] = {
        {6, "Mega"}, {3, "Kilo"}, {-3, "milli"}, {-6, "micro"}, {-9, "nano"}};
    return textOf(prefixes, value, "");
}

std::string ZANTOUtils::ZANTOConvertPropertyExpShortForm(int16_t value)
{
    static const CodeText<int16_t> prefixes[] = {
        {6, "M"}, {3, "K"}, {-3, "m"}, {-6, "u"}, {-9, "n"}};
    return textOf(prefixes, value, " ");
}

std::string ZANTOUtils::ZANTOConvertParamTypeOnOff(uint32_t value)
{
    static const CodeText<uint32_t> states[] = {{0, "Off"}, {1, "On"}};
    return textOf(states, value, "");
}

std::string ZANTOUtils::ZANTOSelectConnectionStatus(connStatus status)
{
    static const CodeText<connStatus> states[] = {{connStatus_PENDING, "Connection Pending"},
                                                  {connStatus_OK, "Connection Ok"},
                                                  {connStatus_KO, "Connection Ko"}};
    return textOf(states, status, "");
}

std::string ZANTOUtils::ZANTOConvertChannelStatus(int32_t, int32_t status)
{
    static const CodeText<uint32_t> first[] = {{0x800, "Unplugg"}, {0x400, "Cal-Err"}, {0x2, "Up"}};
    static const CodeText<uint32_t> down[] = {
        {0x40, "E-Trp-Dwn"}, {0x200, "I-Trp-Dwn"}, {0x100, "E-Dis-Dwn"}, {0x4, "Down"}};
    static const CodeText<uint32_t> settled[] = {
        {0x40, "E-Tripped"},   {0x200, "I-Tripped"}, {0x100, "Ext-Dis"},   {0x8, "Ovc"},
        {0x10, "Ovv"},         {0x80, "HVMax"},      {0x20, "Unv"},        {0x1000, "Unc"},
        {0x2000, "Ovv Prot."}, {0x4000, "Pwr Fail"}, {0x8000, "Temp Err."}};
    std::string text = firstBitText(first, status);
    if (!text.empty())
        return text;
    return (status & 0x4) != 0 ? firstBitText(down, status) : firstBitText(settled, status);
}

bool ZANTOUtils::ZANTOCheckChStatusValue(int32_t psType, int32_t status)
{
    const std::string text = ZANTOConvertChannelStatus(psType, status);
    return text.empty() || text == "Up" || text == "Down";
}

std::string ZANTOUtils::ZANTOConvertBoardStatus(int32_t status)
{
    static const CodeText<uint32_t> bits[] = {{0x2, "FW CHKERR"}, {0x1, "PW Fail"},
                                              {0x4, "HvCal Err"}, {0x8, "Temp Err"},
                                              {0x10, "Un Temp"},  {0x20, "Ov Temp"}};
    return firstBitText(bits, status);
}

nodeDataType ZANTOUtils::ZANTOSelectPropertyDataType(const std::string &propNm)
{
    return propNm == "Enum" ? nodeDataTypeEnum : nodeDataTypeFloat;
}

std::vector<std::string> ZANTOUtils::ZANTOCreateStringVectorFromCharSS(char **ppSource,
                                                                       int32_t maxIter)
{
    std::vector<std::string> texts;
    if (ppSource == nullptr || *ppSource == nullptr)
        return texts;
    const char *text = *ppSource;
    for (int32_t i = 0; i < maxIter; ++i) {
        texts.emplace_back(text);
        text += texts.back().size() + 1;
    }
    return texts;
}

std::vector<std::string> ZANTOUtils::ZANTOCreateStringVectorForFwRel(uint8_t **ppSource,
                                                                     int32_t maxIter)
{
    std::vector<std::string> texts;
    if (ppSource == nullptr || *ppSource == nullptr)
        return texts;
    for (int32_t i = 0; i < maxIter; ++i) {
        char text[4];
        std::snprintf(text, sizeof(text), "%02d", (*ppSource)[i]);
        texts.emplace_back(text);
    }
    return texts;
}

// ---- single items of the mainframe ----

namespace {

ZANTONodeValue numberWithQuality(int32_t number, nodeValueQuality quality, time_t now)
{
    variant value;
    value.setValue(number);
    return ZANTONodeValue(value, quality, now);
}

// `get` fills the buffer and returns the library's result.
template <typename Get>
bool readItem(ZANTOWire wire, ZANTONodeValue &result, time_t now, const Get &get)
{
    ZANTOValueBuffer buffer;
    if (wire == ZANTOWire::none || ZANTOStartupCall([&] { return get(buffer.data()); }) != 0)
        return false;
    result.ZANTOSetValueData(buffer.decode(wire), nodeValueQualityGood, now);
    return true;
}

template <typename Set> int32_t writeItem(ZANTOWire wire, const variant &value, const Set &set)
{
    if (wire == ZANTOWire::none)
        return -1;
    ZANTOValueBuffer buffer;
    buffer.encode(wire, value);
    return ZANTOCountCall(set(buffer.data()));
}

bool isChannelName(const std::string &name) { return name == "Name"; }

ZANTONodeValue readChannelName(int32_t handle, uint16_t slot, uint16_t channel, time_t now)
{
    char name[1][VEXAHV_CHANNEL_NAME_SLOT] = {};
    const auto get = [&] { return VEXAHV_GetChName(handle, slot, 1, &channel, name); };
    const bool read = ZANTOStartupCall(get) == 0;
    variant value;
    if (read)
        value.setValue(std::string(name[0], strnlen(name[0], sizeof(name[0]))));
    return ZANTONodeValue(value, read ? nodeValueQualityGood : nodeValueQualityBad, now);
}

int32_t writeChannelName(int32_t handle, uint16_t slot, uint16_t channel, const variant &value)
{
    const int32_t result =
        ZANTOCountCall(VEXAHV_SetChName(handle, slot, 1, &channel, value.toString().c_str()));
    if (result != 0)
        ZANTO_TRACE(0, "Error setting channel name\n");
    return result;
}

} // namespace

ZANTONodeValue ZANTOUtils::ZANTOGetSystemPropertyChanged(int32_t handle, const std::string &name,
                                                         uint32_t type)
{
    const time_t now = ZANTONow();
    ZANTONodeValue result = numberWithQuality(0, nodeValueQualityBad, now);
    const bool read = readItem(ZANTOPropertyReadWire(type), result, now, [&](void *value) {
        return VEXAHV_GetSysProp(handle, name.c_str(), value);
    });
    if (!read)
        ZANTO_TRACE(1, "Error getting [%s] system property\n", name.c_str());
    return result;
}

int32_t ZANTOUtils::ZANTOSetSystemPropertyChanged(int32_t handle, const std::string &name,
                                                  uint32_t type, const variant &value)
{
    const int32_t result = writeItem(ZANTOPropertyWriteWire(type), value, [&](const void *data) {
        return VEXAHV_SetSysProp(handle, name.c_str(), data);
    });
    if (result != 0)
        ZANTO_TRACE(1, "Error setting [%s] system property\n", name.c_str());
    return result;
}

ZANTONodeValue ZANTOUtils::ZANTOGetBoardParameterChanged(int32_t handle, uint16_t slot,
                                                         const std::string &name, uint32_t type)
{
    const time_t now = ZANTONow();
    const ZANTOWire wire = ZANTOParameterWire(type);
    const bool isStatus = type == VEXAHV_PARAM_CHANNEL_STATUS || type == VEXAHV_PARAM_BOARD_STATUS;
    ZANTONodeValue result = numberWithQuality(
        isStatus ? -1 : 0, wire == ZANTOWire::none ? nodeValueQualityUnknown : nodeValueQualityBad,
        now);
    const bool read = readItem(wire, result, now, [&](void *value) {
        return VEXAHV_GetBdParam(handle, 1, &slot, name.c_str(), value);
    });
    if (!read)
        ZANTO_TRACE(1, "Error getting [%s] board parameter\n", name.c_str());
    return result;
}

int32_t ZANTOUtils::ZANTOSetBoardParameterChanged(int32_t handle, uint16_t slot,
                                                  const std::string &name, uint32_t type,
                                                  const variant &value)
{
    const int32_t result = writeItem(ZANTOParameterWire(type), value, [&](const void *data) {
        return VEXAHV_SetBdParam(handle, 1, &slot, name.c_str(), data);
    });
    if (result != 0)
        ZANTO_TRACE(1, "Error setting [%s] board parameter\n", name.c_str());
    return result;
}

ZANTONodeValue ZANTOUtils::ZANTOGetChannelParameterChanged(int32_t handle, uint16_t slot,
                                                           const std::string &name,
                                                           uint16_t channel, uint32_t type)
{
    const time_t now = ZANTONow();
    if (isChannelName(name))
        return readChannelName(handle, slot, channel, now);
    ZANTONodeValue result = numberWithQuality(0, nodeValueQualityBad, now);
    const bool read = readItem(ZANTOParameterWire(type), result, now, [&](void *value) {
        return VEXAHV_GetChParam(handle, slot, name.c_str(), 1, &channel, value);
    });
    if (!read)
        ZANTO_TRACE(1, "Error getting [%s] channel parameter\n", name.c_str());
    return result;
}

int32_t ZANTOUtils::ZANTOSetChannelParameterChanged(int32_t handle, uint16_t slot,
                                                    const std::string &name, uint16_t channel,
                                                    uint32_t type, const variant &value)
{
    if (isChannelName(name))
        return writeChannelName(handle, slot, channel, value);
    const int32_t result = writeItem(ZANTOParameterWire(type), value, [&](const void *data) {
        return VEXAHV_SetChParam(handle, slot, name.c_str(), 1, &channel, data);
    });
    if (result != 0)
        ZANTO_TRACE(1, "Error setting [%s] channel parameter - res = %d\n", name.c_str(), result);
    return result;
}

int32_t ZANTOUtils::ZANTOExeSystemCommandChanged(int32_t handle, const std::string &name)
{
    const int32_t result = ZANTOCountCall(VEXAHV_ExecComm(handle, name.c_str()));
    if (result != 0)
        ZANTO_TRACE(1, "Error execute [%s] system command\n", name.c_str());
    return result;
}

ZANTONodeValue ZANTOUtils::ZANTOGetDummyChanged()
{
    return numberWithQuality(0, nodeValueQualityGood, ZANTONow());
}

// ---- values from events ----

namespace {

// The first property that `matches`, or null.
template <typename Matches> ZANTONodeProperty *findProperty(ZANTONode *node, const Matches &matches)
{
    if (node == nullptr)
        return nullptr;
    for (ZANTONodeProperty *property : node->getProperties()) {
        if (property != nullptr && matches(property->getPropName()))
            return property;
    }
    return nullptr;
}

std::string textOf(const ZANTONodeProperty &property)
{
    return property.getPropVal().ZANTOGetValue().toString();
}

} // namespace

ZANTONodeValue ZANTOUtils::ZANTOCreateValueFromNodeTypeAndEventType(ZANTONode *element,
                                                                    const IDValue_t &recvItemVal)
{
    if (element == nullptr) {
        ZANTO_TRACE(0, "Node not found\n");
        return ZANTONodeValue();
    }
    variant value;
    if (!ZANTODecodeEvent(element->getDataType(), recvItemVal, value))
        return ZANTONodeValue();
    return ZANTONodeValue(std::move(value), nodeValueQualityGood, ZANTONow());
}

std::string ZANTOUtils::ZANTOConvertPropertyStringFromBool(ZANTONode *node, bool newVal)
{
    const char *wanted = newVal ? VEXAHV_PROP_ONSTATE : VEXAHV_PROP_OFFSTATE;
    const ZANTONodeProperty *property =
        findProperty(node, [wanted](const std::string &name) { return name == wanted; });
    return property != nullptr ? textOf(*property) : "";
}

bool ZANTOUtils::ZANTOConvertPropertyBoolFromString(ZANTONode *node, const std::string &str)
{
    const ZANTONodeProperty *property = findProperty(node, [](const std::string &name) {
        return name == VEXAHV_PROP_ONSTATE || name == VEXAHV_PROP_OFFSTATE;
    });
    return property != nullptr && textOf(*property) == str;
}

// ---- record names to nodes ----

ZANTONode *ZANTOUtils::getNodeFromEpicsId(const char *id)
{
    return ZANTOFindRecordNode(systemNode, SysName, id);
}

// ---- text of records and of the list of process variables ----

std::string ZANTOUtils::ZANTOCreateStringForDbRecord(ZANTONode *node, int32_t bdIdx, int32_t chIdx)
{
    return node != nullptr ? ZANTORecordText(*node, bdIdx, chIdx) : "";
}

std::string ZANTOUtils::ZANTOCreateStringForItemExporting(ZANTONode *node, int32_t bdIdx,
                                                          int32_t chIdx)
{
    return node != nullptr ? ZANTOPvListText(*node, bdIdx, chIdx) : "";
}
