// Shared by the tests of what events do to the tree.
#pragma once

#include "fileSupport.h"

#include "ZANTOAio.h"
#include "ZANTOBio.h"
#include "ZANTOMBBio.h"
#include "ZANTOMBBioDirect.h"
#include "ZANTOStringio.h"
#include "ZANTOeventsthread.h"
#include "ZANTOlife.h"

#include <iterator>
#include <sys/socket.h>
#include <unistd.h>

using Batch = std::vector<VEXAHVEventData_t>;

inline FakeBytes integer(int32_t value) { return FakeBytes::of(value); }

// The lists of which a scan has been requested since construction, in the order of `names`.
class RequestedScans {
public:
    RequestedScans()
    {
        for (std::size_t i = 0; i < std::size(lists); ++i)
            m_before[i] = lists[i]->asked();
    }

    Lines names() const
    {
        Lines requested;
        for (std::size_t i = 0; i < std::size(lists); ++i) {
            for (uint32_t n = lists[i]->asked() - m_before[i]; n > 0; --n)
                requested.push_back(listNames[i]);
        }
        return requested;
    }

private:
    static constexpr ZANTOScanList *lists[] = {&ioscanpvt_ai, &ioscanpvt_bi, &ioscanpvt_mbbi,
                                               &ioscanpvt_mbbiDirect, &ioscanpvt_stringin};
    static constexpr const char *listNames[] = {"ai", "bi", "mbbi", "mbbiDirect", "stringin"};
    uint32_t m_before[std::size(lists)] = {};
};

// A tree of two channels on a board in slot 1 (slot 0 is empty) and an event connection, on top
// of the fixture that a test needs anyhow.
template <typename Base> class EventThreadOn : public Base {
protected:
    void SetUp() override
    {
        Base::SetUp();
        if (this->IsSkipped())
            return;
        ZANTOOpenTree();
        plantTree();
    }

    void TearDown() override
    {
        closeSockets();
        Base::TearDown();
    }

    void plantTree()
    {
        systemNode = bareNode("CRATE", nodeTypeSystemItem);
        systemNode->addChildNode(bareNode("", nodeTypeEmptyNode));
        m_board = bareNode("Board01", nodeTypeBoardItem);
        systemNode->addChildNode(m_board);
        for (const char *name : {"Chan000", "Chan001"})
            m_board->addChildNode(bareNode(name, nodeTypeChannelItem));
        plantSocket();
    }

    void plantSocket()
    {
        closeSockets();
        int ends[2] = {-1, -1};
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
        m_socket = ends[0];
        m_peer = ends[1];
        systemNode->setSysSocket(m_socket);
    }

    void closeSockets()
    {
        for (int *end : {&m_socket, &m_peer}) {
            if (*end >= 0)
                close(*end);
            *end = -1;
        }
    }

    static ZANTONode *addTo(ZANTONode *holder, const std::string &name, nodeType type,
                            uint32_t code, nodeDataType dataType)
    {
        NodePtr node = makeItem(name, type, code, nodeAccessReadWrite);
        node->setDataType(dataType);
        holder->addParameter(node.get());
        return node.release();
    }

    ZANTONode *addChannelParam(const std::string &name, uint32_t code,
                               nodeDataType dataType = nodeDataTypeInt, int channel = 0)
    {
        return addTo(m_board->childAt(channel), name, nodeTypeChannelParam, code, dataType);
    }

    ZANTONode *addSystemProp(const std::string &name, uint32_t code,
                             nodeDataType dataType = nodeDataTypeInt)
    {
        return addTo(systemNode, name, nodeTypeSystemProp, code, dataType);
    }

    // The thread's body on this thread: the fake ends it once the queue is empty. It closes the
    // socket.
    void runThread()
    {
        m_socket = -1;
        ZANTOEvents_Thread(nullptr);
    }

    void deliver(const std::vector<Batch> &batches)
    {
        for (const Batch &batch : batches)
            this->fake.queueEvents(batch);
        runThread();
    }

    Lines scansOf(const Batch &batch)
    {
        const RequestedScans requested;
        deliver({batch});
        return requested.names();
    }

    static VEXAHVEventData_t channelEvent(const std::string &item, const FakeBytes &value,
                                          int32_t channel = 0)
    {
        return FakeAccessLibrary::event(1, channel, item, value);
    }
    static VEXAHVEventData_t systemEvent(const std::string &item, const FakeBytes &value)
    {
        return FakeAccessLibrary::event(-1, -1, item, value);
    }

    static VEXAHVEventData_t keepAlive()
    {
        return FakeAccessLibrary::event(-1, -1, "", integer(0), KEEPALIVE);
    }

    ZANTONode *m_board = nullptr;
    int m_socket = -1;
    int m_peer = -1;
};

using EventThread = EventThreadOn<ZantoTest>;

inline int32_t intOf(ZANTONode *node) { return node->getNodeValue().ZANTOGetValue().toInt(); }
