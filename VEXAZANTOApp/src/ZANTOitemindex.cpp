#include "ZANTOitemindex.h"

#include "ZANTOnode.h"

ZANTOItemIndex::ZANTOItemIndex(const ZANTONode &root)
{
    add(root);
    for (const ZANTONode *board : root.children()) {
        m_boards.push_back(m_holders.size());
        add(*board);
        for (const ZANTONode *channel : board->children())
            add(*channel);
    }
    m_boards.push_back(m_holders.size());
}

void ZANTOItemIndex::add(const ZANTONode &holder)
{
    m_holders.push_back({&placesOf(holder), m_nodes.size()});
    m_nodes.insert(m_nodes.end(), holder.parameters().begin(), holder.parameters().end());
}

const ZANTOItemIndex::Places &ZANTOItemIndex::placesOf(const ZANTONode &holder)
{
    Names names;
    names.reserve(holder.parameters().size());
    for (const ZANTONode *parameter : holder.parameters())
        names.push_back(&parameter->nodeName().get());
    const auto [kind, isNew] = m_kinds.try_emplace(std::move(names));
    if (isNew) {
        uint32_t place = 0;
        for (const std::string *name : kind->first)
            kind->second.emplace(*name, place++); // of equal names the first one stays
    }
    return kind->second;
}

const ZANTOItemIndex::Holder *ZANTOItemIndex::holderAt(int32_t board, int32_t channel) const
{
    if (board < 0)
        return channel < 0 ? &m_holders.front() : nullptr;
    const auto position = static_cast<size_t>(board);
    if (position + 1 >= m_boards.size())
        return nullptr;
    const size_t place = m_boards[position] + (channel < 0 ? 0 : 1 + static_cast<size_t>(channel));
    return place < m_boards[position + 1] ? &m_holders[place] : nullptr;
}

ZANTONode *ZANTOItemIndex::find(int32_t board, int32_t channel, std::string_view item) const
{
    const Holder *holder = holderAt(board, channel);
    if (holder == nullptr)
        return nullptr;
    const auto place = holder->places->find(item);
    return place != holder->places->end() ? m_nodes[holder->first + place->second] : nullptr;
}
