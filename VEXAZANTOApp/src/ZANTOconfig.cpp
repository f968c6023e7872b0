#include "ZANTOconfig.h"

#include "ZANTOlife.h"
#include "ZANTOnode.h"
#include "ZANTOutils.h"
#include "vexahvwrapper.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace {

/// A list that the access library allocated, released with VEXAHV_Free.
template <typename T> class LibraryList {
public:
    LibraryList() = default;
    ~LibraryList()
    {
        if (m_owned)
            VEXAHV_Free(m_list);
    }
    LibraryList(const LibraryList &) = delete;
    LibraryList &operator=(const LibraryList &) = delete;

    T **out() { return &m_list; }
    T *get() const { return m_list; }
    /// After a failed call of a name list nothing is to be released.
    void disown() { m_owned = false; }

    T at(size_t index) const
    {
        if (m_list == nullptr)
            throw std::out_of_range("the access library gave no list");
        return m_list[index];
    }

private:
    T *m_list = nullptr;
    bool m_owned = true;
};

using NodeOwner = std::unique_ptr<ZANTONode>;

std::vector<ZANTONode *> handOver(std::vector<NodeOwner> &owners)
{
    std::vector<ZANTONode *> nodes;
    nodes.reserve(owners.size());
    for (NodeOwner &owner : owners)
        nodes.push_back(owner.release());
    return nodes;
}

NodeOwner makeNode(const std::string &name, nodeType type)
{
    auto node = std::make_unique<ZANTONode>();
    node->ZANTOPrepareNode(name, type, -1, -1, "", "", "");
    return node;
}

std::string numbered(const char *format, uint16_t number)
{
    char text[16];
    std::snprintf(text, sizeof(text), format, number);
    return text;
}

// A code that the table does not know leaves the data type of a new node.
template <size_t n>
void setDataTypeByCode(ZANTONode &node, const nodeDataType (&table)[n], uint32_t code)
{
    if (code < n)
        node.setDataType(table[code]);
}

void setAccessByMode(ZANTONode &node, uint32_t mode)
{
    static constexpr nodeAccessRights rights[] = {nodeAccessRead, nodeAccessWrite,
                                                  nodeAccessReadWrite};
    node.setAccessRights(mode < 3 ? rights[mode] : nodeAccessNone);
}

} // namespace

// ---- system ----

namespace {

using NameListCall = VEXAHVRESULT (*)(int32_t handle, uint16_t *count, char **list);

/// A packed list of names; empty, with the message, when there are none to be had. The list goes
/// back to the library at the end of the scope.
class NameList {
public:
    NameList(NameListCall call, int32_t handle)
    {
        uint16_t count = 0;
        if (call(handle, &count, m_list.out()) == 0 && count != 0) {
            m_names = ZANTOUtils::ZANTOCreateStringVectorFromCharSS(m_list.out(), count);
            return;
        }
        m_list.disown();
        if (DEBUG > 0)
            std::puts("\nError fetching system properties");
    }

    const std::vector<std::string> &names() const { return m_names; }

private:
    LibraryList<char> m_list;
    std::vector<std::string> m_names;
};

} // namespace

std::vector<ZANTONode *> ZANTOConfig::ZANTOConfigCreateSystemProps(int32_t handle)
{
    std::vector<ZANTONode *> nodes;
    const NameList list(VEXAHV_GetSysPropList, handle);
    for (const std::string &name : list.names()) {
        ZANTOStartupCheckpoint();
        if (name == "ResFlag")
            continue;
        uint32_t mode = 0;
        uint32_t type = 0;
        if (VEXAHV_GetSysPropInfo(handle, name.c_str(), &mode, &type) == 0)
            nodes.push_back(ZANTOConfigCreateNodeSystemProp(handle, name, type, mode));
        else if (DEBUG > 0)
            std::printf("Error fetching [%s] informations\n", name.c_str());
    }
    return nodes;
}

ZANTONode *ZANTOConfig::ZANTOConfigCreateNodeSystemProp(int32_t handle, const std::string &name,
                                                        uint32_t type, uint32_t mode)
{
    static constexpr nodeDataType dataTypes[] = {
        nodeDataTypeString, nodeDataTypeFloat, nodeDataTypeUShort, nodeDataTypeUInt,
        nodeDataTypeShort,  nodeDataTypeInt,   nodeDataTypeBool};
    NodeOwner node = makeNode(name, nodeTypeSystemProp);
    node->setParWrapperType(type);
    node->setSysHandle(handle);
    node->setNodeValue(ZANTOUtils::ZANTOGetSystemPropertyChanged(handle, name, type));
    setDataTypeByCode(*node, dataTypes, type);
    setAccessByMode(*node, mode);
    return node.release();
}

