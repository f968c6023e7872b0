#include "ZANTOnodeowner.h"

ZANTONodeOwner ZANTOMakeNode(const std::string &name, nodeType type)
{
    auto node = std::make_unique<ZANTONode>();
    node->ZANTOPrepareNode(name, type, -1, -1, "", "", "");
    return node;
}
