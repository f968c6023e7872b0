// Lists on their way to the caller, who owns them and reads as far as their
// count or their end says.
//
// A crate may send lists that lack their end, or entries that their count
// promises. Handed on as they are they would have the caller read what lies
// behind by chance, with another outcome each time. Such a list gets filler
// entries that are not empty, and an end. A table of names goes by its end: the
// count beside it is handed on as it came. A list that is whole gets not a byte
// more, so that memory checkers still find a reader that goes too far.
#pragma once

#include "boundary.h"

namespace sim::accesslib {

// Texts that end with a NUL each, at least count of them. Null when the count
// is 0, whatever there is: nobody gives back a list without entries.
Buffer<char> wholeTexts(std::string list, size_t count);

// Parameter names in slots, up to the first empty one.
Buffer<char> wholeTable(std::string table);

// At least count numbers.
template <class Number> Buffer<Number> wholeNumbers(std::vector<Number> list, size_t count)
{
    constexpr Number filler = 1;
    if (list.size() < count)
        list.resize(count, filler);
    return copyOf(list);
}

} // namespace sim::accesslib
