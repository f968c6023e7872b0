#include "comparefiles.h"

#include <ostream>

#include "comparison/compare.h"
#include "description/cratefile.h"

namespace site {

namespace {

sim::CrateDescription readDescription(const std::string &path, Messages &messages)
{
    auto reading = sim::readCrateFile(path);
    messages.addErrors(path, reading.findings);
    return std::move(reading.file.crate);
}

void print(const sim::Differences &differences, std::ostream &out)
{
    for (const auto &line : sim::differenceLines(differences))
        out << line << '\n';
}

} // namespace

ComparisonStatus compareFiles(const ComparisonOrder &order, std::ostream &out, Messages &messages)
{
    const auto site = order.site.empty() ? SiteFile() : readSiteFile(order.site, messages);
    if (!messages.errors.empty())
        return ComparisonStatus::Trouble;
    const auto before = readDescription(order.before, messages);
    const auto after = readDescription(order.after, messages);
    if (!messages.errors.empty())
        return ComparisonStatus::Trouble;
    const auto differences = compareCrates(before, after);
    const auto values = order.values ? compareValues(before, after) : sim::Differences();
    if (differences.empty() && values.empty()) {
        out << "No differences.\n";
        return ComparisonStatus::Equal;
    }
    print(differences, out);
    if (!values.empty())
        out << (differences.empty() ? "" : "\n") << "Set-points and other values:\n";
    print(values, out);
    const auto found = attention(site, after.name, differences);
    if (!found.empty())
        out << "\nEntries of " << order.site << " that need attention:\n";
    for (const auto &finding : found)
        out << sim::findingText(order.site, finding) << '\n';
    return ComparisonStatus::Different;
}

} // namespace site
