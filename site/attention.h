// What a changed crate means for its site file.
#pragma once

#include <string>
#include <vector>

#include "comparison/difference.h"
#include "description/findings.h"
#include "sitefile.h"

namespace site {

// What somebody should look at in the site file, by line: "slot 3, channels 8-11: gone".
// `differences` are those of the crate that the site file knows under the name `crate`;
// it need not match when the file has one crate only.
std::vector<sim::Finding> attention(const SiteFile &site, const std::string &crate,
                                    const sim::Differences &differences);

} // namespace site
