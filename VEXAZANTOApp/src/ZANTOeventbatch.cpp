#include "ZANTOeventbatch.h"

#include "ZANTOAio.h"
#include "ZANTOBio.h"
#include "ZANTOMBBioDirect.h"
#include "ZANTOStringio.h"
#include "ZANTOchangedrecords.h"
#include "ZANTOeventconnections.h"
#include "ZANTOeventupdate.h"
#include "ZANTOfile.h"
#include "ZANTOhealth.h"
#include "ZANTOlookup.h"
#include "ZANTOmessages.h"
#include "ZANTOnode.h"
#include "ZANTOscanlist.h"
#include "ZANTOtreeuse.h"
#include "ZANTOtypes.h"
#include "vexahvwrapper.h"

#include <array>
#include <cstring>
#include <exception>
#include <string_view>

namespace {

// A batch of events that the access library allocated.
class EventBatch {
public:
    EventBatch() = default;
    ~EventBatch()
    {
        if (m_events != nullptr)
            VEXAHV_FreeEventData(&m_events);
    }
    EventBatch(const EventBatch &) = delete;
    EventBatch &operator=(const EventBatch &) = delete;

    // Blocks until a batch has arrived; the library's result. What a failed call leaves behind
    // is neither read nor freed.
    int32_t receive(int32_t socket)
    {
        VEXAHVSystemStatus_t status;
        VEXAHVEventData_t *events = nullptr;
        uint32_t count = 0;
        const int32_t result = VEXAHV_GetEventData(socket, &status, &events, &count);
        if (result == 0) {
            m_events = events;
            m_count = count;
        }
        return result;
    }
    uint32_t size() const { return m_events != nullptr ? m_count : 0; }
    const VEXAHVEventData_t &operator[](uint32_t position) const { return m_events[position]; }

private:
    VEXAHVEventData_t *m_events = nullptr;
    uint32_t m_count = 0;
};

void raiseLiveInsertionFlag()
{
    ZANTO_TRACE(0, "\nLive insertion signal\n");
    ZANTOPresentCounts.inserted = true;
    if (!ZANTOWriteLiveInsertionFlag("1\n"))
        ZANTO_TRACE(0, "\nUnable to open file for live insertion event\n");
}

// The parameter type of the node that was updated, or -1. What memory does not suffice for is
// one lost value and not the end of the server.
int32_t applyParameter(const VEXAHVEventData_t &event, uint64_t connection,
                       ZANTOEventTarget &target)
{
    // The slot of the name may lack its NUL.
    char name[VEXAHV_ITEM_ID_SIZE + 1] = {};
    std::memcpy(name, event.ItemID, VEXAHV_ITEM_ID_SIZE);
    try {
        return ZANTOUpdateItem(event.BoardIndex, event.ChannelIndex, name, event.Value, connection,
                               &target);
    } catch (const std::exception &error) {
        ZANTO_TRACE(0, "\nError updating item [%s]: %s\n", name, error.what());
        return -1;
    }
}

// Finds the nodes of a batch's events a little ahead of their turn, so that they are on their way
// into the processor's cache by then. Does without what the index does not tell.
class NodesAhead {
public:
    explicit NodesAhead(const EventBatch &batch) : m_batch(batch)
    {
        for (uint32_t i = 0; i < distance; ++i)
            seek(i);
    }

    // The node of the event at this position, or null. For one position after the other.
    ZANTONode *next(uint32_t position)
    {
        ZANTONode *node = m_nodes[position % distance];
        seek(position + distance);
        return node;
    }

private:
    static constexpr uint32_t distance = 8;

    void seek(uint32_t position)
    {
        ZANTONode *&node = m_nodes[position % distance];
        node = nullptr;
        if (!m_use || position >= m_batch.size() || m_batch[position].Type != PARAMETER)
            return;
        const VEXAHVEventData_t &event = m_batch[position];
        const std::string_view name(event.ItemID, strnlen(event.ItemID, sizeof(event.ItemID)));
        node = ZANTOIndexedItemNode(systemNode, name, event.BoardIndex, event.ChannelIndex);
        ZANTONode::prefetch(node);
    }

    const ZANTOTreeUse m_use; // what was found stays
    const EventBatch &m_batch;
    std::array<ZANTONode *, distance> m_nodes{};
};

// One bit per parameter type of which a node was updated. With `marks` each node that an event
// reached is marked as changed, whatever the value.
uint32_t applyBatch(const EventBatch &batch, uint64_t connection, bool marks)
{
    uint32_t mask = 0;
    NodesAhead nodes(batch);
    for (uint32_t i = 0; i < batch.size(); ++i) {
        ZANTOEventTarget target = {nodes.next(i), 0};
        if (batch[i].Type == PARAMETER) {
            const int32_t code = applyParameter(batch[i], connection, target);
            if (marks && target.tree != 0)
                ZANTOChangedRecords::instance().mark(target.node, target.tree);
            if (code >= 0)
                mask |= 1U << (static_cast<uint32_t>(code) % 32U);
        } else if (batch[i].Type == ALARM) {
            raiseLiveInsertionFlag();
        }
    }
    return mask;
}

constexpr uint32_t bit(uint32_t code) { return 1U << code; }

struct ScanRequest {
    uint32_t mask;
    const char *recordType;
    ZANTOScanList &list;
};

// In the order of the requests. Status words are shown by ai records as well; enumerations have
// no records.
const ScanRequest scanRequests[] = {
    {bit(VEXAHV_PARAM_NUMERIC), "recordAi", ioscanpvt_ai},
    {bit(VEXAHV_PARAM_ONOFF), "recordBi", ioscanpvt_bi},
    {bit(VEXAHV_PARAM_CHANNEL_STATUS) | bit(VEXAHV_PARAM_BOARD_STATUS), "recordAi", ioscanpvt_ai},
    {bit(VEXAHV_PARAM_INTEGER), "recordMBBiDirect", ioscanpvt_mbbiDirect},
    {bit(VEXAHV_PARAM_STRING), "recordStringin", ioscanpvt_stringin},
};

void requestScans(uint32_t mask)
{
    for (const ScanRequest &request : scanRequests) {
        if ((mask & request.mask) == 0)
            continue;
        ZANTO_TRACE(6, "Processing scanIoRequest - %s\n", request.recordType);
        request.list.request();
    }
}

} // namespace

bool ZANTOHandleNextBatch(ZANTOEventSource &source)
{
    EventBatch batch;
    const int32_t result = batch.receive(source.socket);
    if (result != 0) {
        ZANTO_TRACE(0, "\nGetEventData error, update thread exits - error code = [%d]\n", result);
        return true;
    }
    ZANTOCount(ZANTOPresentCounts.batches);
    ZANTOCount(ZANTOPresentCounts.events, batch.size());
    if (batch.size() > 0 && !source.hasDelivered) {
        ZANTOEventConnections::instance().delivered(source.connection);
        source.hasDelivered = true;
    }
    const bool changedOnly = ZANTOScansChangedOnly();
    const uint32_t mask = applyBatch(batch, source.connection, changedOnly);
    ZANTO_TRACE(9, "Type of events received - callback type = %x\n", mask);
    if (changedOnly)
        ZANTOChangedRecords::instance().wake();
    else
        requestScans(mask);
    return false;
}
