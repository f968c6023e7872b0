#include "comparefiles.h"

#include <optional>
#include <ostream>

#include "attention.h"
#include "comparison/compare.h"
#include "description/cratefile.h"

namespace site {

namespace {

void print(const std::vector<sim::Finding> &findings, const std::string &path, std::ostream &out)
{
    for (const auto &finding : findings)
        out << sim::findingText(path, finding) << '\n';
}

std::optional<sim::CrateDescription> readDescription(const std::string &path, std::ostream &errors)
{
    auto reading = sim::readCrateFile(path);
    print(reading.findings, path, errors);
    if (!reading.findings.empty())
        return std::nullopt;
    return std::move(reading.file.crate);
}

void print(const sim::Differences &differences, std::ostream &out)
{
    for (const auto &line : sim::differenceLines(differences))
        out << line << '\n';
}

} // namespace

ComparisonStatus compareFiles(const ComparisonOrder &order, std::ostream &out, std::ostream &errors)
{
    const auto before = readDescription(order.before, errors);
    const auto after = readDescription(order.after, errors);
    if (!before || !after)
        return ComparisonStatus::Trouble;
    const auto differences = compareCrates(*before, *after);
    const auto values = order.values ? compareValues(*before, *after) : sim::Differences();
    if (differences.empty() && values.empty()) {
        out << "No differences.\n";
        return ComparisonStatus::Equal;
    }
    print(differences, out);
    if (!values.empty())
        out << (differences.empty() ? "" : "\n") << "Set-points and other values:\n";
    print(values, out);
    const auto found = order.site != nullptr ? attention(*order.site, after->name, differences)
                                             : std::vector<sim::Finding>();
    if (!found.empty())
        out << "\nEntries of " << order.sitePath << " that need attention:\n";
    print(found, order.sitePath, out);
    return ComparisonStatus::Different;
}

} // namespace site
