// Crate descriptions as YAML.
#pragma once

#include <string>
#include <vector>

#include "../model/description.h"
#include "faults/order.h"
#include "findings.h"

namespace sim {

struct CrateFile {
    CrateDescription crate;
    std::vector<FaultOrder> faults;
};

struct CrateReading {
    CrateFile file;                // usable only without findings
    std::vector<Finding> findings; // by line
};

// Everything that is wrong is found at once, the model's findProblems() included.
CrateReading readCrate(const std::string &yaml);
// A file that cannot be read is a finding.
CrateReading readCrateFile(const std::string &path);

// "FILE:LINE: reason".
std::string findingText(const std::string &file, const Finding &finding);

// "5 boards, 120 channels".
std::string crateSummary(const CrateDescription &crate);

// A text from which the same is read again, for people. The comment stands at its
// head, line by line. Bytes that are no UTF-8 come out as U+FFFD.
std::string writeCrate(const CrateFile &file, const std::vector<std::string> &comment = {});

} // namespace sim
