// Making of a tree's nodes, and their owner until the tree has them.
#pragma once

#include "ZANTOnode.h"
#include "ZANTOtypes.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using ZANTONodeOwner = std::unique_ptr<ZANTONode>;

// The items pass to the caller, or stay with their owners if there is no memory for the list.
template <typename T> std::vector<T *> ZANTOHandOver(std::vector<std::unique_ptr<T>> &owners)
{
    std::vector<T *> items;
    items.reserve(owners.size());
    for (std::unique_ptr<T> &owner : owners)
        items.push_back(owner.release());
    return items;
}

// Owner of what a builder has handed over, until the tree has it. Adopting needs no memory, so
// that nothing is lost on the way.
template <typename T> class ZANTOAdopted {
public:
    explicit ZANTOAdopted(std::vector<T *> &&items) noexcept : m_items(std::move(items)) {}
    ~ZANTOAdopted()
    {
        for (T *item : m_items)
            std::unique_ptr<T>(item).reset();
    }
    ZANTOAdopted(const ZANTOAdopted &) = delete;
    ZANTOAdopted &operator=(const ZANTOAdopted &) = delete;

    size_t size() const { return m_items.size(); }
    // Not for an item that was released.
    T &operator[](size_t position) const { return *m_items[position]; }
    // The tree has the item.
    void release(size_t position) { m_items[position] = nullptr; }

private:
    std::vector<T *> m_items;
};

// A node of this name and type, everything else as in a new one.
ZANTONodeOwner ZANTOMakeNode(const std::string &name, nodeType type);

// A node by the library's codes. Its data type is that of the type code in `dataTypes`, one that
// the table does not know leaves that of a new node; its access is read, write or both by the
// mode code, none for an unknown one.
template <size_t n>
ZANTONodeOwner ZANTOMakeNodeByCodes(const std::string &name, nodeType kind,
                                    const nodeDataType (&dataTypes)[n], uint32_t type,
                                    uint32_t mode)
{
    static constexpr nodeAccessRights rights[] = {nodeAccessRead, nodeAccessWrite,
                                                  nodeAccessReadWrite};
    ZANTONodeOwner node = ZANTOMakeNode(name, kind);
    node->setParWrapperType(type);
    if (type < n)
        node->setDataType(dataTypes[type]);
    node->setAccessRights(mode < std::size(rights) ? rights[mode] : nodeAccessNone);
    return node;
}
