/// The one class of which the in-memory image of the crate is made.
#ifndef ZANTONODE_H
#define ZANTONODE_H

#include "ZANTOnodeproperty.h"
#include "ZANTOnodevalue.h"
#include "ZANTOtypes.h"

#include <atomic>
#include <cstdint>
#include <pthread.h>
#include <string>
#include <vector>

/// System, board, channel, parameter, property or command of the crate: the type says which.
///
/// Two recursive locks. m_tcpMutex (lockSem, unlockSem) serialises one record access or one
/// event update of the node; m_serializer guards members and lists and is taken by every
/// setter. Order: m_tcpMutex before m_serializer, a parent's before a child's. Getters take no
/// lock: the structure is complete before other threads see it, and the value, the only thing
/// that changes later, is read and written by these threads under lockSem.
///
/// An event never waits for either: what it cannot apply at once it leaves to whoever holds the
/// node (updateValue).
///
/// Owns its children, parameters and properties, except when it is a nodeTypeEmptyNode, which
/// may gather pointers to nodes owned elsewhere.
class ZANTONode {
public:
    ZANTONode();
    ~ZANTONode();
    ZANTONode(const ZANTONode &) = delete;
    ZANTONode &operator=(const ZANTONode &) = delete;

    /// The five last arguments are stored for a nodeTypeSystemItem only. Takes no lock.
    void ZANTOPrepareNode(const std::string &name, nodeType type, int32_t systemType,
                          int32_t connType, const std::string &initParam,
                          const std::string &username, const std::string &password);

    // Lists. A null pointer is ignored. Adding a node passes this node's system type on to it,
    // unless this node is a nodeTypeEmptyNode.
    void addChildNode(ZANTONode *child);
    void addParameter(ZANTONode *parameter);
    void addProperty(ZANTONodeProperty *property);
    /// Inserts `index` copies of the pointer at position `index`; an index outside the list
    /// inserts nothing.
    void insertChildNode(ZANTONode *child, int32_t index);
    /// Does not delete the removed node. An index outside the list changes nothing.
    void removeChildNode(int32_t index);
    std::vector<ZANTONode *> getChildren() const { return m_children; }
    std::vector<ZANTONode *> getParameters() const { return m_parameters; }
    std::vector<ZANTONodeProperty *> getProperties() const { return m_properties; }

    /// The child at this position, or null; counts without a copy of the list.
    ZANTONode *childAt(int64_t position) const;
    /// The first parameter of exactly this name, or null.
    ZANTONode *findParameter(const std::string &name) const;

    /// Reaches the node's parameters, its children and the children's parameters.
    void updateBdNameForAllChildren(const std::string &name);
    /// "ChCount", "SerNum", "BdModel", "BdDescr" or "FmwRel" of `board`; any other item gives 0
    /// with quality Good, a null board 0 with quality Bad.
    ZANTONodeValue ZANTOGetBoardInfoValue(ZANTONode *board, const std::string &item);

    // Locks.
    void initSem();
    void destroySem();
    /// Whoever has the lock sees every value that updateValue was given before.
    void lockSem();
    void unlockSem();

    /// A number that stands for no connection.
    static constexpr uint64_t noConnection = 0;
    /// Gives the node the value that an event brought, unless it has one of a later connection;
    /// a value of no connection is always taken. Does not wait for a node that is in use: then
    /// the value is in place when its holder lets go (only without memory to keep it that long
    /// does the call wait).
    void updateValue(ZANTONodeValue value, uint64_t connection);

    // Mainframe. The calls block as long as the access library does, holding m_serializer.
    /// The library's result, or -1 for a node that cannot be watched.
    int32_t ZANTOSubscriptionForNode(bool subscribe);
    int32_t ZANTOSubscribeNode() { return ZANTOSubscriptionForNode(true); }
    int32_t ZANTOUnSubscribeNode() { return ZANTOSubscriptionForNode(false); }
    /// Writes `value` to the mainframe: 0 and the node takes the value, or the library's error
    /// code, or -1 for a node that cannot be written; a failure leaves the value and marks it
    /// nodeValueQualityWriteFail. A command node executes its command whatever the value.
    int32_t setNodeEditedValue(const variant &value);
    /// Marks the values of all children, and theirs, as bad with one common timestamp.
    void ZANTOInvalidateAllChildren();
    /// Anything but connStatus_OK invalidates all children.
    void setConnectionStatus(connStatus status);
    connStatus getConnectionStatus() const { return m_connStatus; }

