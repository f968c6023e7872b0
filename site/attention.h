// What a changed crate means for its site file.
#pragma once

#include <string>
#include <vector>

#include "comparison/difference.h"
#include "sitefile.h"

namespace site {

// What somebody should look at in the site file.
struct Attention {
    int line = 0;
    std::string text; // "slot 3, channels 8-11: gone"
};

// By line. `differences` are those of the crate that the site file knows under the name `crate`;
// it need not match when the file has one crate only.
std::vector<Attention> attention(const SiteFile &site, const std::string &crate,
                                 const sim::Differences &differences);

} // namespace site
