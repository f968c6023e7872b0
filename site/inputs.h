// The files that the tool is given.
#pragma once

#include <string>
#include <vector>

#include "pvlist/crate.h"
#include "planner.h"

namespace site {

// What is wrong with them, one "FILE:LINE: reason" each, and what is only worth knowing.
struct Messages {
    std::vector<std::string> errors;
    std::vector<std::string> notes;

    void addErrors(const std::string &path, const std::vector<sim::Finding> &findings);
};

// PV lists, or crate descriptions, whose names end in ".yaml". With a PV list goes the ZANTO.db
// that lies beside it, for the limits of the hardware.
std::vector<Crate> readCrates(const std::vector<std::string> &paths, Messages &messages);

SiteFile readSiteFile(const std::string &path, Messages &messages);

// Everything that make writes. Empty when something is wrong.
OutputFiles makeFiles(const SiteFile &file, const std::string &path,
                      const std::vector<Crate> &crates, bool olderBase, Messages &messages);

} // namespace site
