// The comparison of two crate descriptions as people read it.
#pragma once

#include <iosfwd>
#include <string>

#include "inputs.h"

namespace site {

// As diff has them.
enum class ComparisonStatus { Equal = 0, Different = 1, Trouble = 2 };

struct ComparisonOrder {
    std::string before; // paths
    std::string after;
    std::string site;   // empty: the descriptions alone are compared
    bool values = true; // the captured values too
};

// Reads the files, blocking, and prints one line for each difference, or "No differences."; when
// something is wrong in one of them, nothing is compared.
ComparisonStatus compareFiles(const ComparisonOrder &order, std::ostream &out, Messages &messages);

} // namespace site
