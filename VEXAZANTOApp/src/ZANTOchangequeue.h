// Which records wait to be processed because the node that they show changed.
#pragma once

#include <callback.h>
#include <dbCommon.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <unordered_map>

class ZANTONode;

// Knows the input records that are on "I/O Intr", each with its priority and its node, and a
// queue for each priority in which a record stands once at most, in the order of the changes.
//
// Marking and taking allocate nothing: what a record needs it has from its first joining on, for
// as long as the process lives, like the record. No function blocks. Not for several threads at
// a time; the owner's lock guards it.
class ZANTOChangeQueue {
public:
    // The node that the record of this name shows, or null.
    using Find = const ZANTONode *(*)(const char *recordName);

    explicit ZANTOChangeQueue(Find find) : m_find(find) {}
    ZANTOChangeQueue(const ZANTOChangeQueue &) = delete;
    ZANTOChangeQueue &operator=(const ZANTOChangeQueue &) = delete;

    // The record is on "I/O Intr" at this priority from now on; at a priority that is none it is
    // not known. A new record's node is sought if the nodes are those of this tree.
    void join(dbCommon *record, int prio, uint32_t tree);
    // It no longer is, and stands in no queue.
    void leave(const dbCommon *record);

    // Seeks every record's node in the tree of this generation. Without memory for it (the
    // exception) the nodes of no tree are known.
    void bind(uint32_t tree);
    // The nodes known are those of the tree of this generation.
    bool isBoundTo(uint32_t tree) const { return m_bound && m_tree == tree; }

    // Queues the records of the node, which is only compared with, behind those of their
    // priority, except those that stand there already.
    void mark(const ZANTONode *node);
    void mark(const dbCommon *record);
    void markAll();

    // Takes the next record of this priority off its queue, or null. A change from here on
    // queues it again.
    dbCommon *take(int prio);
    size_t length(int prio) const;

    static bool isPriority(int prio) { return prio >= 0 && prio < NUM_CALLBACK_PRIORITIES; }

private:
    static constexpr int nowhere = -1;

    struct Entry {
        dbCommon *record = nullptr;
        int prio = nowhere;
        bool queued = false;
        Entry *before = nullptr; // in the queue
        Entry *behind = nullptr;
        Entry *nextOfNode = nullptr;
    };
    struct Queue {
        Entry *first = nullptr;
        Entry *last = nullptr;
        size_t length = 0;
    };

    void link(Entry &entry);
    void queue(Entry &entry);
    void unqueue(Entry &entry);

    const Find m_find;
    // Entries stay where they are.
    std::unordered_map<const dbCommon *, Entry> m_entries;
    std::unordered_map<const ZANTONode *, Entry *> m_ofNode; // the first of each node's
    bool m_bound = false;
    uint32_t m_tree = 0;
    std::array<Queue, NUM_CALLBACK_PRIORITIES> m_queues{};
};
