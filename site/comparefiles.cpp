#include "comparefiles.h"

#include <optional>
#include <ostream>

#include "attention.h"
#include "comparison/compare.h"
#include "description/cratefile.h"

namespace site {

namespace {

std::optional<sim::CrateDescription> readDescription(const std::string &path, std::ostream &errors)
{
    auto reading = sim::readCrateFile(path);
    for (const auto &finding : reading.findings)
        errors << sim::findingText(path, finding) << '\n';
    if (!reading.findings.empty())
        return std::nullopt;
    return std::move(reading.file.crate);
}

void print(const sim::Differences &differences, std::ostream &out)
{
    for (const auto &line : sim::differenceLines(differences))
        out << line << '\n';
}

void printAttention(const ComparisonOrder &order, const std::string &crate,
                    const sim::Differences &differences, std::ostream &out)
{
    const auto found = attention(*order.site, crate, differences);
    if (found.empty())
        return;
    out << "\nEntries of " << order.sitePath << " that need attention:\n";
    for (const auto &finding : found)
        out << sim::findingText(order.sitePath, finding) << '\n';
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
    if (order.site != nullptr)
        printAttention(order, after->name, differences, out);
    return ComparisonStatus::Different;
}

} // namespace site
