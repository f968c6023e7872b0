// The limit's tree: plain structs one after another, and how records and events find theirs.
#pragma once

#include "vexahvwrapper.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

struct LimitNode {
    double number;
    char text[40];   // as long as a record shows
    int16_t board;   // negative: of the system
    int16_t channel; // negative: of a board, or of the system
    uint8_t kind;    // as the type of a parameter
    uint8_t mode;
    char name[VEXAHV_ITEM_ID_SIZE];
};

// The name of a node's record.
struct LimitRecordName {
    explicit LimitRecordName(const LimitNode &node);
    char text[64];
};

// Keeps what a text says, cut where a record cuts it.
void limitSetText(LimitNode &node, const char *text);

class LimitTree {
public:
    static LimitTree &instance();

    LimitNode &add(const char *name, int board, int channel, uint32_t kind, uint32_t mode);

    // Once all nodes are there.
    void index();
    // Once all records are there.
    void forgetLinks() { m_links = {}; }
    // The node that a record's link names, in whichever case; null: none.
    LimitNode *byLink(const char *link);
    // The node that an event means; null: none.
    LimitNode *byItem(int32_t board, int32_t channel, const char *name);

private:
    LimitTree() = default;
    std::size_t freeSlot(const LimitNode &node) const;

    std::vector<LimitNode> m_nodes;
    std::unordered_map<std::string, LimitNode *> m_links;
    std::vector<LimitNode *> m_items; // open addressing, a power of two
};
