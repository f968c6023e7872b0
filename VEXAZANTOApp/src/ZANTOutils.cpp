#include "ZANTOutils.h"

#include "ZANTOdbtext.h"
#include "ZANTOnode.h"
#include "ZANTOstatic.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

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
template <size_t n>
std::string firstBitText(const CodeText<uint32_t> (&table)[n], int32_t status)
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
        {0, "None"}, {1, "Ampere"}, {2, "Volt"}, {3, "Watt"}, {4, "Celsius"}, {5, "Hertz"},
        {6, "Bar"},  {7, "Vps"},    {8, "Second"}, {9, "Rpm"}, {10, "Count"}};
    return textOf(units, value, "");
}

std::string ZANTOUtils::ZANTOConvertPropertyUnitShortForm(uint16_t value)
{
    static const CodeText<uint16_t> units[] = {
        {1, "A"},   {2, "V"},   {3, "W"},   {4, "\xC2\xB0" "C"}, {5, "Hz"},
        {6, "Bar"}, {7, "Vps"}, {8, "sec"}, {9, "Rpm"},          {10, "Count"}};
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
    static const CodeText<uint32_t> first[] = {
        {0x800, "Unplugg"}, {0x400, "Cal-Err"}, {0x2, "Up"}};
    static const CodeText<uint32_t> down[] = {
        {0x40, "E-Trp-Dwn"}, {0x200, "I-Trp-Dwn"}, {0x100, "E-Dis-Dwn"}, {0x4, "Down"}};
    static const CodeText<uint32_t> settled[] = {
        {0x40, "E-Tripped"}, {0x200, "I-Tripped"}, {0x100, "Ext-Dis"},    {0x8, "Ovc"},
        {0x10, "Ovv"},       {0x80, "HVMax"},      {0x20, "Unv"},         {0x1000, "Unc"},
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

/// Shape of a value in the access library's buffers.
enum class Wire { none, text, real, u16, u32, s16, s32 };

// By system property type code. The write of a signed 32-bit property sets the low 16 bits
// alone, as does that of a boolean.
constexpr Wire sysPropRead[] = {Wire::text, Wire::real, Wire::u16, Wire::u32,
                                Wire::s16,  Wire::s32,  Wire::s16};
constexpr Wire sysPropWrite[] = {Wire::text, Wire::real, Wire::u16, Wire::u32,
                                 Wire::s16,  Wire::s16,  Wire::s16};
// By parameter type code, read and write alike. A string parameter has no access call.
constexpr Wire parameter[] = {Wire::real, Wire::u32,  Wire::s32, Wire::s32,
                              Wire::s32,  Wire::none, Wire::s32};

template <size_t n> Wire wireOf(const Wire (&table)[n], uint32_t type)
{
    return type < n ? table[type] : Wire::none;
}

/// Room for any value of the library: zeroed, so that a value narrower than what the library
/// reads is defined, and one byte longer than the longest text, so that a text always ends.
class ValueBuffer {
public:
    void *data() { return m_bytes; }

    variant decode(Wire wire) const
    {
        variant value;
        switch (wire) {
        case Wire::text: value.setValue(static_cast<const char *>(m_bytes)); break;
        case Wire::real: value.setValue(as<float>()); break;
        case Wire::u16: value.setValue(as<uint16_t>()); break;
        case Wire::u32: value.setValue(as<uint32_t>()); break;
        case Wire::s16: value.setValue(as<int16_t>()); break;
        case Wire::s32: value.setValue(as<int32_t>()); break;
        case Wire::none: break;
        }
        return value;
    }

    void encode(Wire wire, const variant &value)
    {
        switch (wire) {
        case Wire::text: putText(value.toString()); break;
        case Wire::real: put(value.toFloat()); break;
        case Wire::u16: put(static_cast<uint16_t>(value.toUInt())); break;
        case Wire::u32: put(value.toUInt()); break;
        case Wire::s16: put(static_cast<int16_t>(value.toInt())); break;
        case Wire::s32: put(value.toInt()); break;
        case Wire::none: break;
        }
    }

private:
    template <typename T> T as() const
    {
        T v;
        std::memcpy(&v, m_bytes, sizeof(T));
        return v;
    }

    template <typename T> void put(T v) { std::memcpy(m_bytes, &v, sizeof(T)); }

    void putText(const std::string &text)
    {
        std::memcpy(m_bytes, text.data(), std::min<size_t>(text.size(), VEXAHV_TEXT_SIZE - 1));
    }

    alignas(8) char m_bytes[VEXAHV_TEXT_SIZE + 1] = {};
};

ZANTONodeValue numberWithQuality(int32_t number, nodeValueQuality quality, time_t now)
{
    variant value;
    value.setValue(number);
    return ZANTONodeValue(value, quality, now);
}

// `get` fills the buffer and returns the library's result.
template <typename Get>
bool readItem(Wire wire, ZANTONodeValue &result, time_t now, const Get &get)
{
    ValueBuffer buffer;
    if (wire == Wire::none || get(buffer.data()) != 0)
        return false;
    result.ZANTOSetValueData(buffer.decode(wire), nodeValueQualityGood, now);
    return true;
}

template <typename Set> int32_t writeItem(Wire wire, const variant &value, const Set &set)
{
    if (wire == Wire::none)
        return -1;
    ValueBuffer buffer;
    buffer.encode(wire, value);
    return set(buffer.data());
}

bool isChannelName(const std::string &name) { return name == "Name"; }

ZANTONodeValue readChannelName(int32_t handle, uint16_t slot, uint16_t channel, time_t now)
{
    char name[1][VEXAHV_CHANNEL_NAME_SLOT] = {};
    const bool read = VEXAHV_GetChName(handle, slot, 1, &channel, name) == 0;
    variant value;
    if (read)
        value.setValue(std::string(name[0], strnlen(name[0], sizeof(name[0]))));
    return ZANTONodeValue(value, read ? nodeValueQualityGood : nodeValueQualityBad, now);
}

int32_t writeChannelName(int32_t handle, uint16_t slot, uint16_t channel, const variant &value)
{
    const int32_t result =
        VEXAHV_SetChName(handle, slot, 1, &channel, value.toString().c_str());
    if (result != 0 && DEBUG > 0)
        std::puts("Error setting channel name");
    return result;
}

} // namespace

ZANTONodeValue ZANTOUtils::ZANTOGetSystemPropertyChanged(int32_t handle, const std::string &name,
                                                         uint32_t type)
{
    const time_t now = std::time(nullptr);
    ZANTONodeValue result = numberWithQuality(0, nodeValueQualityBad, now);
    const bool read = readItem(wireOf(sysPropRead, type), result, now, [&](void *value) {
        return VEXAHV_GetSysProp(handle, name.c_str(), value);
    });
    if (!read && DEBUG > 1)
        std::printf("Error getting [%s] system property\n", name.c_str());
    return result;
}

int32_t ZANTOUtils::ZANTOSetSystemPropertyChanged(int32_t handle, const std::string &name,
                                                  uint32_t type, const variant &value)
{
    const int32_t result = writeItem(wireOf(sysPropWrite, type), value, [&](const void *data) {
        return VEXAHV_SetSysProp(handle, name.c_str(), data);
    });
    if (result != 0 && DEBUG > 1)
        std::printf("Error setting [%s] system property\n", name.c_str());
    return result;
}

ZANTONodeValue ZANTOUtils::ZANTOGetBoardParameterChanged(int32_t handle, uint16_t slot,
                                                         const std::string &name, uint32_t type)
{
    const time_t now = std::time(nullptr);
    const Wire wire = wireOf(parameter, type);
    const bool isStatus =
        type == VEXAHV_PARAM_CHANNEL_STATUS || type == VEXAHV_PARAM_BOARD_STATUS;
    ZANTONodeValue result = numberWithQuality(
        isStatus ? -1 : 0, wire == Wire::none ? nodeValueQualityUnknown : nodeValueQualityBad,
        now);
    const bool read = readItem(wire, result, now, [&](void *value) {
        return VEXAHV_GetBdParam(handle, 1, &slot, name.c_str(), value);
    });
    if (!read && DEBUG > 1)
        std::printf("Error getting [%s] board parameter\n", name.c_str());
    return result;
}

int32_t ZANTOUtils::ZANTOSetBoardParameterChanged(int32_t handle, uint16_t slot,
                                                  const std::string &name, uint32_t type,
                                                  const variant &value)
{
    const int32_t result = writeItem(wireOf(parameter, type), value, [&](const void *data) {
        return VEXAHV_SetBdParam(handle, 1, &slot, name.c_str(), data);
    });
    if (result != 0 && DEBUG > 1)
        std::printf("Error setting [%s] board parameter\n", name.c_str());
    return result;
}

ZANTONodeValue ZANTOUtils::ZANTOGetChannelParameterChanged(int32_t handle, uint16_t slot,
                                                           const std::string &name,
                                                           uint16_t channel, uint32_t type)
{
    const time_t now = std::time(nullptr);
    if (isChannelName(name))
        return readChannelName(handle, slot, channel, now);
    ZANTONodeValue result = numberWithQuality(0, nodeValueQualityBad, now);
    const bool read = readItem(wireOf(parameter, type), result, now, [&](void *value) {
        return VEXAHV_GetChParam(handle, slot, name.c_str(), 1, &channel, value);
    });
    if (!read && DEBUG > 1)
        std::printf("Error getting [%s] channel parameter\n", name.c_str());
    return result;
}

int32_t ZANTOUtils::ZANTOSetChannelParameterChanged(int32_t handle, uint16_t slot,
                                                    const std::string &name, uint16_t channel,
                                                    uint32_t type, const variant &value)
{
    if (isChannelName(name))
        return writeChannelName(handle, slot, channel, value);
    const int32_t result = writeItem(wireOf(parameter, type), value, [&](const void *data) {
        return VEXAHV_SetChParam(handle, slot, name.c_str(), 1, &channel, data);
    });
    if (result != 0 && DEBUG > 1)
        std::printf("Error setting [%s] channel parameter - res = %d\n", name.c_str(), result);
    return result;
}

int32_t ZANTOUtils::ZANTOExeSystemCommandChanged(int32_t handle, const std::string &name)
{
    const int32_t result = VEXAHV_ExecComm(handle, name.c_str());
    if (result != 0 && DEBUG > 1)
        std::printf("Error execute [%s] system command\n", name.c_str());
    return result;
}

ZANTONodeValue ZANTOUtils::ZANTOGetDummyChanged()
{
    return numberWithQuality(0, nodeValueQualityGood, std::time(nullptr));
}

// ---- values from events ----

namespace {

// False for a data type that is none of the known ones.
bool fromEvent(nodeDataType dataType, const IDValue_t &item, variant &value)
{
    switch (dataType) {
    case nodeDataTypeInt:
    case nodeDataTypeLong: value.setValue(item.IntValue); return true;
    case nodeDataTypeShort: value.setValue(static_cast<int16_t>(item.IntValue)); return true;
    case nodeDataTypeUInt:
    case nodeDataTypeULong: value.setValue(static_cast<uint32_t>(item.IntValue)); return true;
    case nodeDataTypeUShort: value.setValue(static_cast<uint16_t>(item.IntValue)); return true;
    case nodeDataTypeFloat: value.setValue(item.FloatValue); return true;
    case nodeDataTypeString:
        value.setValue(
            std::string(item.StringValue, strnlen(item.StringValue, sizeof(item.StringValue))));
        return true;
    case nodeDataTypeBool: value.setValue(item.IntValue != 0); return true;
    // An enumeration's index is carried as a float.
    case nodeDataTypeEnum: value.setValue(static_cast<float>(item.IntValue)); return true;
    }
    return false;
}

// The first property that `matches`, or null.
template <typename Matches>
ZANTONodeProperty *findProperty(ZANTONode *node, const Matches &matches)
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
    ZANTONodeValue result;
    if (element == nullptr) {
        if (DEBUG > 0)
            std::puts("Node not found");
        return result;
    }
    variant value;
    if (fromEvent(element->getDataType(), recvItemVal, value))
        result.ZANTOSetValueData(value, nodeValueQualityGood, std::time(nullptr));
    return result;
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

namespace {

void eraseFirst(std::string &text, const char *part)
{
    const size_t at = text.find(part);
    if (at != std::string::npos)
        text.erase(at, std::strlen(part));
}

// Cuts off and returns what stands before the first ":".
std::string takeField(std::string &text)
{
    const size_t colon = text.find(':');
    std::string field = text.substr(0, colon);
    text.erase(0, colon == std::string::npos ? colon : colon + 1);
    return field;
}

} // namespace

ZANTONode *ZANTOUtils::getNodeFromEpicsId(const char *id)
{
    const ZANTONode *holder = systemNode;
    const size_t nameLength = std::strlen(SysName.c_str());
    if (holder == nullptr || id == nullptr || strnlen(id, nameLength) < nameLength)
        return nullptr;

    // Only the length of the system's name counts, not its letters.
    std::string rest = std::string("noname") + (id + nameLength);
    eraseFirst(rest, ":RBV");
    eraseFirst(rest, ":Sync");
    const auto fields = std::count(rest.begin(), rest.end(), ':');
    if (fields < 1 || fields > 3)
        return nullptr;
    takeField(rest);
    for (auto level = fields; level > 1 && holder != nullptr; --level)
        holder = holder->childAt(std::strtoll(takeField(rest).c_str(), nullptr, 10));
    return holder != nullptr ? holder->findParameter(rest) : nullptr;
}

// ---- text of records and of the list of process variables ----

namespace {

/// The parts in which records differ, by kind of value.
struct RecordKind {
    const char *prefix;
    const char *input;
    const char *output;
    const char *suffix;
};

// By parameter type code. Status words are analog records; enumerations get none.
constexpr RecordKind recordKinds[] = {
    {"a", "i", "o", ""},           // numeric
    {"b", "i", "o", ""},           // on/off
    {"a", "i", "o", ""},           // channel status
    {"a", "i", "o", ""},           // board status
    {"mbb", "i", "o", "Direct"},   // bit pattern
    {"string", "in", "out", ""},   // string
};
constexpr uint32_t recordKindCount = sizeof(recordKinds) / sizeof(recordKinds[0]);

/// What a record of a node is called and made of; `reason` is null when it gets one.
struct RecordPlan {
    std::string shortName;
    std::string recordName;
    uint32_t kind = recordKindCount;
    nodeAccessRights access = nodeAccessNone;
    bool onBoard = false;
    bool onChannel = false;

    bool readWrite() const { return access == nodeAccessReadWrite; }
    std::string inputType() const { return type(recordKinds[kind].input); }
    std::string outputType() const { return type(recordKinds[kind].output); }
    std::string mainType() const
    {
        return access == nodeAccessRead ? inputType() : outputType();
    }

private:
    std::string type(const char *direction) const
    {
        return std::string(recordKinds[kind].prefix) + direction + recordKinds[kind].suffix;
    }
};

enum class PlanResult { ok, noNodeType, noSystemType, noAccess, noKind, noName };

std::string padded(const char *format, int32_t number)
{
    char text[16];
    std::snprintf(text, sizeof(text), format, number);
    return text;
}

std::string withoutBlanks(std::string text)
{
    text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
    return text;
}

// False for a node type that has no records.
bool planName(const ZANTONode &node, int32_t bdIdx, int32_t chIdx, RecordPlan &plan)
{
    const nodeType type = node.getNodeType();
    plan.onChannel = type == nodeTypeChannelParam;
    plan.onBoard = plan.onChannel || type == nodeTypeBoardParam;
    if (!plan.onBoard && type != nodeTypeSystemProp && type != nodeTypeSystemCmd)
        return false;
    plan.recordName = node.getSysName() + ":";
    if (plan.onBoard)
        plan.recordName += padded("%02d", bdIdx) + ":";
    if (plan.onChannel)
        plan.recordName += padded("%03d", chIdx) + ":";
    plan.recordName += plan.shortName;
    return true;
}

// The parameter type code that has the records of a system property type: text, five numeric
// types, boolean. Other codes give one that has none.
uint32_t kindOfSystemProperty(uint32_t type)
{
    static constexpr uint32_t kinds[] = {VEXAHV_PARAM_STRING,  VEXAHV_PARAM_NUMERIC,
                                         VEXAHV_PARAM_NUMERIC, VEXAHV_PARAM_NUMERIC,
                                         VEXAHV_PARAM_NUMERIC, VEXAHV_PARAM_NUMERIC,
                                         VEXAHV_PARAM_ONOFF};
    return type < sizeof(kinds) / sizeof(kinds[0]) ? kinds[type] : recordKindCount;
}

PlanResult planRecord(const ZANTONode &node, int32_t bdIdx, int32_t chIdx, RecordPlan &plan)
{
    plan.shortName = withoutBlanks(node.getNodeName());
    if (!planName(node, bdIdx, chIdx, plan))
        return PlanResult::noNodeType;
    plan.kind = node.getParWrapperType();
    if (node.getNodeType() == nodeTypeSystemProp) {
        plan.kind = kindOfSystemProperty(plan.kind);
        if (plan.kind >= recordKindCount)
            return PlanResult::noSystemType;
    }
    plan.access = node.getAccessRights();
    if (plan.access != nodeAccessRead && plan.access != nodeAccessWrite && !plan.readWrite())
        return PlanResult::noAccess;
    if (plan.kind >= recordKindCount)
        return PlanResult::noKind;
    const std::string longest = plan.recordName + (plan.readWrite() ? ":Sync" : "");
    return ZANTOIsRecordName(longest) ? PlanResult::ok : PlanResult::noName;
}

void reportUnplanned(PlanResult result, const std::string &shortName, const char *output)
{
    if (DEBUG < 1)
        return;
    if (result == PlanResult::noNodeType)
        std::printf("Error finding type while creating string for [%s] %s\n", shortName.c_str(),
                    output);
    else if (result == PlanResult::noSystemType)
        std::printf("Error finding system type while creating string for [%s] %s\n",
                    shortName.c_str(), output);
}

// `value` is the text as it is to appear between the quotes.
std::string field(const char *nameAndComma, const std::string &value)
{
    return std::string("\tfield( ") + nameAndComma + " \"" + value + "\")\n";
}

std::string upperCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

std::string sixDecimals(float value)
{
    char text[64];
    std::snprintf(text, sizeof(text), "%f", static_cast<double>(value));
    return text;
}

std::string numericFields(const ZANTONode &node)
{
    std::string text;
    if (!node.getExpUnit().empty())
        text += field("EGU ,", ZANTODbValue(node.getExpUnit(), ZANTOFieldCapacity::egu));
    if (node.getNodeDecimals() > 0)
        text += field("PREC ,", padded("%d", node.getNodeDecimals()));
    if (node.getMaxVal() != node.getMinVal()) {
        text += field("HOPR ,", sixDecimals(node.getMaxVal()));
        text += field("LOPR ,", sixDecimals(node.getMinVal()));
    }
    return text;
}

std::string stateFields(const ZANTONode &node)
{
    return field("ZNAM ,", ZANTODbValue(node.getOffString(), ZANTOFieldCapacity::stateName)) +
           field("ONAM ,", ZANTODbValue(node.getOnString(), ZANTOFieldCapacity::stateName));
}

std::string deviceField() { return field("DTYP,", "VEXA ZANTO Item"); }

std::string linkFields(const RecordPlan &plan)
{
    const std::string &name = plan.recordName;
    switch (plan.access) {
    case nodeAccessRead:
        return field("INP,", "@" + name) + field("PINI,", "YES") + field("SCAN,", "I/O Intr");
    case nodeAccessReadWrite:
        return field("SDIS,", name + ":Sync.PACT") + field("OUT,", "@" + upperCase(name));
    default:
        return field("OUT,", "@" + name);
    }
}

std::string mainRecord(const ZANTONode &node, const RecordPlan &plan)
{
    std::string text = "record( " + plan.mainType() + ", \"" + plan.recordName + "\")\n{\n";
    if (plan.kind == VEXAHV_PARAM_NUMERIC)
        text += numericFields(node);
    if (plan.kind == VEXAHV_PARAM_ONOFF)
        text += stateFields(node);
    text += field("DESC,", ZANTODbValue(node.getNodeName(), ZANTOFieldCapacity::description));
    return text + deviceField() + linkFields(plan) + "}\n";
}

std::string readBackRecord(const RecordPlan &plan)
{
    const std::string &name = plan.recordName;
    return "record( " + plan.inputType() + ", \"" + name + ":RBV\")\n{\n" + deviceField() +
           field("INP, ", "@" + upperCase(name)) + field("SCAN,", "I/O Intr") +
           field("PINI,", "YES") + field("FLNK,", name + ":Sync") + "}\n";
}

std::string syncRecord(const RecordPlan &plan)
{
    const std::string &name = plan.recordName;
    return "record(" + plan.outputType() + ", \"" + name + ":Sync\")\n{\n" +
           field("DOL, ", name + ":RBV NPP") + field("OMSL,", "closed_loop") +
           field("OUT, ", name + " PP") + "}\n";
}

} // namespace

std::string ZANTOUtils::ZANTOCreateStringForDbRecord(ZANTONode *node, int32_t bdIdx,
                                                     int32_t chIdx)
{
    if (node == nullptr)
        return "";
    RecordPlan plan;
    const PlanResult result = planRecord(*node, bdIdx, chIdx, plan);
    reportUnplanned(result, plan.shortName, "record");
    const bool noRecord = (result == PlanResult::noKind && plan.shortName != "Name") ||
                          result == PlanResult::noName;
    if (noRecord && DEBUG > 0)
        std::printf("Error creating string for [%s] record\n", plan.shortName.c_str());
    if (result != PlanResult::ok)
        return "";
    std::string text = mainRecord(*node, plan);
    if (plan.readWrite())
        text += readBackRecord(plan) + syncRecord(plan);
    return text;
}

std::string ZANTOUtils::ZANTOCreateStringForItemExporting(ZANTONode *node, int32_t bdIdx,
                                                          int32_t chIdx)
{
    if (node == nullptr)
        return "";
    RecordPlan plan;
    const PlanResult result = planRecord(*node, bdIdx, chIdx, plan);
    reportUnplanned(result, plan.shortName, "PV list");
    if (result != PlanResult::ok)
        return "";
    const char *read = plan.access != nodeAccessWrite ? "x" : " ";
    const char *write = plan.access != nodeAccessRead ? "x" : " ";
    return (plan.onBoard ? padded("%d", bdIdx) : "-") + ", " +
           (plan.onChannel ? padded("%d", chIdx) : "-") + ", " + plan.recordName + ",  " +
           plan.mainType() + ", " + read + ", " + write + "\n";
}
