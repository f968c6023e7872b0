#include "ZANTOlookup.h"

#include "ZANTOmessages.h"
#include "ZANTOnode.h"
#include "ZANTOtypes.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

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

} // namespace

ZANTONode *ZANTOFindItemNode(ZANTONode *root, const std::string &itemId, int32_t board,
                             int32_t channel)
{
    if (root == nullptr || itemId.empty() || root->getNodeType() != nodeTypeSystemItem)
        return nullptr;
    const ZANTONode *holder = holderOf(*root, board, channel);
    if (holder == nullptr)
        return nullptr;
    ZANTONode *parameter = holder->findParameter(itemId);
    if (parameter == nullptr && DEBUG > 0)
        ZANTOPrint("\nNode [%d:%d:%s] not found in tree\n", board, channel, itemId.c_str());
    return parameter;
}
