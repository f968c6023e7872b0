// The one class of which the in-memory image of the crate is made.
#pragma once

#include "ZANTOnodelock.h"
#include "ZANTOnodeproperty.h"
#include "ZANTOnodevalue.h"
#include "ZANTOsharedtext.h"
#include "ZANTOtypes.h"
#include "ZANTOvaluecell.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// System, board, channel, parameter, property or command of the crate: the type says which.
//
// Two recursive locks. m_tcpMutex (lockSem, unlockSem) serialises one record access or one
// event update of the node; m_serializer guards members and lists and is taken by every
// setter. Order: m_tcpMutex before m_serializer, a parent's before a child's. Getters take no
// lock: the structure is complete before other threads see it, and the value, the only thing
// that changes later, is read and written by these threads under lockSem, or by readNumber and
// readText, which take no lock while nobody else has it.
//
// An event never waits for either: what it cannot apply at once it leaves to whoever holds the
// node (updateValue).
//
// There are tens of thousands of parameters and a few hundred other nodes: what a record and an
// event touch comes first, names are shared, and what parameters never have lies elsewhere.
//
// Owns its children, parameters and properties, except when it is a nodeTypeEmptyNode, which
// may gather pointers to nodes owned elsewhere.
class ZANTONode {
public:
    ZANTONode();
    ~ZANTONode();
    ZANTONode(const ZANTONode &) = delete;
    ZANTONode &operator=(const ZANTONode &) = delete;

    // The five last arguments are stored for a nodeTypeSystemItem only. Takes no lock.
    void ZANTOPrepareNode(const std::string &name, nodeType type, int32_t systemType,
                          int32_t connType, const std::string &initParam,
                          const std::string &username, const std::string &password);

    // Lists. A null pointer is ignored. Adding a node passes this node's system type on to it,
    // unless this node is a nodeTypeEmptyNode.
    void addChildNode(ZANTONode *child);
    void addParameter(ZANTONode *parameter);
    void addProperty(ZANTONodeProperty *property);
    // Takes memory for as many at once.
    void reserveProperties(size_t count);
    // Inserts `index` copies of the pointer at position `index`; an index outside the list
    // inserts nothing.
    void insertChildNode(ZANTONode *child, int32_t index);
    // Does not delete the removed node. An index outside the list changes nothing.
    void removeChildNode(int32_t index);
    std::vector<ZANTONode *> getChildren() const { return children(); }
    std::vector<ZANTONode *> getParameters() const { return parameters(); }
    std::vector<ZANTONodeProperty *> getProperties() const { return m_properties; }

    // The lists themselves.
    const std::vector<ZANTONode *> &children() const { return m_branch->children; }
    const std::vector<ZANTONode *> &parameters() const { return m_branch->parameters; }
    const std::vector<ZANTONodeProperty *> &properties() const { return m_properties; }

    // The child at this position, or null.
    ZANTONode *childAt(int64_t position) const;
    // The first parameter of exactly this name, or null.
    ZANTONode *findParameter(std::string_view name) const;

    // Reaches the node's parameters, its children and the children's parameters.
    void updateBdNameForAllChildren(const std::string &name);
    // "ChCount", "SerNum", "BdModel", "BdDescr" or "FmwRel" of `board`; any other item gives 0
    // with quality Good, a null board 0 with quality Bad.
    ZANTONodeValue ZANTOGetBoardInfoValue(ZANTONode *board, const std::string &item);

    // Locks.
    // These two have nothing to do: the locks are ready from the start and hold no resource.
    void initSem() {}
    void destroySem() {}
    // Whoever has the lock sees every value that updateValue was given before.
    void lockSem();
    void unlockSem();

    // Has the processor fetch what a read and an event of the node touch; null is allowed.
    static void prefetch(const ZANTONode *node)
    {
        constexpr size_t touched = 64; // bytes, on one cache line or two
        if (node == nullptr)
            return;
        __builtin_prefetch(node);
        __builtin_prefetch(reinterpret_cast<const char *>(node) + touched - 1);
    }

    // What a record shows of the value, as it would be read under lockSem: no lock is taken while
    // nobody has the node, else the call waits. Leaves the text of `number` alone.
    void readNumber(variant &number)
    {
        if (!m_locks.isReadable() || !m_value.tryNumber(number))
            copyHeld([this, &number] { return m_value.tryNumber(number); });
    }
    // The first 39 characters, ended by a NUL unless that is the 40th byte.
    void readText(char (&shown)[ZANTOValueCell::shownSize]);

    // A number that stands for no connection.
    static constexpr uint64_t noConnection = 0;
    // Gives the node the value that an event brought, unless it has one of a later connection;
    // a value of no connection is always taken. Does not wait for a node that is in use: then
    // the value is in place when its holder lets go (only without memory to keep it that long
    // does the call wait).
    void updateValue(ZANTONodeValue value, uint64_t connection);

