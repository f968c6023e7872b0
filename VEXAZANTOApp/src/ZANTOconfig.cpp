#include "ZANTOconfig.h"

#include "ZANTOappend.h"
#include "ZANTOclock.h"
#include "ZANTOlibrarylist.h"
#include "ZANTOlookup.h"
#include "ZANTOmessages.h"
#include "ZANTOnode.h"
#include "ZANTOnodeowner.h"
#include "ZANTOparameterreader.h"
#include "ZANTOpropertyreader.h"
#include "ZANTOstartupcall.h"
#include "ZANTOutils.h"
#include "vexahvwrapper.h"

#include <cstddef>
#include <cstring>
#include <memory>
#include <utility>

// ---- system ----

namespace {

// The node has its owner before the list needs memory.
void add(std::vector<ZANTONodeOwner> &nodes, ZANTONode *made)
{
    nodes.push_back(ZANTONodeOwner(made));
}

using NameListCall = VEXAHVRESULT (*)(int32_t handle, uint16_t *count, char **list);

// A packed list of names; empty, with the message, when there are none to be had. The list goes
// back to the library at the end of the scope.
class NameList {
public:
    NameList(NameListCall call, int32_t handle)
    {
        uint16_t count = 0;
        const auto fetch = [&] { return call(handle, &count, m_list.out()); };
        if (ZANTOStartupCall(fetch) == 0 && count != 0) {
            m_names = ZANTOUtils::ZANTOCreateStringVectorFromCharSS(m_list.out(), count);
            return;
        }
        m_list.disown();
        ZANTO_TRACE(0, "\nError fetching system properties\n");
    }

    const std::vector<std::string> &names() const { return m_names; }

private:
    ZANTOLibraryList<char> m_list;
    std::vector<std::string> m_names;
};

} // namespace

std::vector<ZANTONode *> ZANTOConfig::ZANTOConfigCreateSystemProps(int32_t handle)
{
    std::vector<ZANTONodeOwner> nodes;
    const NameList list(VEXAHV_GetSysPropList, handle);
    for (const std::string &name : list.names()) {
        if (name == "ResFlag")
            continue;
        uint32_t mode = 0;
        uint32_t type = 0;
        const auto info = [&] { return VEXAHV_GetSysPropInfo(handle, name.c_str(), &mode, &type); };
        if (ZANTOStartupCall(info) == 0)
            add(nodes, ZANTOConfigCreateNodeSystemProp(handle, name, type, mode));
        else
            ZANTO_TRACE(0, "Error fetching [%s] informations\n", name.c_str());
    }
    return ZANTOHandOver(nodes);
}

ZANTONode *ZANTOConfig::ZANTOConfigCreateNodeSystemProp(int32_t handle, const std::string &name,
                                                        uint32_t type, uint32_t mode)
{
    static constexpr nodeDataType dataTypes[] = {
        nodeDataTypeString, nodeDataTypeFloat, nodeDataTypeUShort, nodeDataTypeUInt,
        nodeDataTypeShort,  nodeDataTypeInt,   nodeDataTypeBool};
    ZANTONodeOwner node = ZANTOMakeNodeByCodes(name, nodeTypeSystemProp, dataTypes, type, mode);
    node->setSysHandle(handle);
    node->setNodeValue(ZANTOUtils::ZANTOGetSystemPropertyChanged(handle, name, type));
    return node.release();
}

std::vector<ZANTONode *> ZANTOConfig::ZANTOConfigCreateSystemExecComm(int32_t handle)
{
    std::vector<ZANTONodeOwner> nodes;
    const NameList list(VEXAHV_GetExecCommList, handle);
    for (const std::string &name : list.names())
        add(nodes, ZANTOConfigCreateNodeSystemCmd(handle, name));
    return ZANTOHandOver(nodes);
}

ZANTONode *ZANTOConfig::ZANTOConfigCreateNodeSystemCmd(int32_t handle, const std::string &name)
{
    ZANTONodeOwner node = ZANTOMakeNode(name, nodeTypeSystemCmd);
    node->setParWrapperType(VEXAHV_PARAM_STRING);
    node->setSysHandle(handle);
    node->setNodeValue(ZANTOUtils::ZANTOGetDummyChanged());
    node->setDataType(nodeDataTypeString);
    node->setAccessRights(nodeAccessWrite);
    return node.release();
}

namespace {

ZANTONodeOwner furtherParam(const char *name, nodeDataType dataType, const variant &value,
                            time_t now)
{
    ZANTONodeOwner node = ZANTOMakeNode(name, nodeTypeSystemParam);
    node->setDataType(dataType);
    node->setAccessRights(nodeAccessRead);
    node->setNodeValue(ZANTONodeValue(value, nodeValueQualityGood, now));
    return node;
}

} // namespace

std::vector<ZANTONode *> ZANTOConfig::ZANTOConfigCreateSystemFurtherParams(connStatus status,
                                                                           uint16_t slotCount)
{
    const time_t now = ZANTONow();
    std::vector<ZANTONodeOwner> nodes;
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
    return ZANTOHandOver(nodes);
}

