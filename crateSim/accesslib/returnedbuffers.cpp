#include "returnedbuffers.h"

namespace sim::accesslib {

namespace {

constexpr char filler = '~';
constexpr size_t slotSize = VEXAHV_PARAM_NAME_SLOT;

bool hasEmptySlot(const std::string &table)
{
    for (size_t start = 0; start + slotSize <= table.size(); start += slotSize)
        if (table[start] == '\0')
            return true;
    return false;
}

} // namespace

Buffer<char> wholeTexts(std::string list, size_t count)
{
    if (count == 0)
        return nullptr;
    if (!list.empty() && list.back() != '\0')
        list.append({filler, '\0'});
    const auto texts = static_cast<size_t>(std::count(list.begin(), list.end(), '\0'));
    for (size_t missing = texts; missing < count; ++missing)
        list.append({filler, '\0'});
    return copyOf(list);
}

Buffer<char> wholeTable(std::string table)
{
    if (!hasEmptySlot(table)) {
        const size_t cut = table.size() % slotSize;
        table.append(slotSize + (cut == 0 ? 0 : slotSize - cut), filler);
        table.append(slotSize, '\0');
    }
    return copyOf(table);
}

} // namespace sim::accesslib
