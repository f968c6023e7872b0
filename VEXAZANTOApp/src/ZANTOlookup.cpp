#include "ZANTOlookup.h"

#include "ZANTOitemindex.h"
#include "ZANTOmessages.h"
#include "ZANTOnode.h"
#include "ZANTOstatic.h"
#include "ZANTOtypes.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace {

void eraseFirst(std::string &text, const char *part)
{
    const size_t at = text.find(part);
    if (at != std::string::npos)
        text.erase(at, std::strlen(part));
}

// Cuts off and returns what stands before the first ":".
std::string takeField(std::string &text)
{
    const size_t colon = text.find(':');
    std::string field = text.substr(0, colon);
    text.erase(0, colon == std::string::npos ? colon : colon + 1);
    return field;
}

} // namespace

ZANTONode *ZANTOFindRecordNode(const ZANTONode *root, const std::string &crateName, const char *id)
{
    const ZANTONode *holder = root;
    const size_t nameLength = std::strlen(crateName.c_str());
    if (holder == nullptr || id == nullptr || strnlen(id, nameLength) < nameLength)
        return nullptr;

    // Only the length of the system's name counts, not its letters.
    std::string rest = std::string("noname") + (id + nameLength);
    eraseFirst(rest, ":RBV");
    eraseFirst(rest, ":Sync");
    const auto fields = std::count(rest.begin(), rest.end(), ':');
    if (fields < 1 || fields > 3)
        return nullptr;
    takeField(rest);
    for (auto level = fields; level > 1 && holder != nullptr; --level)
        holder = holder->childAt(std::strtoll(takeField(rest).c_str(), nullptr, 10));
    return holder != nullptr ? holder->findParameter(rest) : nullptr;
}

namespace {

// The node whose parameters an event means, or null for a position outside the tree.
ZANTONode *holderOf(ZANTONode &root, int32_t board, int32_t channel)
{
    if (channel < 0 && board < 0)
        return &root;
    ZANTONode *boardNode = root.childAt(board);
    if (channel < 0 || boardNode == nullptr)
        return boardNode;
    return boardNode->childAt(channel);
}

// An index with what tells whether it still counts.
struct TreeIndex {
    explicit TreeIndex(const ZANTONode &tree)
        : root(&tree), generation(systemNode.generation()), items(tree)
    {
    }

    const ZANTONode *root;
    uint32_t generation;
    ZANTOItemIndex items;
};

// That of the thread that builds the tree, and then of the one that frees it.
std::unique_ptr<const TreeIndex> &ownedIndex()
{
    static ZANTONeverDestroyed<std::unique_ptr<const TreeIndex>> index;
    return index.get();
}

// Written with ownedIndex and read by all: an index is freed only when nobody uses its tree.
std::atomic<const TreeIndex *> presentIndex{nullptr};

} // namespace

void ZANTOIndexTree() noexcept
{
    presentIndex = nullptr;
    ownedIndex().reset();
    const ZANTONode *root = systemNode;
    if (root == nullptr)
        return;
    try {
        ownedIndex() = std::make_unique<const TreeIndex>(*root);
        presentIndex = ownedIndex().get();
    } catch (const std::bad_alloc &) {
    }
}

ZANTONode *ZANTOIndexedItemNode(const ZANTONode *root, std::string_view itemId, int32_t board,
                                int32_t channel) noexcept
{
    const TreeIndex *index = presentIndex.load(std::memory_order_acquire);
    if (index == nullptr || index->root != root || index->generation != systemNode.generation())
        return nullptr;
    return index->items.find(board, channel, itemId);
}

ZANTONode *ZANTOFindItemNode(ZANTONode *root, std::string_view itemId, int32_t board,
                             int32_t channel)
{
    if (root == nullptr || itemId.empty() || root->getNodeType() != nodeTypeSystemItem)
        return nullptr;
    if (ZANTONode *indexed = ZANTOIndexedItemNode(root, itemId, board, channel))
        return indexed;
    const ZANTONode *holder = holderOf(*root, board, channel);
    if (holder == nullptr)
        return nullptr;
    ZANTONode *parameter = holder->findParameter(itemId);
    if (parameter == nullptr)
        ZANTO_TRACE(0, "\nNode [%d:%d:%s] not found in tree\n", board, channel,
                    std::string(itemId).c_str());
    return parameter;
}