std::vector<ZANTONode *> ZANTOConfig::ZANTOConfigCreateSystemExecComm(int32_t handle)
{
    std::vector<ZANTONode *> nodes;
    const NameList list(VEXAHV_GetExecCommList, handle);
    for (const std::string &name : list.names())
        nodes.push_back(ZANTOConfigCreateNodeSystemCmd(handle, name));
    return nodes;
}

ZANTONode *ZANTOConfig::ZANTOConfigCreateNodeSystemCmd(int32_t handle, const std::string &name)
{
    NodeOwner node = makeNode(name, nodeTypeSystemCmd);
    node->setParWrapperType(VEXAHV_PARAM_STRING);
    node->setSysHandle(handle);
    node->setNodeValue(ZANTOUtils::ZANTOGetDummyChanged());
    node->setDataType(nodeDataTypeString);
    node->setAccessRights(nodeAccessWrite);
    return node.release();
}

namespace {

NodeOwner furtherParam(const char *name, nodeDataType dataType, const variant &value, time_t now)
{
    NodeOwner node = makeNode(name, nodeTypeSystemParam);
    node->setDataType(dataType);
    node->setAccessRights(nodeAccessRead);
    node->setNodeValue(ZANTONodeValue(value, nodeValueQualityGood, now));
    return node;
}

} // namespace

std::vector<ZANTONode *>
ZANTOConfig::ZANTOConfigCreateSystemFurtherParams(connStatus status, uint16_t slotCount)
{
    const time_t now = std::time(nullptr);
    std::vector<NodeOwner> nodes;
    variant value;
    value.setValue(ZANTOUtils::ZANTOSelectConnectionStatus(status));
    nodes.push_back(furtherParam("ConnStat", nodeDataTypeString, value, now));
    nodes.back()->setConnectionStatus(status);
    if (status == connStatus_OK) {
        value.clear();
        value.setValue(slotCount);
        nodes.push_back(furtherParam("NrOfSlot", nodeDataTypeUShort, value, now));
        nodes.back()->setSlotCount(slotCount);
    }
    return handOver(nodes);
}

// ---- boards ----

namespace {

/// The crate map as the access library hands it out.
struct CrateMap {
    uint16_t slotCount = 0;
    LibraryList<uint16_t> channelCounts;
    LibraryList<char> models;
    LibraryList<char> descriptions;
    LibraryList<uint16_t> serialNumbers;
    LibraryList<uint8_t> firmwareMinor;
    LibraryList<uint8_t> firmwareMajor;

    bool fetch(int32_t handle)
    {
        return VEXAHV_GetCrateMap(handle, &slotCount, channelCounts.out(), models.out(),
                                  descriptions.out(), serialNumbers.out(), firmwareMinor.out(),
                                  firmwareMajor.out()) == 0;
    }
};

} // namespace

std::vector<ZANTONode *> ZANTOConfig::ZANTOConfigCreateBoards(int32_t handle)
{
    CrateMap map;
    if (!map.fetch(handle)) {
        if (DEBUG > 0)
            std::puts("\nError fetching crate map");
        return {};
    }
    const uint16_t slots = map.slotCount;
    const auto models = ZANTOUtils::ZANTOCreateStringVectorFromCharSS(map.models.out(), slots);
    const auto descriptions =
        ZANTOUtils::ZANTOCreateStringVectorFromCharSS(map.descriptions.out(), slots);
    const auto minors =
        ZANTOUtils::ZANTOCreateStringVectorForFwRel(map.firmwareMinor.out(), slots);
    const auto majors =
        ZANTOUtils::ZANTOCreateStringVectorForFwRel(map.firmwareMajor.out(), slots);

    std::vector<NodeOwner> nodes;
    for (uint16_t slot = 0; slot < slots; ++slot) {
        const uint16_t channels = map.channelCounts.at(slot);
        if (channels == 0) {
            nodes.push_back(makeNode("", nodeTypeEmptyNode));
            continue;
        }
        nodes.emplace_back(ZANTOConfigCreateNodeBoard(slot, channels, models.at(slot),
                                                      descriptions.at(slot),
                                                      map.serialNumbers.at(slot),
                                                      minors.at(slot), majors.at(slot)));
        nodes.back()->setSysHandle(handle);
    }
    return handOver(nodes);
}

