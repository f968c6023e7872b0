// The comparison of two crate descriptions as people read it, and what it means for a site file.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "comparison/difference.h"
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

// What somebody should look at in the site file, by line: "slot 3, channels 8-11: gone".
// `differences` are those of the crate that the site file knows under the name `crate`;
// it need not match when the file has one crate only.
std::vector<sim::Finding> attention(const SiteFile &site, const std::string &crate,
                                    const sim::Differences &differences);

} // namespace site