    std::string getNodeName() const { return m_nodeName; }
    void setNodeName(const std::string &name);
    nodeType getNodeType() const { return m_nodeType; }
    void setNodeType(nodeType type);
    nodeAccessRights getAccessRights() const { return m_nodeAccessRight; }
    void setAccessRights(nodeAccessRights rights);
    nodeDataType getDataType() const { return m_nodeDataType; }
    void setDataType(nodeDataType dataType);
    ZANTONodeValue getNodeValue() const { return m_nodeValue; }
    /// Without quality and time.
    variant getVariant() const { return m_nodeValue.ZANTOGetValue(); }
    void setNodeValue(const ZANTONodeValue &value);
    int32_t getSysHandle() const { return m_sysHandle; }
    /// Passed on to children and parameters, recursively.
    void setSysHandle(int32_t handle);
    int32_t getSystemType() const { return m_systemType; }
    void setSystemType(int32_t systemType);
    int32_t getSystemConnType() const { return m_systemConnType; }
    std::string getInitParam() const { return m_initParam; }
    /// The first value stays.
    void setInitParam(const std::string &initParam);
    std::string getUsername() const { return m_username; }
    std::string getPassword() const { return m_password; }
    int32_t getSysSocket() const { return m_sysSocket; }
    void setSysSocket(int32_t socket);
    uint16_t getSlotCount() const { return m_slotCount; }
    void setSlotCount(uint16_t count);
    uint16_t getBdSlotNr() const { return m_bdSlotNr; }
    void setBdSlotNr(uint16_t slot);
    uint16_t getChIdx() const { return m_chIdx; }
    void setChIdx(uint16_t channel);
    uint32_t getParWrapperType() const { return m_parWrapperType; }
    void setParWrapperType(uint32_t type);
    std::string getSysName() const { return m_sysName; }
    void setSysName(const std::string &name);
    std::string getBdName() const { return m_bdName; }
    void setBdName(const std::string &name);
    std::string getChName() const { return m_chName; }
    void setChName(const std::string &name);
    std::string getExpUnit() const { return m_nodeExpUnit; }
    void setExpUnit(const std::string &unit);
    int32_t getNodeDecimals() const { return m_nodeDecimals; }
    void setNodeDecimals(int32_t decimals);
    uint16_t getBdChCount() const { return m_bdChCount; }
    void setBdChCount(uint16_t count);
    std::string getBdModel() const { return m_bdModel; }
    void setBdModel(const std::string &model);
    std::string getBdDescr() const { return m_bdDescr; }
    void setBdDescr(const std::string &description);
    uint16_t getBdSerNr() const { return m_bdSerNr; }
    void setBdSerNr(uint16_t serialNumber);
    std::string getBdFwRelMin() const { return m_bdFwRelMin; }
    void setBdFwRelMin(const std::string &release);
    std::string getBdFwRelMax() const { return m_bdFwRelMax; }
    void setBdFwRelMax(const std::string &release);
    float getMaxVal() const { return m_maxValue; }
    /// A maximum is always whole.
    void setMaxVal(int32_t value);
    float getMinVal() const { return m_minValue; }
    void setMinVal(float value);
    std::string getOnString() const { return m_onString; }
    void setOnString(const std::string &text);
    std::string getOffString() const { return m_offString; }
    void setOffString(const std::string &text);

    /// lockSem for a scope.
    class SemGuard {
    public:
        explicit SemGuard(ZANTONode &node) : m_node(node) { m_node.lockSem(); }
        ~SemGuard() { m_node.unlockSem(); }
        SemGuard(const SemGuard &) = delete;
        SemGuard &operator=(const SemGuard &) = delete;

    private:
        ZANTONode &m_node;
    };

private:
    /// m_serializer for a scope.
    class MemberGuard {
    public:
        explicit MemberGuard(ZANTONode &node) : m_node(node) { m_node.lockMembers(); }
        ~MemberGuard() { m_node.unlockMembers(); }
        MemberGuard(const MemberGuard &) = delete;
        MemberGuard &operator=(const MemberGuard &) = delete;

    private:
        ZANTONode &m_node;
    };

    /// A value that an event left for the holder of the node.
    struct Pending {
        ZANTONodeValue value;
        uint64_t connection = noConnection;
    };

    void lockMembers();
    void unlockMembers();
    bool applyAtOnce(ZANTONodeValue &value, uint64_t connection);
    void applyPending();
    void take(ZANTONodeValue &&value, uint64_t connection) noexcept;
    bool leavePending(ZANTONodeValue &value, uint64_t connection);
    void putPending(ZANTONodeValue &value, uint64_t connection);
    bool anyPending();
    bool tryToApply();
    void settle();

    template <typename T> void assign(T &member, const T &value);
    void adopt(ZANTONode *node, std::vector<ZANTONode *> &list);
    void passSystemType(ZANTONode *node);
    int32_t writeToMainframe(const variant &value);
    void invalidate(time_t timestamp);
    void invalidateChildren(time_t timestamp);

    std::vector<ZANTONode *> m_children;
    std::vector<ZANTONode *> m_parameters;
    std::vector<ZANTONodeProperty *> m_properties;
    std::string m_nodeName;
    nodeType m_nodeType = nodeTypeEmptyNode;
    nodeAccessRights m_nodeAccessRight = nodeAccessNone;
    nodeDataType m_nodeDataType = nodeDataTypeInt;
    int32_t m_sysHandle = -1;
    int32_t m_systemType = -1;
    int32_t m_systemConnType = -1;
    std::string m_initParam;
    std::string m_username;
    std::string m_password;
    int32_t m_sysSocket = -1;
    uint16_t m_slotCount = 0;
    connStatus m_connStatus = connStatus_PENDING;
    uint16_t m_bdChCount = 0;
    std::string m_bdModel;
    std::string m_bdDescr;
    uint16_t m_bdSerNr = 0;
    std::string m_bdFwRelMin;
    std::string m_bdFwRelMax;
    uint16_t m_bdSlotNr = 0;
    uint16_t m_chIdx = 0;
    std::string m_sysName;
    uint32_t m_parWrapperType = 0;
    std::string m_bdName;
    std::string m_chName;
    std::string m_nodeExpUnit;
    int32_t m_nodeDecimals = -1;
    float m_maxValue = -1.0F;
    float m_minValue = -1.0F;
    std::string m_onString;
    std::string m_offString;

    // What every read and every event touches lies side by side.
    pthread_mutex_t m_tcpMutex;
    pthread_mutex_t m_serializer;
    // How often the holder of each lock has taken it; guarded by that lock.
    uint16_t m_tcpDepth = 0;
    uint16_t m_serializerDepth = 0;
    // Which of the two are initialised: initSem and destroySem may be called repeatedly.
    bool m_tcpMutexLive = false;
    bool m_serializerLive = false;
    std::atomic<Pending *> m_pending{nullptr}; // owned; put by events, taken under both locks
    uint64_t m_connection = noConnection; // of the last value that one brought
    ZANTONodeValue m_nodeValue;
};

#endif