ZANTONode *ZANTOConfig::ZANTOConfigCreateNodeBoard(uint16_t slot, uint16_t channelCount,
                                                   const std::string &model,
                                                   const std::string &description,
                                                   uint16_t serialNumber,
                                                   const std::string &firmwareMinor,
                                                   const std::string &firmwareMajor)
{
    NodeOwner node = makeNode(numbered("Board%02d", slot), nodeTypeBoardItem);
    node->setBdSlotNr(slot);
    node->setBdChCount(channelCount);
    node->setBdModel(model);
    node->setBdDescr(description);
    node->setBdSerNr(serialNumber);
    node->setBdFwRelMin(firmwareMinor);
    node->setBdFwRelMax(firmwareMajor);
    return node.release();
}

std::vector<ZANTONodeProperty *> ZANTOConfig::ZANTOConfigCreateBoardInfo(ZANTONode *board)
{
    // The counts are unsigned and declared signed, as the readers of these properties expect.
    static constexpr struct {
        const char *name;
        nodeDataType dataType;
    } items[] = {{"ChCount", nodeDataTypeShort},
                 {"BdModel", nodeDataTypeString},
                 {"BdDescr", nodeDataTypeString},
                 {"SerNum", nodeDataTypeShort},
                 {"FmwRel", nodeDataTypeString}};
    std::vector<ZANTONodeProperty *> properties;
    if (board == nullptr)
        return properties;
    for (const auto &item : items) {
        auto property = std::make_unique<ZANTONodeProperty>();
        property->setPropName(item.name);
        property->setDataType(item.dataType);
        property->setPropVal(board->ZANTOGetBoardInfoValue(board, item.name).ZANTOGetValue());
        properties.push_back(property.release());
    }
    return properties;
}

// ---- parameters of boards and channels ----

namespace {

// Times that an unreadable parameter is asked for again at once; from then on with a pause, so
// that a mainframe that is in trouble is not flooded.
constexpr int32_t promptRetries = 3;
constexpr std::chrono::milliseconds retryPause{200};

/// One board or channel, and the calls that read its parameters.
class ParameterSource {
public:
    virtual ~ParameterSource() = default;
    virtual nodeType kind() const = 0;
    virtual uint16_t slot() const = 0;
    virtual bool property(const char *name, const char *property, uint32_t &value) const = 0;
    virtual ZANTONodeValue read(const std::string &name, uint32_t type) const = 0;
    virtual void reportUnreadable(const char *name) const = 0;
};

class BoardSource : public ParameterSource {
public:
    BoardSource(int32_t handle, uint16_t slot) : m_handle(handle), m_slot(slot) {}
    nodeType kind() const override { return nodeTypeBoardParam; }
    uint16_t slot() const override { return m_slot; }
    bool property(const char *name, const char *property, uint32_t &value) const override
    {
        return VEXAHV_GetBdParamProp(m_handle, m_slot, name, property, &value) == 0;
    }
    ZANTONodeValue read(const std::string &name, uint32_t type) const override
    {
        return ZANTOUtils::ZANTOGetBoardParameterChanged(m_handle, m_slot, name, type);
    }
    void reportUnreadable(const char *name) const override
    {
        std::printf("Error fetching [%d:%s] properties\n", m_slot, name);
    }

private:
    int32_t m_handle;
    uint16_t m_slot;
};

class ChannelSource : public ParameterSource {
public:
    ChannelSource(int32_t handle, uint16_t slot, uint16_t channel)
        : m_handle(handle), m_slot(slot), m_channel(channel)
    {
    }
    nodeType kind() const override { return nodeTypeChannelParam; }
    uint16_t slot() const override { return m_slot; }
    bool property(const char *name, const char *property, uint32_t &value) const override
    {
        return VEXAHV_GetChParamProp(m_handle, m_slot, m_channel, name, property, &value) == 0;
    }
    ZANTONodeValue read(const std::string &name, uint32_t type) const override
    {
        return ZANTOUtils::ZANTOGetChannelParameterChanged(m_handle, m_slot, name, m_channel,
                                                           type);
    }
    void reportUnreadable(const char *name) const override
    {
        std::printf("Error fetching [%d:%d:%s] properties\n", m_slot, m_channel, name);
    }

private:
    int32_t m_handle;
    uint16_t m_slot;
    uint16_t m_channel;
};

// Asks until both are answered: a parameter that was left out would have no record for the
// life of the process.
void fetchTypeAndMode(const ParameterSource &source, const char *name, uint32_t &type,
                      uint32_t &mode)
{
    for (int32_t attempt = 0;; ++attempt) {
        ZANTOStartupCheckpoint();
        const bool haveType = source.property(name, VEXAHV_PROP_TYPE, type);
        const bool haveMode = source.property(name, VEXAHV_PROP_MODE, mode);
        if (haveType && haveMode)
            return;
        if (DEBUG > 0)
            source.reportUnreadable(name);
        if (attempt >= promptRetries)
            ZANTOStartupPause(retryPause);
    }
}

// One node per name of the table, in its order.
void createParameters(const ParameterSource &source, int32_t handle, const char *table,
                      std::vector<NodeOwner> &nodes)
{
    for (; table != nullptr && *table != '\0'; table += VEXAHV_PARAM_NAME_SLOT) {
        const std::string name(table, strnlen(table, VEXAHV_PARAM_NAME_SLOT));
        uint32_t type = 0;
        uint32_t mode = 0;
        fetchTypeAndMode(source, name.c_str(), type, mode);
        nodes.emplace_back(ZANTOConfig::ZANTOConfigCreateNodeParam(source.kind(), name,
                                                                   source.slot(), type, mode));
        nodes.back()->setSysHandle(handle);
        nodes.back()->setNodeValue(source.read(name, type));
    }
}

} // namespace

