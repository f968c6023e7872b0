// Entries of a site file.
#pragma once

#include "sitefile.h"

namespace site {

// Its keys are those of the kind.
Entry readEntry(const sim::Field &field, EntryKind kind);

} // namespace site
