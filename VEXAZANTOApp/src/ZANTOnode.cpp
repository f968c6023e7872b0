#include "ZANTOnode.h"

#include "ZANTOmessages.h"
#include "ZANTOutils.h"
#include "vexahvwrapper.h"

#include <memory>

namespace {

// insertChildNode leaves runs of one pointer; the node behind a run is deleted once.
template <typename T> void deleteFromLastToFirst(std::vector<T *> &list)
{
    for (size_t i = list.size(); i-- > 0;) {
        if (i == 0 || list[i - 1] != list[i])
            delete list[i];
    }
    list.clear();
}

} // namespace

ZANTONode::ZANTONode()
{
    initSem();
}

ZANTONode::~ZANTONode()
{
    if (m_nodeType != nodeTypeEmptyNode) {
        deleteFromLastToFirst(m_children);
        deleteFromLastToFirst(m_parameters);
        deleteFromLastToFirst(m_properties);
    }
    const std::unique_ptr<Pending> nobodys(m_pending.load());
    destroySem();
}

void ZANTONode::ZANTOPrepareNode(const std::string &name, nodeType type, int32_t systemType,
                                 int32_t connType, const std::string &initParam,
                                 const std::string &username, const std::string &password)
{
    m_nodeName = name;
    m_nodeType = type;
    if (type != nodeTypeSystemItem)
        return;
    m_systemType = systemType;
    m_systemConnType = connType;
    m_initParam = initParam;
    m_username = username;
    m_password = password;
}

// ---- lists ----

void ZANTONode::passSystemType(ZANTONode *node)
{
    if (m_nodeType != nodeTypeEmptyNode)
        node->setSystemType(m_systemType);
}

void ZANTONode::adopt(ZANTONode *node, std::vector<ZANTONode *> &list)
{
    if (node == nullptr)
        return;
    const MemberGuard guard(*this);
    list.push_back(node);
    passSystemType(node);
}

void ZANTONode::addChildNode(ZANTONode *child) { adopt(child, m_children); }
void ZANTONode::addParameter(ZANTONode *parameter) { adopt(parameter, m_parameters); }

void ZANTONode::addProperty(ZANTONodeProperty *property)
{
    if (property == nullptr)
        return;
    const MemberGuard guard(*this);
    m_properties.push_back(property);
}

void ZANTONode::insertChildNode(ZANTONode *child, int32_t index)
{
    if (child == nullptr || index < 0)
        return;
    const MemberGuard guard(*this);
    if (static_cast<size_t>(index) > m_children.size())
        return;
    m_children.insert(m_children.begin() + index, static_cast<size_t>(index), child);
    passSystemType(child);
}

void ZANTONode::removeChildNode(int32_t index)
{
    if (index < 0 || static_cast<size_t>(index) >= m_children.size())
        return;
    const MemberGuard guard(*this);
    m_children.erase(m_children.begin() + index);
}

ZANTONode *ZANTONode::childAt(int64_t position) const
{
    if (position < 0 || static_cast<uint64_t>(position) >= m_children.size())
        return nullptr;
    return m_children[static_cast<size_t>(position)];
}

ZANTONode *ZANTONode::findParameter(const std::string &name) const
{
    for (ZANTONode *parameter : m_parameters) {
        if (parameter->m_nodeName == name)
            return parameter;
    }
    return nullptr;
}

void ZANTONode::setSysHandle(int32_t handle)
{
    m_sysHandle = handle;
    const MemberGuard guard(*this);
    for (ZANTONode *child : m_children)
        child->setSysHandle(handle);
    for (ZANTONode *parameter : m_parameters)
        parameter->setSysHandle(handle);
}

void ZANTONode::updateBdNameForAllChildren(const std::string &name)
{
    m_bdName = name;
    const MemberGuard guard(*this);
    for (ZANTONode *parameter : m_parameters)
        parameter->setBdName(name);
    for (ZANTONode *child : m_children) {
        child->setBdName(name);
        for (ZANTONode *parameter : child->getParameters())
            parameter->setBdName(name);
    }
}

ZANTONodeValue ZANTONode::ZANTOGetBoardInfoValue(ZANTONode *board, const std::string &item)
{
    const MemberGuard guard(*this);
    const time_t now = std::time(nullptr);
    variant value;
    if (board == nullptr)
        return ZANTONodeValue(value, nodeValueQualityBad, now);
    if (item == "ChCount")
        value.setValue(board->getBdChCount());
    else if (item == "SerNum")
        value.setValue(board->getBdSerNr());
    else if (item == "BdModel")
        value.setValue(board->getBdModel());
    else if (item == "BdDescr")
        value.setValue(board->getBdDescr());
    else if (item == "FmwRel")
        value.setValue(board->getBdFwRelMax() + "." + board->getBdFwRelMin());
    return ZANTONodeValue(value, nodeValueQualityGood, now);
}

// ---- mainframe ----

int32_t ZANTONode::ZANTOSubscriptionForNode(bool subscribe)
{
    const MemberGuard guard(*this);
    const auto port = static_cast<int16_t>(tcpPort);
    const char *name = m_nodeName.c_str();
    char result[2] = {}; // one name, and room for a library that counts a separator as one
    switch (m_nodeType) {
    case nodeTypeBoardParam:
        return (subscribe ? VEXAHV_SubscribeBoardParams : VEXAHV_UnSubscribeBoardParams)(
            m_sysHandle, port, m_bdSlotNr, name, 1, result);
    case nodeTypeChannelParam:
        return (subscribe ? VEXAHV_SubscribeChannelParams : VEXAHV_UnSubscribeChannelParams)(
            m_sysHandle, port, m_bdSlotNr, m_chIdx, name, 1, result);
    case nodeTypeSystemProp:
        return (subscribe ? VEXAHV_SubscribeSystemParams : VEXAHV_UnSubscribeSystemParams)(
            m_sysHandle, port, name, 1, result);
    default:
        return -1;
    }
}