    // Mainframe. The calls block as long as the access library does, holding m_serializer.
    // The library's result, or -1 for a node that cannot be watched.
    int32_t ZANTOSubscriptionForNode(bool subscribe);
    int32_t ZANTOSubscribeNode() { return ZANTOSubscriptionForNode(true); }
    int32_t ZANTOUnSubscribeNode() { return ZANTOSubscriptionForNode(false); }
    // Writes `value` to the mainframe: 0 and the node takes the value, or the library's error
    // code, or -1 for a node that cannot be written; a failure leaves the value and marks it
    // nodeValueQualityWriteFail. A command node executes its command whatever the value.
    int32_t setNodeEditedValue(const variant &value);
    // Marks the values of all children, and theirs, as bad with one common timestamp.
    void ZANTOInvalidateAllChildren();
    // Anything but connStatus_OK invalidates all children.
    void setConnectionStatus(connStatus status);
    connStatus getConnectionStatus() const { return m_branch->status; }

    // The same texts without a copy, and as parameters share them.
    ZANTOSharedText nodeName() const { return m_nodeName; }
    ZANTOSharedText sysName() const { return m_sysName; }
    ZANTOSharedText expUnit() const { return m_nodeExpUnit; }
    ZANTOSharedText onString() const { return m_onString; }
    ZANTOSharedText offString() const { return m_offString; }
    // Of the system, the board and the channel that the node belongs to; an empty one is none.
    void setPlaceNames(ZANTOSharedText sysName, ZANTOSharedText bdName, ZANTOSharedText chName);

    std::string getNodeName() const { return m_nodeName.get(); }
    void setNodeName(const std::string &name);
    nodeType getNodeType() const { return static_cast<nodeType>(m_nodeType); }
    void setNodeType(nodeType type);
    nodeAccessRights getAccessRights() const
    {
        return static_cast<nodeAccessRights>(m_nodeAccessRight);
    }
    void setAccessRights(nodeAccessRights rights);
    nodeDataType getDataType() const { return static_cast<nodeDataType>(m_nodeDataType); }
    void setDataType(nodeDataType dataType);
    ZANTONodeValue getNodeValue() const { return m_value.get(); }
    void setNodeValue(const ZANTONodeValue &value);
    int32_t getSysHandle() const { return m_sysHandle; }
    // Passed on to children and parameters, recursively.
    void setSysHandle(int32_t handle);
    int32_t getSystemType() const { return m_systemType; }
    void setSystemType(int32_t systemType);
    int32_t getSystemConnType() const { return m_branch->systemConnType; }
    std::string getInitParam() const { return m_branch->initParam; }
    // The first value stays.
    void setInitParam(const std::string &initParam);
    std::string getUsername() const { return m_branch->username; }
    std::string getPassword() const { return m_branch->password; }
    int32_t getSysSocket() const { return m_branch->sysSocket; }
    void setSysSocket(int32_t socket);
    uint16_t getSlotCount() const { return m_branch->slotCount; }
    void setSlotCount(uint16_t count);
    uint16_t getBdSlotNr() const { return m_bdSlotNr; }
    void setBdSlotNr(uint16_t slot);
    uint16_t getChIdx() const { return m_chIdx; }
    void setChIdx(uint16_t channel);
    uint32_t getParWrapperType() const { return m_parWrapperType; }
    void setParWrapperType(uint32_t type);
    std::string getSysName() const { return m_sysName.get(); }
    void setSysName(const std::string &name);
    std::string getBdName() const { return m_bdName.get(); }
    void setBdName(const std::string &name);
    std::string getChName() const { return m_chName.get(); }
    void setChName(const std::string &name);
    std::string getExpUnit() const { return m_nodeExpUnit.get(); }
    void setExpUnit(const std::string &unit);
    int32_t getNodeDecimals() const { return m_nodeDecimals; }
    void setNodeDecimals(int32_t decimals);
    uint16_t getBdChCount() const { return m_branch->bdChCount; }
    void setBdChCount(uint16_t count);
    std::string getBdModel() const { return m_branch->bdModel; }
    void setBdModel(const std::string &model);
    std::string getBdDescr() const { return m_branch->bdDescr; }
    void setBdDescr(const std::string &description);
    uint16_t getBdSerNr() const { return m_branch->bdSerNr; }
    void setBdSerNr(uint16_t serialNumber);
    std::string getBdFwRelMin() const { return m_branch->bdFwRelMin; }
    void setBdFwRelMin(const std::string &release);
    std::string getBdFwRelMax() const { return m_branch->bdFwRelMax; }
    void setBdFwRelMax(const std::string &release);
    float getMaxVal() const { return m_maxValue; }
    // A maximum is always whole.
    void setMaxVal(int32_t value);
    float getMinVal() const { return m_minValue; }
    void setMinVal(float value);
    std::string getOnString() const { return m_onString.get(); }
    void setOnString(const std::string &text);
    std::string getOffString() const { return m_offString.get(); }
    void setOffString(const std::string &text);

private:
    void lockMembers();
    void unlockMembers();

