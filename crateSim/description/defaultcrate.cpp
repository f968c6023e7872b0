#include "defaultcrate.h"

#include <stdexcept>

#include "cratefile.h"

namespace sim {

namespace {

CrateDescription readDefaultCrate()
{
    auto reading = readCrate(std::string(defaultCrateText()));
    if (!reading.findings.empty())
        throw std::logic_error(findingText("crates/default.yaml", reading.findings.front()));
    return std::move(reading.file.crate);
}

} // namespace

CrateDescription defaultCrate()
{
    static const CrateDescription crate = readDefaultCrate();
    return crate;
}

} // namespace sim