int32_t ZANTONode::writeToMainframe(const variant &value)
{
    switch (m_nodeType) {
    case nodeTypeSystemProp:
        return ZANTOUtils::ZANTOSetSystemPropertyChanged(m_sysHandle, m_nodeName,
                                                         m_parWrapperType, value);
    case nodeTypeBoardParam:
        return ZANTOUtils::ZANTOSetBoardParameterChanged(m_sysHandle, m_bdSlotNr, m_nodeName,
                                                         m_parWrapperType, value);
    case nodeTypeChannelParam:
        return ZANTOUtils::ZANTOSetChannelParameterChanged(m_sysHandle, m_bdSlotNr, m_nodeName,
                                                           m_chIdx, m_parWrapperType, value);
    case nodeTypeSystemCmd:
        return ZANTOUtils::ZANTOExeSystemCommandChanged(m_sysHandle, m_nodeName);
    default:
        if (DEBUG > 0)
            ZANTOPrint("Error set node [%s] value - node type not found", m_nodeName.c_str());
        return -1;
    }
}

int32_t ZANTONode::setNodeEditedValue(const variant &value)
{
    const MemberGuard guard(*this);
    const int32_t result = writeToMainframe(value);
    if (result == 0) {
        m_nodeValue.ZANTOSetValueData(value, nodeValueQualityGood, std::time(nullptr));
        return 0;
    }
    if (DEBUG > 2)
        ZANTOPrint("Error set node [%s] value - write fail with code = %d\n", m_nodeName.c_str(),
                    result);
    m_nodeValue.ZANTOSetQuality(nodeValueQualityWriteFail);
    return result;
}

void ZANTONode::invalidate(time_t timestamp)
{
    const MemberGuard guard(*this);
    m_nodeValue.ZANTOSetQuality(nodeValueQualityBad);
    m_nodeValue.ZANTOSetTimestamp(timestamp);
}

void ZANTONode::invalidateChildren(time_t timestamp)
{
    const MemberGuard guard(*this);
    for (ZANTONode *child : m_children) {
        child->invalidate(timestamp);
        child->invalidateChildren(timestamp);
    }
}

void ZANTONode::ZANTOInvalidateAllChildren() { invalidateChildren(std::time(nullptr)); }

void ZANTONode::setConnectionStatus(connStatus status)
{
    const MemberGuard guard(*this);
    m_connStatus = status;
    if (status != connStatus_OK)
        ZANTOInvalidateAllChildren();
}

// ---- plain setters ----

template <typename T> void ZANTONode::assign(T &member, const T &value)
{
    const MemberGuard guard(*this);
    member = value;
}

void ZANTONode::setNodeName(const std::string &name) { assign(m_nodeName, name); }
void ZANTONode::setNodeType(nodeType type) { assign(m_nodeType, type); }
void ZANTONode::setAccessRights(nodeAccessRights rights) { assign(m_nodeAccessRight, rights); }
void ZANTONode::setDataType(nodeDataType dataType) { assign(m_nodeDataType, dataType); }
void ZANTONode::setNodeValue(const ZANTONodeValue &value) { assign(m_nodeValue, value); }
void ZANTONode::setSystemType(int32_t systemType) { assign(m_systemType, systemType); }

void ZANTONode::setInitParam(const std::string &initParam)
{
    const MemberGuard guard(*this);
    if (m_initParam.empty())
        m_initParam = initParam;
}

void ZANTONode::setSysSocket(int32_t socket) { assign(m_sysSocket, socket); }
void ZANTONode::setSlotCount(uint16_t count) { assign(m_slotCount, count); }
void ZANTONode::setBdSlotNr(uint16_t slot) { assign(m_bdSlotNr, slot); }
void ZANTONode::setChIdx(uint16_t channel) { assign(m_chIdx, channel); }
void ZANTONode::setParWrapperType(uint32_t type) { assign(m_parWrapperType, type); }
void ZANTONode::setSysName(const std::string &name) { assign(m_sysName, name); }
void ZANTONode::setBdName(const std::string &name) { assign(m_bdName, name); }
void ZANTONode::setChName(const std::string &name) { assign(m_chName, name); }

void ZANTONode::setExpUnit(const std::string &unit)
{
    m_nodeExpUnit = unit;
    const MemberGuard guard(*this);
    setNodeValue(m_nodeValue);
}

void ZANTONode::setNodeDecimals(int32_t decimals) { assign(m_nodeDecimals, decimals); }
void ZANTONode::setBdChCount(uint16_t count) { assign(m_bdChCount, count); }
void ZANTONode::setBdModel(const std::string &model) { assign(m_bdModel, model); }
void ZANTONode::setBdDescr(const std::string &description) { assign(m_bdDescr, description); }
void ZANTONode::setBdSerNr(uint16_t serialNumber) { assign(m_bdSerNr, serialNumber); }
void ZANTONode::setBdFwRelMin(const std::string &release) { assign(m_bdFwRelMin, release); }
void ZANTONode::setBdFwRelMax(const std::string &release) { assign(m_bdFwRelMax, release); }
void ZANTONode::setMaxVal(int32_t value) { assign(m_maxValue, static_cast<float>(value)); }
void ZANTONode::setMinVal(float value) { assign(m_minValue, value); }
void ZANTONode::setOnString(const std::string &text) { assign(m_onString, text); }
void ZANTONode::setOffString(const std::string &text) { assign(m_offString, text); }