// ---- boards ----

namespace {

std::string numbered(const char *name, uint16_t number, std::size_t digits)
{
    std::string text = name;
    ZANTOAppendNumber(text, number, digits);
    return text;
}

// The crate map as the access library hands it out.
struct CrateMap {
    uint16_t slotCount = 0;
    ZANTOLibraryList<uint16_t> channelCounts;
    ZANTOLibraryList<char> models;
    ZANTOLibraryList<char> descriptions;
    ZANTOLibraryList<uint16_t> serialNumbers;
    ZANTOLibraryList<uint8_t> firmwareMinor;
    ZANTOLibraryList<uint8_t> firmwareMajor;

    bool fetch(int32_t handle)
    {
        return ZANTOStartupCall([&] {
                   return VEXAHV_GetCrateMap(handle, &slotCount, channelCounts.out(), models.out(),
                                             descriptions.out(), serialNumbers.out(),
                                             firmwareMinor.out(), firmwareMajor.out());
               }) == 0;
    }
};

} // namespace

std::vector<ZANTONode *> ZANTOConfig::ZANTOConfigCreateBoards(int32_t handle)
{
    CrateMap map;
    if (!map.fetch(handle)) {
        ZANTO_TRACE(0, "\nError fetching crate map\n");
        return {};
    }
    const uint16_t slots = map.slotCount;
    const auto models = ZANTOUtils::ZANTOCreateStringVectorFromCharSS(map.models.out(), slots);
    const auto descriptions =
        ZANTOUtils::ZANTOCreateStringVectorFromCharSS(map.descriptions.out(), slots);
    const auto minors = ZANTOUtils::ZANTOCreateStringVectorForFwRel(map.firmwareMinor.out(), slots);
    const auto majors = ZANTOUtils::ZANTOCreateStringVectorForFwRel(map.firmwareMajor.out(), slots);

    std::vector<ZANTONodeOwner> nodes;
    for (uint16_t slot = 0; slot < slots; ++slot) {
        const uint16_t channels = map.channelCounts.at(slot);
        if (channels == 0) {
            nodes.push_back(ZANTOMakeNode("", nodeTypeEmptyNode));
            continue;
        }
        add(nodes, ZANTOConfigCreateNodeBoard(slot, channels, models.at(slot),
                                              descriptions.at(slot), map.serialNumbers.at(slot),
                                              minors.at(slot), majors.at(slot)));
        nodes.back()->setSysHandle(handle);
    }
    return ZANTOHandOver(nodes);
}

ZANTONode *ZANTOConfig::ZANTOConfigCreateNodeBoard(
    uint16_t slot, uint16_t channelCount, const std::string &model, const std::string &description,
    uint16_t serialNumber, const std::string &firmwareMinor, const std::string &firmwareMajor)
{
    ZANTONodeOwner node = ZANTOMakeNode(numbered("Board", slot, 2), nodeTypeBoardItem);
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
    if (board == nullptr)
        return {};
    std::vector<std::unique_ptr<ZANTONodeProperty>> properties;
    for (const auto &item : items) {
        auto property = std::make_unique<ZANTONodeProperty>();
        property->setPropName(item.name);
        property->setDataType(item.dataType);
        property->setPropVal(board->ZANTOGetBoardInfoValue(board, item.name).ZANTOGetValue());
        properties.push_back(std::move(property));
    }
    return ZANTOHandOver(properties);
}

std::vector<ZANTONode *> ZANTOConfig::ZANTOConfigCreateBoardParams(int32_t handle, uint16_t slot)
{
    ZANTOLibraryList<char> table;
    const auto fetch = [&] { return VEXAHV_GetBdParamInfo(handle, slot, table.out()); };
    if (ZANTOStartupCall(fetch) != 0) {
        table.disown();
        ZANTO_TRACE(0, "\nError fetching board [%d] parameters\n", slot);
        return {};
    }
    std::vector<ZANTONodeOwner> nodes;
    ZANTOReadParameters(ZANTOBoardSource(handle, slot), handle, table.get(), nodes);
    return ZANTOHandOver(nodes);
}

// ---- channels ----

std::vector<ZANTONode *> ZANTOConfig::ZANTOConfigCreateChannels(int32_t handle, uint16_t slot,
                                                                uint16_t channelCount)
{
    std::vector<ZANTONodeOwner> nodes;
    for (uint16_t channel = 0; channel < channelCount; ++channel) {
        char name[1][VEXAHV_CHANNEL_NAME_SLOT] = {};
        const auto fetch = [&] { return VEXAHV_GetChName(handle, slot, 1, &channel, name); };
        if (ZANTOStartupCall(fetch) != 0)
            continue;
        const std::string reported(name[0], strnlen(name[0], sizeof(name[0])));
        add(nodes, ZANTOConfigCreateNodeChannel(reported, channel, slot));
        nodes.back()->setSysHandle(handle);
    }
    return ZANTOHandOver(nodes);
}

