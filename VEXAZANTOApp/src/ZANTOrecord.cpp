#include "ZANTOrecord.h"

#include "ZANTOmessages.h"
#include "ZANTOstatic.h"
#include "ZANTOutils.h"

#include <cstdarg>
#include <deque>
#include <mutex>

namespace {

/// What a record keeps in its private pointer.
struct Binding {
    // Written by whichever thread processes the record, which holds the record's lock.
    ZANTONode *node = nullptr;
    uint32_t generation = 0; // of the tree that the node belongs to
};

/// Bindings live as long as the process, like the records; a deque never moves them.
struct Bindings {
    std::mutex mutex;
    std::deque<Binding> all; // guarded by mutex
};

Binding *newBinding()
{
    static ZANTONeverDestroyed<Bindings> bindings;
    std::lock_guard<std::mutex> lock(bindings.get().mutex);
    return &bindings.get().all.emplace_back();
}

} // namespace

long ZANTOInitRecord(dbCommon *record, const DBLINK &link, const char *format)
{
    if (link.type != INST_IO) {
        ZANTOPrintMessage(format, record->name);
        return S_db_badField;
    }
    if (record->dpvt == nullptr)
        record->dpvt = newBinding();
    return 0;
}

ZANTONode *ZANTONodeOfRecord(dbCommon *record)
{
    auto *binding = static_cast<Binding *>(record->dpvt);
    if (binding == nullptr)
        return ZANTOUtils::getNodeFromEpicsId(record->name);
    const uint32_t generation = systemNode.generation();
    if (binding->node == nullptr || binding->generation != generation) {
        binding->node = ZANTOUtils::getNodeFromEpicsId(record->name);
        binding->generation = generation;
    }
    return binding->node;
}

int32_t ZANTOWriteNode(ZANTONode &node, const variant &value)
{
    const ZANTONode::SemGuard guard(node);
    return node.setNodeEditedValue(value);
}

void ZANTOCountRecord(ZANTOScanList &list, int command, const dbCommon *record)
{
    constexpr int joins = 0;
    constexpr int leaves = 1;
    if (record == nullptr)
        return;
    if (command == joins)
        list.recordJoins(record->prio);
    else if (command == leaves)
        list.recordLeaves(record->prio);
}

void ZANTOPrintMessage(const char *format, ...)
{
    if (format == nullptr)
        return;
    va_list arguments;
    va_start(arguments, format);
    ZANTOPrintList(format, arguments);
    va_end(arguments);
}
