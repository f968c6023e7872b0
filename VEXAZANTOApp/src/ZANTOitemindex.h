// From the item that an event names to its node, without a walk through the tree.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

class ZANTONode;

// The parameters of the system, its boards and their channels by position and name. Channels of
// one kind have the same names in the same order: that order is kept once, and the pointers to
// all nodes lie one after another, so that a search touches little memory and no node. Made from
// a complete tree, which must outlive it; never changed afterwards, so any thread may search.
class ZANTOItemIndex {
public:
    explicit ZANTOItemIndex(const ZANTONode &root);
    ZANTOItemIndex(const ZANTOItemIndex &) = delete;
    ZANTOItemIndex &operator=(const ZANTOItemIndex &) = delete;

    // The first parameter of this name there, or null. Negative positions: of the board, or of
    // the system. Touches no node.
    ZANTONode *find(int32_t board, int32_t channel, std::string_view item) const;

private:
    // Texts that nodes share differ if their addresses do.
    using Names = std::vector<const std::string *>;
    using Places = std::unordered_map<std::string_view, uint32_t>;

    // A node that has parameters.
    struct Holder {
        const Places *places; // of the names among its parameters
        size_t first;         // of its parameters in m_nodes
    };

    void add(const ZANTONode &holder);
    const Places &placesOf(const ZANTONode &holder);
    const Holder *holderAt(int32_t board, int32_t channel) const;

    std::map<Names, Places> m_kinds;
    std::vector<ZANTONode *> m_nodes;
    std::vector<Holder> m_holders; // the system, then each board followed by its channels
    std::vector<size_t> m_boards;  // the place of each board in m_holders, and the end
};
