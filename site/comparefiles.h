// The comparison of two crate descriptions as people read it.
#pragma once

#include <iosfwd>
#include <string>

#include "sitefile.h"

namespace site {

// As diff has them.
enum class ComparisonStatus { Equal = 0, Different = 1, Trouble = 2 };

struct ComparisonOrder {
    std::string before; // paths
    std::string after;
    bool values = true;             // the captured values too
    std::string sitePath;           // for messages
    const SiteFile *site = nullptr; // null: the descriptions alone are compared
};

// Reads both, blocking, and prints one line for each difference, or "No differences."; what is
// wrong in a file goes to `errors` and nothing is compared.
ComparisonStatus compareFiles(const ComparisonOrder &order, std::ostream &out,
                              std::ostream &errors);

} // namespace site
