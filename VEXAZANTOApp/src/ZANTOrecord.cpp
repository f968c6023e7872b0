#include "ZANTOrecord.h"

#include "ZANTOchangedrecords.h"
#include "ZANTOstatic.h"
#include "ZANTOutils.h"

#include <array>
#include <cstddef>
#include <deque>
#include <mutex>

namespace {

// Bindings live as long as the process, like the records; a deque never moves them.
struct Bindings {
    static constexpr std::size_t block = 512;

    std::mutex mutex;
    // Guarded by mutex. The last of each block only stands behind the one before it.
    std::deque<std::array<ZANTOBinding, block + 1>> blocks;
    std::size_t used = block; // of the last block
};

ZANTOBinding *newBinding()
{
    static ZANTONeverDestroyed<Bindings> instance;
    Bindings &bindings = instance.get();
    std::lock_guard<std::mutex> lock(bindings.mutex);
    if (bindings.used == Bindings::block) {
        bindings.blocks.emplace_back();
        bindings.used = 0;
    }
    return &bindings.blocks.back()[bindings.used++];
}

} // namespace

bool ZANTOBindRecord(dbCommon *record, const DBLINK &link)
{
    if (link.type != INST_IO)
        return false;
    if (record->dpvt == nullptr)
        record->dpvt = newBinding();
    return true;
}

ZANTONode *ZANTOSeekNodeOfRecord(dbCommon *record)
{
    ZANTONode *node = ZANTOUtils::getNodeFromEpicsId(record->name);
    if (auto *binding = static_cast<ZANTOBinding *>(record->dpvt)) {
        binding->generation = systemNode.generation();
        binding->node.store(node, std::memory_order_relaxed);
    }
    return node;
}

int32_t ZANTOWriteNode(ZANTONode &node, const variant &value)
{
    const ZANTONode::SemGuard guard(node);
    return node.setNodeEditedValue(value);
}

void ZANTOCountRecord(ZANTOScanList &list, int command, dbCommon *record)
{
    constexpr int joins = 0;
    constexpr int leaves = 1;
    if (record == nullptr)
        return;
    auto &changed = ZANTOChangedRecords::instance();
    const bool changedOnly = ZANTOScansChangedOnly();
    if (command == joins) {
        changed.recordJoins(record, changedOnly);
        list.recordJoins(record->prio, changedOnly);
    } else if (command == leaves) {
        changed.recordLeaves(record);
        list.recordLeaves(record->prio, changedOnly);
    }
}
