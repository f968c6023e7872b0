#include "ZANTOchangequeue.h"

#include <new>
#include <utility>

// ---- records ----

void ZANTOChangeQueue::join(dbCommon *record, int prio, uint32_t tree)
{
    leave(record);
    if (!isPriority(prio))
        return;
    const auto [place, isNew] = m_entries.try_emplace(record);
    Entry &entry = place->second;
    entry.record = record;
    entry.prio = prio;
    if (!isNew)
        return;
    // Until its node is known, nodes are those of no tree.
    const bool wasBound = std::exchange(m_bound, false);
    if (!wasBound || m_tree != tree)
        return;
    try {
        link(entry);
        m_bound = true;
    } catch (const std::bad_alloc &) { // whoever needs the nodes binds anew
    }
}

void ZANTOChangeQueue::leave(const dbCommon *record)
{
    const auto found = m_entries.find(record);
    if (found == m_entries.end())
        return;
    unqueue(found->second);
    found->second.prio = nowhere;
}

// ---- nodes ----

void ZANTOChangeQueue::link(Entry &entry)
{
    const ZANTONode *node = m_find(entry.record->name);
    if (node != nullptr)
        entry.nextOfNode = std::exchange(m_ofNode[node], &entry);
}

void ZANTOChangeQueue::bind(uint32_t tree)
{
    m_bound = false;
    m_ofNode.clear();
    m_ofNode.reserve(m_entries.size());
    for (auto &[record, entry] : m_entries) {
        entry.nextOfNode = nullptr;
        link(entry);
    }
    m_tree = tree;
    m_bound = true;
}

// ---- queues ----

void ZANTOChangeQueue::mark(const ZANTONode *node)
{
    const auto found = m_ofNode.find(node);
    if (found == m_ofNode.end())
        return;
    for (Entry *entry = found->second; entry != nullptr; entry = entry->nextOfNode)
        queue(*entry);
}

void ZANTOChangeQueue::mark(const dbCommon *record)
{
    const auto found = m_entries.find(record);
    if (found != m_entries.end())
        queue(found->second);
}

void ZANTOChangeQueue::markAll()
{
    for (auto &[record, entry] : m_entries)
        queue(entry);
}

void ZANTOChangeQueue::queue(Entry &entry)
{
    if (entry.queued || entry.prio == nowhere)
        return;
    Queue &queue = m_queues[static_cast<size_t>(entry.prio)];
    entry.queued = true;
    entry.before = queue.last;
    entry.behind = nullptr;
    (queue.last != nullptr ? queue.last->behind : queue.first) = &entry;
    queue.last = &entry;
    ++queue.length;
}

void ZANTOChangeQueue::unqueue(Entry &entry)
{
    if (!entry.queued)
        return;
    Queue &queue = m_queues[static_cast<size_t>(entry.prio)];
    entry.queued = false;
    (entry.before != nullptr ? entry.before->behind : queue.first) = entry.behind;
    (entry.behind != nullptr ? entry.behind->before : queue.last) = entry.before;
    --queue.length;
}

dbCommon *ZANTOChangeQueue::take(int prio)
{
    Entry *entry = isPriority(prio) ? m_queues[static_cast<size_t>(prio)].first : nullptr;
    if (entry == nullptr)
        return nullptr;
    unqueue(*entry);
    return entry->record;
}

size_t ZANTOChangeQueue::length(int prio) const
{
    return isPriority(prio) ? m_queues[static_cast<size_t>(prio)].length : 0;
}