    template <void (ZANTONode::*lock)(), void (ZANTONode::*unlock)()> class Guard {
    public:
        explicit Guard(ZANTONode &node) : m_node(node) { (m_node.*lock)(); }
        ~Guard() { (m_node.*unlock)(); }
        Guard(const Guard &) = delete;
        Guard &operator=(const Guard &) = delete;

    private:
        ZANTONode &m_node;
    };

public:
    // lockSem for a scope.
    using SemGuard = Guard<&ZANTONode::lockSem, &ZANTONode::unlockSem>;

private:
    // m_serializer for a scope.
    using MemberGuard = Guard<&ZANTONode::lockMembers, &ZANTONode::unlockMembers>;

    // What systems, boards and channels have and parameters do not.
    struct Branch {
        std::vector<ZANTONode *> children;
        std::vector<ZANTONode *> parameters;
        std::string initParam;
        std::string username;
        std::string password;
        std::string bdModel;
        std::string bdDescr;
        std::string bdFwRelMin;
        std::string bdFwRelMax;
        int32_t systemConnType = -1;
        int32_t sysSocket = -1;
        connStatus status = connStatus_PENDING;
        uint16_t slotCount = 0;
        uint16_t bdChCount = 0;
        uint16_t bdSerNr = 0;
    };

    // A branch of a node's own, made when it is first written to; until then all nodes read one
    // that is as new.
    class BranchOwner {
    public:
        const Branch *operator->() const noexcept
        {
            return m_own != nullptr ? m_own.get() : &untouched();
        }
        Branch &own();
        // Null: the node has none of its own.
        Branch *get() noexcept { return m_own.get(); }

    private:
        static const Branch &untouched() noexcept;

        std::unique_ptr<Branch> m_own;
    };

    void unlock(ZANTONodeLock::Part part);
    void settle();
    bool applyAtOnce(ZANTONodeValue &value, uint64_t connection);
    void applyPending() noexcept;
    void take(ZANTONodeValue &&value, uint64_t connection) noexcept;
    bool leavePending(ZANTONodeValue &value, uint64_t connection);
    void forgetPending() noexcept;
    template <typename TryCopy> void copyHeld(const TryCopy &tryCopy);

    template <typename T, typename Value> void assign(T &member, const Value &value);
    template <typename T> void assignOwn(T Branch::*member, const T &value);
    void adopt(ZANTONode *node, std::vector<ZANTONode *> Branch::*list);
    void passSystemType(ZANTONode *node);
    int32_t writeToMainframe(const variant &value);
    void invalidate(time_t timestamp);
    void invalidateChildren(time_t timestamp);

    static constexpr auto m_tcpMutex = ZANTONodeLock::record;
    static constexpr auto m_serializer = ZANTONodeLock::members;

    // What a read and an event touch: a cache line.
    ZANTONodeLock m_locks;
    ZANTOValueCell m_value;
    uint64_t m_connection = noConnection; // of the last value that one brought

    uint8_t m_nodeDataType = nodeDataTypeInt;
    uint8_t m_nodeType = nodeTypeEmptyNode;
    uint8_t m_nodeAccessRight = nodeAccessNone;
    uint32_t m_parWrapperType = 0;
    int32_t m_sysHandle = -1;
    int32_t m_systemType = -1;
    uint16_t m_bdSlotNr = 0;
    uint16_t m_chIdx = 0;
    int32_t m_nodeDecimals = -1;
    float m_maxValue = -1.0F;
    float m_minValue = -1.0F;
    ZANTOSharedText m_nodeName;
    ZANTOSharedText m_sysName;
    ZANTOSharedText m_bdName;
    ZANTOSharedText m_chName;
    ZANTOSharedText m_nodeExpUnit;
    ZANTOSharedText m_onString;
    ZANTOSharedText m_offString;
    std::vector<ZANTONodeProperty *> m_properties;
    BranchOwner m_branch;
};

// Once the record lock is there only a setter can change the value, and that is waited for.
template <typename TryCopy> void ZANTONode::copyHeld(const TryCopy &tryCopy)
{
    const SemGuard record(*this);
    if (tryCopy())
        return;
    const MemberGuard members(*this);
    tryCopy();
}
