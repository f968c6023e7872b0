// Entries of a site file.
#pragma once

#include "sitefile.h"

namespace site {

// Which keys an entry may have.
enum class EntryKind { Defaults, Channels, Boards, System };

Entry readEntry(const sim::Field &field, EntryKind kind);

} // namespace site
