#include "limitTree.h"

#include "memoryCrate.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>

LimitRecordName::LimitRecordName(const LimitNode &node)
{
    if (node.board < 0)
        std::snprintf(text, sizeof(text), "%s:%s", MemoryCrate::name, node.name);
    else if (node.channel < 0)
        std::snprintf(text, sizeof(text), "%s:%02d:%s", MemoryCrate::name, node.board, node.name);
    else
        std::snprintf(text, sizeof(text), "%s:%02d:%03d:%s", MemoryCrate::name, node.board,
                      node.channel, node.name);
}

namespace {

std::string upperCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

// Names are padded with zeros, and longer ones than this do not exist.
std::size_t hashOf(int32_t board, int32_t channel, const char *name)
{
    constexpr uint64_t odd = 0x9E3779B97F4A7C15;
    uint64_t word = 0;
    std::memcpy(&word, name, strnlen(name, sizeof(word)));
    word ^= static_cast<uint64_t>(static_cast<uint32_t>(board)) << 56U;
    word = (word ^ (static_cast<uint64_t>(static_cast<uint32_t>(channel)) << 40U)) * odd;
    return static_cast<std::size_t>(word >> 32U);
}

bool isItem(const LimitNode &node, int32_t board, int32_t channel, const char *name)
{
    return node.board == board && node.channel == channel && std::strcmp(node.name, name) == 0;
}

} // namespace

void limitSetText(LimitNode &node, const char *text)
{
    const std::size_t length = strnlen(text, sizeof(node.text) - 1);
    std::memcpy(node.text, text, length);
    node.text[length] = '\0';
}

LimitTree &LimitTree::instance()
{
    static auto *const tree = new LimitTree;
    return *tree;
}

LimitNode &LimitTree::add(const char *name, int board, int channel, uint32_t kind, uint32_t mode)
{
    LimitNode node = {};
    node.board = static_cast<int16_t>(board);
    node.channel = static_cast<int16_t>(channel);
    node.kind = static_cast<uint8_t>(kind);
    node.mode = static_cast<uint8_t>(mode);
    std::strncpy(node.name, name, sizeof(node.name) - 1);
    return m_nodes.emplace_back(node);
}

void LimitTree::index()
{
    std::size_t size = 1;
    while (size < 2 * m_nodes.size())
        size *= 2;
    m_items.assign(size, nullptr);
    for (LimitNode &node : m_nodes) {
        m_links[upperCase(LimitRecordName(node).text)] = &node;
        m_items[freeSlot(node)] = &node;
    }
}

std::size_t LimitTree::freeSlot(const LimitNode &node) const
{
    const std::size_t mask = m_items.size() - 1;
    std::size_t at = hashOf(node.board, node.channel, node.name) & mask;
    while (m_items[at] != nullptr)
        at = (at + 1) & mask;
    return at;
}

LimitNode *LimitTree::byLink(const char *link)
{
    const auto found = m_links.find(upperCase(link));
    return found != m_links.end() ? found->second : nullptr;
}

LimitNode *LimitTree::byItem(int32_t board, int32_t channel, const char *name)
{
    const std::size_t mask = m_items.size() - 1;
    std::size_t at = hashOf(board, channel, name) & mask;
    while (m_items[at] != nullptr && !isItem(*m_items[at], board, channel, name))
        at = (at + 1) & mask;
    return m_items[at];
}
