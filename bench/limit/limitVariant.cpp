// The limit: what the same work costs when nothing is done but the work.
#include "variant.h"

#include "limitBuild.h"
#include "limitTree.h"

namespace {

void store(LimitNode &node, const IDValue_t &value)
{
    if (node.kind == VEXAHV_PARAM_NUMERIC)
        node.number = static_cast<double>(value.FloatValue);
    else if (node.kind == VEXAHV_PARAM_STRING)
        limitSetText(node, value.StringValue);
    else
        node.number = value.IntValue;
}

} // namespace

bool variantBuild() { return limitBuild(); }

void variantBeforeRecords() { LimitTree::instance().index(); }
void variantAfterRecords() { LimitTree::instance().forgetLinks(); }
void variantBeforeEvents() { LimitTree::instance().index(); }

IOSCANPVT variantList(ListKind kind) { return limitList(kind); }

void variantNextBatch()
{
    VEXAHVSystemStatus_t status;
    VEXAHVEventData_t *events = nullptr;
    uint32_t count = 0;
    if (VEXAHV_GetEventData(-1, &status, &events, &count) != 0)
        return;
    LimitTree &tree = LimitTree::instance();
    for (uint32_t i = 0; i < count; ++i) {
        const VEXAHVEventData_t &event = events[i];
        LimitNode *node = tree.byItem(event.BoardIndex, event.ChannelIndex, event.ItemID);
        if (node != nullptr)
            store(*node, event.Value);
    }
    VEXAHV_FreeEventData(&events);
}

void variantShowWrites() { limitScanAfterWrites(); }