std::vector<ZANTONode *> ZANTOConfig::ZANTOConfigCreateBoardParams(int32_t handle, uint16_t slot)
{
    LibraryList<char> table;
    if (VEXAHV_GetBdParamInfo(handle, slot, table.out()) != 0) {
        table.disown();
        if (DEBUG > 0)
            std::printf("\nError fetching board [%d] parameters\n", slot);
        return {};
    }
    std::vector<NodeOwner> nodes;
    createParameters(BoardSource(handle, slot), handle, table.get(), nodes);
    return handOver(nodes);
}

// ---- channels ----

std::vector<ZANTONode *> ZANTOConfig::ZANTOConfigCreateChannels(int32_t handle, uint16_t slot,
                                                                uint16_t channelCount)
{
    std::vector<NodeOwner> nodes;
    for (uint16_t channel = 0; channel < channelCount; ++channel) {
        ZANTOStartupCheckpoint();
        char name[1][VEXAHV_CHANNEL_NAME_SLOT] = {};
        if (VEXAHV_GetChName(handle, slot, 1, &channel, name) != 0)
            continue;
        const std::string reported(name[0], strnlen(name[0], sizeof(name[0])));
        nodes.emplace_back(ZANTOConfigCreateNodeChannel(reported, channel, slot));
        nodes.back()->setSysHandle(handle);
    }
    return handOver(nodes);
}

ZANTONode *ZANTOConfig::ZANTOConfigCreateNodeChannel(const std::string &, uint16_t channel,
                                                     uint16_t slot)
{
    NodeOwner node = makeNode(numbered("Chan%03d", channel), nodeTypeChannelItem);
    node->setChIdx(channel);
    node->setBdSlotNr(slot);
    return node.release();
}

std::vector<ZANTONode *> ZANTOConfig::ZANTOConfigCreateChannelParams(int32_t handle, int32_t,
                                                                     uint16_t slot,
                                                                     uint16_t channel)
{
    const ChannelSource source(handle, slot, channel);
    std::vector<NodeOwner> nodes;
    nodes.emplace_back(ZANTOConfigCreateNodeParam(nodeTypeChannelParam, "Name", slot,
                                                  VEXAHV_PARAM_STRING, VEXAHV_MODE_READWRITE));
    nodes.back()->setDataType(nodeDataTypeString);
    nodes.back()->setSysHandle(handle);
    nodes.back()->setNodeValue(source.read("Name", VEXAHV_PARAM_STRING));

    LibraryList<char> table;
    int32_t count = 0;
    if (VEXAHV_GetChParamInfo(handle, slot, channel, table.out(), &count) == 0) {
        createParameters(source, handle, table.get(), nodes);
    } else {
        table.disown();
        if (DEBUG > 0)
            std::printf("\nError fetching channel [%d] parameters\n", channel);
    }
    return handOver(nodes);
}

ZANTONode *ZANTOConfig::ZANTOConfigCreateNodeParam(nodeType kind, const std::string &name,
                                                   uint16_t slot, uint32_t type, uint32_t mode)
{
    static constexpr nodeDataType dataTypes[] = {
        nodeDataTypeFloat, nodeDataTypeBool,   nodeDataTypeInt, nodeDataTypeInt,
        nodeDataTypeInt,   nodeDataTypeString, nodeDataTypeEnum};
    NodeOwner node = makeNode(name, kind);
    node->setParWrapperType(type);
    node->setBdSlotNr(slot);
    setDataTypeByCode(*node, dataTypes, type);
    setAccessByMode(*node, mode);
    return node.release();
}

// ---- properties of a parameter ----

