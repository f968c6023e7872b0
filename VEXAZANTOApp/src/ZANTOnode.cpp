#include "ZANTOnode.h"

#include "ZANTOclock.h"
#include "ZANTOmessages.h"
#include "ZANTOstatic.h"
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

ZANTONode::ZANTONode() = default;

ZANTONode::~ZANTONode()
{
    forgetPending();
    if (getNodeType() == nodeTypeEmptyNode)
        return;
    if (Branch *branch = m_branch.get()) {
        deleteFromLastToFirst(branch->children);
        deleteFromLastToFirst(branch->parameters);
    }
    deleteFromLastToFirst(m_properties);
}

// ---- branch ----

const ZANTONode::Branch &ZANTONode::BranchOwner::untouched() noexcept
{
    static ZANTONeverDestroyed<Branch> branch;
    return branch.get();
}

ZANTONode::Branch &ZANTONode::BranchOwner::own()
{
    if (m_own == nullptr)
        m_own = std::make_unique<Branch>();
    return *m_own;
}

void ZANTONode::ZANTOPrepareNode(const std::string &name, nodeType type, int32_t systemType,
                                 int32_t connType, const std::string &initParam,
                                 const std::string &username, const std::string &password)
{
    m_nodeName = ZANTOSharedText(name);
    m_nodeType = static_cast<uint8_t>(type);
    if (type != nodeTypeSystemItem)
        return;
    m_systemType = systemType;
    Branch &branch = m_branch.own();
    branch.systemConnType = connType;
    branch.initParam = initParam;
    branch.username = username;
    branch.password = password;
}

// ---- lists ----

void ZANTONode::passSystemType(ZANTONode *node)
{
    if (getNodeType() != nodeTypeEmptyNode)
        node->setSystemType(m_systemType);
}

void ZANTONode::adopt(ZANTONode *node, std::vector<ZANTONode *> Branch::*list)
{
    if (node == nullptr)
        return;
    const MemberGuard guard(*this);
    (m_branch.own().*list).push_back(node);
    passSystemType(node);
}

void ZANTONode::addChildNode(ZANTONode *child) { adopt(child, &Branch::children); }
void ZANTONode::addParameter(ZANTONode *parameter) { adopt(parameter, &Branch::parameters); }

void ZANTONode::addProperty(ZANTONodeProperty *property)
{
    if (property == nullptr)
        return;
    const MemberGuard guard(*this);
    m_properties.push_back(property);
}

void ZANTONode::reserveProperties(size_t count)
{
    const MemberGuard guard(*this);
    m_properties.reserve(count);
}

void ZANTONode::insertChildNode(ZANTONode *child, int32_t index)
{
    if (child == nullptr || index < 0)
        return;
    const MemberGuard guard(*this);
    std::vector<ZANTONode *> &list = m_branch.own().children;
    if (static_cast<size_t>(index) > list.size())
        return;
    list.insert(list.begin() + index, static_cast<size_t>(index), child);
    passSystemType(child);
}

void ZANTONode::removeChildNode(int32_t index)
{
    if (index < 0 || static_cast<size_t>(index) >= children().size())
        return;
    const MemberGuard guard(*this);
    std::vector<ZANTONode *> &list = m_branch.own().children;
    list.erase(list.begin() + index);
}

ZANTONode *ZANTONode::childAt(int64_t position) const
{
    if (position < 0 || static_cast<uint64_t>(position) >= children().size())
        return nullptr;
    return children()[static_cast<size_t>(position)];
}

ZANTONode *ZANTONode::findParameter(std::string_view name) const
{
    for (ZANTONode *parameter : parameters()) {
        if (parameter->m_nodeName.get() == name)
            return parameter;
    }
    return nullptr;
}

void ZANTONode::setSysHandle(int32_t handle)
{
    m_sysHandle = handle;
    const MemberGuard guard(*this);
    for (ZANTONode *child : children())
        child->setSysHandle(handle);
    for (ZANTONode *parameter : parameters())
        parameter->setSysHandle(handle);
}

void ZANTONode::updateBdNameForAllChildren(const std::string &name)
{
    m_bdName = ZANTOSharedText(name);
    const MemberGuard guard(*this);
    for (ZANTONode *parameter : parameters())
        parameter->setBdName(name);
    for (ZANTONode *child : children()) {
        child->setBdName(name);
        for (ZANTONode *parameter : child->parameters())
            parameter->setBdName(name);
    }
}

ZANTONodeValue ZANTONode::ZANTOGetBoardInfoValue(ZANTONode *board, const std::string &item)
{
    const MemberGuard guard(*this);
    const time_t now = ZANTONow();
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
    const char *name = m_nodeName.get().c_str();
    char result[2] = {}; // one name, and room for a library that counts a separator as one
    switch (getNodeType()) {
    case nodeTypeBoardParam:
        return (subscribe ? VEXAHV_SubscribeBoardParams : VEXAHV_UnSubscribeBoardParams)(
            m_sysHandle, port, m_bdSlotNr, name, 1, result);
    case nodeTypeChannelParam:
        return (subscribe ? VEXAHV_SubscribeChannelParams : VEXAHV_UnSubscribeChannelParams)(
            m_sysHandle, port, m_bdSlotNr, m_chIdx, name, 1, result);
    case nodeTypeSystemProp:
        return (subscribe ? VEXAHV_SubscribeSystemParams
                          : VEXAHV_UnSubscribeSystemParams)(m_sysHandle, port, name, 1, result);
    default: return -1;
    }
}

