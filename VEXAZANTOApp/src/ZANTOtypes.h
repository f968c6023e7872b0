// Enumerations of the node model and the process-wide settings that every module reads.
#pragma once

#include <atomic>
#include <cstdint>

class ZANTONode;

// Kind of a tree node; says which members of ZANTONode are meaningful.
enum nodeType {
    nodeTypeSystemItem = 0,
    nodeTypeSystemParam = 1,
    nodeTypeSystemProp = 2,
    nodeTypeBoardItem = 3,
    nodeTypeBoardParam = 4,
    nodeTypeChannelItem = 5,
    nodeTypeChannelParam = 6,
    nodeTypeGlobalSetting = 7,
    nodeTypeEmptyNode = 8,
    nodeTypeSystemCmd = 9
};

// How a node's variant is read; the variant itself carries no type.
enum nodeDataType {
    nodeDataTypeInt = 0,
    nodeDataTypeShort = 1,
    nodeDataTypeLong = 2,
    nodeDataTypeUInt = 3,
    nodeDataTypeUShort = 4,
    nodeDataTypeULong = 5,
    nodeDataTypeFloat = 6,
    nodeDataTypeString = 7,
    nodeDataTypeBool = 8,
    nodeDataTypeEnum = 9
};

enum nodeAccessRights {
    nodeAccessRead = 0,
    nodeAccessWrite = 1,
    nodeAccessReadWrite = 2,
    nodeAccessNone = 3
};

enum nodeValueQuality {
    nodeValueQualityGood = 0,
    nodeValueQualityBad = 1,
    nodeValueQualityUninitialized = 2,
    nodeValueQualityWriteFail = 3,
    nodeValueQualityUnknown = 4
};

enum connStatus { connStatus_PENDING = 0, connStatus_OK = 1, connStatus_KO = 2 };

// Debug level from the command line, 0 (silent) to 10 (everything). Atomic because the
// notification server already runs when the command line is read.
extern std::atomic<int16_t> DEBUG;

// TCP port on which the mainframe opens its event connection; only the low 16 bits count.
// The notification server raises it while it is taken and stores the port really bound.
extern std::atomic<int32_t> tcpPort;

// Pointer to the root of the tree, with a generation that changes at every assignment, so
// that a node found earlier can be told to belong to a tree that is gone, even if a new root
// has the old one's address. Owns nothing. Any thread may read it.
class ZANTOTreeRoot {
public:
    ZANTOTreeRoot &operator=(ZANTONode *root) noexcept
    {
        m_root.store(root);
        m_generation.fetch_add(1);
        return *this;
    }
    operator ZANTONode *() const noexcept { return m_root.load(); }
    ZANTONode *operator->() const noexcept { return m_root.load(); }

    // Grows with each assignment; 0 before the first.
    uint32_t generation() const noexcept { return m_generation.load(); }

private:
    std::atomic<ZANTONode *> m_root{nullptr};
    std::atomic<uint32_t> m_generation{0};
};

// Root of the tree. Created by createSystemTree, destroyed by Shutdown.
extern ZANTOTreeRoot systemNode;