namespace {

std::vector<const char *> propertyNames(uint32_t type)
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

// `get` makes the library call into the buffer it is given; `level` is "board" or "channel", for
// the message.
template <typename Get>
ZANTONodeValue propertyValue(const std::string &propName, const std::string &paramName,
                             const char *level, const Get &get)
{
    const time_t now = std::time(nullptr);
    variant value;
    const auto *shape = std::find_if(std::begin(propertyShapes), std::end(propertyShapes),
                                     [&](const auto &s) { return propName == s.name; });
    PropertyAnswer answer = {};
    if (shape != std::end(propertyShapes) && get(&answer) == 0) {
        shape->store(answer, value);
        return ZANTONodeValue(value, nodeValueQualityGood, now);
    }
    if (DEBUG > 0)
        std::printf("Error getting [%s] for [%s] %s parameter\n", propName.c_str(),
                    paramName.c_str(), level);
    return ZANTONodeValue(value, nodeValueQualityBad, now);
}

} // namespace

std::vector<ZANTONodeProperty *> ZANTOConfig::ZANTOConfigCreateChannelParameterProperties(
    int32_t handle, const std::string &paramName, uint32_t type, uint16_t slot, uint16_t channel)
{
    return ZANTOConfigCreateParameterProperties(nodeTypeChannelParam, handle, paramName, type,
                                                slot, channel);
}

std::vector<ZANTONodeProperty *> ZANTOConfig::ZANTOConfigCreateBoardParameterProperties(
    int32_t handle, const std::string &paramName, uint32_t type, uint16_t slot)
{
    return ZANTOConfigCreateParameterProperties(nodeTypeBoardParam, handle, paramName, type,
                                                slot, 0);
}

std::vector<ZANTONodeProperty *> ZANTOConfig::ZANTOConfigCreateParameterProperties(
    nodeType kind, int32_t handle, const std::string &paramName, uint32_t type, uint16_t slot,
    uint16_t channel)
{
    std::vector<ZANTONodeProperty *> properties;
    for (const char *name : propertyNames(type)) {
        ZANTOStartupCheckpoint();
        const ZANTONodeValue value =
            kind == nodeTypeBoardParam
                ? ZANTOConfigGetBoardPropertyValue(name, handle, paramName, slot)
                : ZANTOConfigGetChannelPropertyValue(name, handle, paramName, slot, channel);
        if (value.ZANTOGetQuality() != nodeValueQualityGood)
            continue;
        auto property = std::make_unique<ZANTONodeProperty>();
        property->setPropName(name);
        property->setDataType(ZANTOUtils::ZANTOSelectPropertyDataType(name));
        property->setPropVal(value);
        properties.push_back(property.release());
    }
    return properties;
}

ZANTONodeValue ZANTOConfig::ZANTOConfigGetChannelPropertyValue(const std::string &propName,
                                                               int32_t handle,
                                                               const std::string &paramName,
                                                               uint16_t slot, uint16_t channel)
{
    return propertyValue(propName, paramName, "channel", [&](void *answer) {
        return VEXAHV_GetChParamProp(handle, slot, channel, paramName.c_str(), propName.c_str(),
                                     answer);
    });
}

ZANTONodeValue ZANTOConfig::ZANTOConfigGetBoardPropertyValue(const std::string &propName,
                                                             int32_t handle,
                                                             const std::string &paramName,
                                                             uint16_t slot)
{
    return propertyValue(propName, paramName, "board", [&](void *answer) {
        return VEXAHV_GetBdParamProp(handle, slot, paramName.c_str(), propName.c_str(), answer);
    });
}

// ---- lookup ----

namespace {

// The node whose parameters an event means, or null for a position outside the tree.
ZANTONode *holderOf(ZANTONode &root, int32_t board, int32_t channel)
{
    if (channel < 0 && board < 0)
        return &root;
    ZANTONode *boardNode = root.childAt(board);
    if (channel < 0 || boardNode == nullptr)
        return boardNode;
    return boardNode->childAt(channel);
}

} // namespace

ZANTONode *ZANTOConfig::ZANTOConfigGetNodeFromItemId(ZANTONode *root, const std::string &itemId,
                                                     int32_t board, int32_t channel)
{
    if (root == nullptr || itemId.empty() || root->getNodeType() != nodeTypeSystemItem)
        return nullptr;
    const ZANTONode *holder = holderOf(*root, board, channel);
    if (holder == nullptr)
        return nullptr;
    ZANTONode *parameter = holder->findParameter(itemId);
    if (parameter == nullptr && DEBUG > 0)
        std::printf("\nNode [%d:%d:%s] not found in tree\n", board, channel, itemId.c_str());
    return parameter;
}