int32_t ZANTONode::writeToMainframe(const variant &value)
{
    switch (getNodeType()) {
    case nodeTypeSystemProp:
        return ZANTOUtils::ZANTOSetSystemPropertyChanged(m_sysHandle, m_nodeName.get(),
                                                         m_parWrapperType, value);
    case nodeTypeBoardParam:
        return ZANTOUtils::ZANTOSetBoardParameterChanged(m_sysHandle, m_bdSlotNr, m_nodeName.get(),
                                                         m_parWrapperType, value);
    case nodeTypeChannelParam:
        return ZANTOUtils::ZANTOSetChannelParameterChanged(
            m_sysHandle, m_bdSlotNr, m_nodeName.get(), m_chIdx, m_parWrapperType, value);
    case nodeTypeSystemCmd:
        return ZANTOUtils::ZANTOExeSystemCommandChanged(m_sysHandle, m_nodeName.get());
    default:
        ZANTO_TRACE(0, "Error set node [%s] value - node type not found", m_nodeName.get().c_str());
        return -1;
    }
}

int32_t ZANTONode::setNodeEditedValue(const variant &value)
{
    const MemberGuard guard(*this);
    const int32_t result = writeToMainframe(value);
    if (result == 0) {
        setNodeValue(ZANTONodeValue(value, nodeValueQualityGood, ZANTONow()));
        return 0;
    }
    ZANTO_TRACE(2, "Error set node [%s] value - write fail with code = %d\n",
                m_nodeName.get().c_str(), result);
    m_value.setQuality(nodeValueQualityWriteFail);
    return result;
}

void ZANTONode::invalidate(time_t timestamp)
{
    const MemberGuard guard(*this);
    m_value.setQualityAndTime(nodeValueQualityBad, timestamp);
}

void ZANTONode::invalidateChildren(time_t timestamp)
{
    const MemberGuard guard(*this);
    for (ZANTONode *child : children()) {
        child->invalidate(timestamp);
        child->invalidateChildren(timestamp);
    }
}

void ZANTONode::ZANTOInvalidateAllChildren() { invalidateChildren(ZANTONow()); }

void ZANTONode::setConnectionStatus(connStatus status)
{
    const MemberGuard guard(*this);
    m_branch.own().status = status;
    if (status != connStatus_OK)
        ZANTOInvalidateAllChildren();
}

// ---- plain setters ----

template <typename T, typename Value> void ZANTONode::assign(T &member, const Value &value)
{
    const MemberGuard guard(*this);
    member = static_cast<T>(value);
}

template <typename T> void ZANTONode::assignOwn(T Branch::*member, const T &value)
{
    const MemberGuard guard(*this);
    m_branch.own().*member = value;
}

void ZANTONode::setNodeName(const std::string &name) { assign(m_nodeName, name); }
void ZANTONode::setNodeType(nodeType type) { assign(m_nodeType, type); }
void ZANTONode::setAccessRights(nodeAccessRights rights) { assign(m_nodeAccessRight, rights); }
void ZANTONode::setDataType(nodeDataType dataType) { assign(m_nodeDataType, dataType); }

void ZANTONode::setNodeValue(const ZANTONodeValue &value)
{
    ZANTONodeValue copy = value;
    m_value.makeRoomFor(copy);
    const MemberGuard guard(*this);
    m_value.set(std::move(copy));
}

void ZANTONode::setSystemType(int32_t systemType) { assign(m_systemType, systemType); }

void ZANTONode::setInitParam(const std::string &initParam)
{
    const MemberGuard guard(*this);
    if (getInitParam().empty())
        m_branch.own().initParam = initParam;
}

void ZANTONode::setSysSocket(int32_t socket) { assignOwn(&Branch::sysSocket, socket); }
void ZANTONode::setSlotCount(uint16_t count) { assignOwn(&Branch::slotCount, count); }
void ZANTONode::setBdSlotNr(uint16_t slot) { assign(m_bdSlotNr, slot); }
void ZANTONode::setChIdx(uint16_t channel) { assign(m_chIdx, channel); }
void ZANTONode::setParWrapperType(uint32_t type) { assign(m_parWrapperType, type); }
void ZANTONode::setSysName(const std::string &name) { assign(m_sysName, name); }
void ZANTONode::setBdName(const std::string &name) { assign(m_bdName, name); }
void ZANTONode::setChName(const std::string &name) { assign(m_chName, name); }

void ZANTONode::setPlaceNames(ZANTOSharedText sysName, ZANTOSharedText bdName,
                              ZANTOSharedText chName)
{
    const MemberGuard guard(*this);
    m_sysName = sysName;
    m_bdName = bdName;
    m_chName = chName;
}

void ZANTONode::setExpUnit(const std::string &unit) { assign(m_nodeExpUnit, unit); }
void ZANTONode::setNodeDecimals(int32_t decimals) { assign(m_nodeDecimals, decimals); }
void ZANTONode::setBdChCount(uint16_t count) { assignOwn(&Branch::bdChCount, count); }
void ZANTONode::setBdModel(const std::string &model) { assignOwn(&Branch::bdModel, model); }
void ZANTONode::setBdDescr(const std::string &text) { assignOwn(&Branch::bdDescr, text); }
void ZANTONode::setBdSerNr(uint16_t serialNumber) { assignOwn(&Branch::bdSerNr, serialNumber); }
void ZANTONode::setBdFwRelMin(const std::string &text) { assignOwn(&Branch::bdFwRelMin, text); }
void ZANTONode::setBdFwRelMax(const std::string &text) { assignOwn(&Branch::bdFwRelMax, text); }
void ZANTONode::setMaxVal(int32_t value) { assign(m_maxValue, value); }
void ZANTONode::setMinVal(float value) { assign(m_minValue, value); }
void ZANTONode::setOnString(const std::string &text) { assign(m_onString, text); }
void ZANTONode::setOffString(const std::string &text) { assign(m_offString, text); }