ZANTONode *ZANTOConfig::ZANTOConfigCreateNodeChannel(const std::string &, uint16_t channel,
                                                     uint16_t slot)
{
    ZANTONodeOwner node = ZANTOMakeNode(numbered("Chan", channel, 3), nodeTypeChannelItem);
    node->setChIdx(channel);
    node->setBdSlotNr(slot);
    return node.release();
}

std::vector<ZANTONode *> ZANTOConfig::ZANTOConfigCreateChannelParams(int32_t handle, int32_t,
                                                                     uint16_t slot,
                                                                     uint16_t channel)
{
    const ZANTOChannelSource source(handle, slot, channel);
    std::vector<ZANTONodeOwner> nodes;
    add(nodes, ZANTOConfigCreateNodeParam(nodeTypeChannelParam, "Name", slot, VEXAHV_PARAM_STRING,
                                          VEXAHV_MODE_READWRITE));
    nodes.back()->setSysHandle(handle);
    nodes.back()->setNodeValue(source.read("Name", VEXAHV_PARAM_STRING));

    ZANTOLibraryList<char> table;
    int32_t count = 0;
    const auto fetch = [&] {
        return VEXAHV_GetChParamInfo(handle, slot, channel, table.out(), &count);
    };
    if (ZANTOStartupCall(fetch) == 0) {
        ZANTOReadParameters(source, handle, table.get(), nodes);
    } else {
        table.disown();
        ZANTO_TRACE(0, "\nError fetching channel [%d] parameters\n", channel);
    }
    return ZANTOHandOver(nodes);
}

ZANTONode *ZANTOConfig::ZANTOConfigCreateNodeParam(nodeType kind, const std::string &name,
                                                   uint16_t slot, uint32_t type, uint32_t mode)
{
    return ZANTOMakeParameter(kind, name, slot, type, mode).release();
}

// ---- properties of a parameter ----

std::vector<ZANTONodeProperty *> ZANTOConfig::ZANTOConfigCreateChannelParameterProperties(
    int32_t handle, const std::string &paramName, uint32_t type, uint16_t slot, uint16_t channel)
{
    return ZANTOConfigCreateParameterProperties(nodeTypeChannelParam, handle, paramName, type, slot,
                                                channel);
}

std::vector<ZANTONodeProperty *> ZANTOConfig::ZANTOConfigCreateBoardParameterProperties(
    int32_t handle, const std::string &paramName, uint32_t type, uint16_t slot)
{
    return ZANTOConfigCreateParameterProperties(nodeTypeBoardParam, handle, paramName, type, slot,
                                                0);
}

namespace {

std::vector<ZANTONodeProperty *> readProperties(const ZANTOParameterSource &source,
                                                const std::string &paramName, uint32_t type)
{
    std::vector<std::unique_ptr<ZANTONodeProperty>> properties;
    const ZANTOPropertyNames names = ZANTOPropertyNamesOf(type);
    properties.reserve(names.size());
    for (const char *name : names) {
        const ZANTONodeValue value = ZANTOReadProperty(source, name, paramName);
        if (value.ZANTOGetQuality() != nodeValueQualityGood)
            continue;
        auto property = std::make_unique<ZANTONodeProperty>();
        property->setPropName(name);
        property->setDataType(ZANTOUtils::ZANTOSelectPropertyDataType(name));
        property->setPropVal(value);
        properties.push_back(std::move(property));
    }
    return ZANTOHandOver(properties);
}

} // namespace

std::vector<ZANTONodeProperty *> ZANTOConfig::ZANTOConfigCreateParameterProperties(
    nodeType kind, int32_t handle, const std::string &paramName, uint32_t type, uint16_t slot,
    uint16_t channel)
{
    if (kind == nodeTypeBoardParam)
        return readProperties(ZANTOBoardSource(handle, slot), paramName, type);
    return readProperties(ZANTOChannelSource(handle, slot, channel), paramName, type);
}

ZANTONodeValue ZANTOConfig::ZANTOConfigGetChannelPropertyValue(const std::string &propName,
                                                               int32_t handle,
                                                               const std::string &paramName,
                                                               uint16_t slot, uint16_t channel)
{
    return ZANTOReadProperty(ZANTOChannelSource(handle, slot, channel), propName.c_str(),
                             paramName);
}

ZANTONodeValue ZANTOConfig::ZANTOConfigGetBoardPropertyValue(const std::string &propName,
                                                             int32_t handle,
                                                             const std::string &paramName,
                                                             uint16_t slot)
{
    return ZANTOReadProperty(ZANTOBoardSource(handle, slot), propName.c_str(), paramName);
}

// ---- lookup ----

ZANTONode *ZANTOConfig::ZANTOConfigGetNodeFromItemId(ZANTONode *root, const std::string &itemId,
                                                     int32_t board, int32_t channel)
{
    return ZANTOFindItemNode(root, itemId, board, channel);
}
