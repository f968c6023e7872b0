#include "ZANTOnodeowner.h"

ZANTONodeOwner ZANTOMakeNode(const std::string &name, nodeType type)
{
    auto node = std::make_unique<ZANTONode>();
    node->ZANTOPrepareNode(name, type, -1, -1, "", "", "");
    return node;
}

void ZANTOSetAccessByMode(ZANTONode &node, uint32_t mode)
{
    static constexpr nodeAccessRights rights[] = {nodeAccessRead, nodeAccessWrite,
                                                  nodeAccessReadWrite};
    node.setAccessRights(mode < 3 ? rights[mode] : nodeAccessNone);
}
