#include "results.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

double median(std::vector<double> values)
{
    if (values.empty())
        return std::nan("");
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    if (values.size() % 2 != 0)
        return *middle;
    return (*middle + *std::max_element(values.begin(), middle)) / 2;
}

std::string resultLine(const std::string &name, const char *unit, double value,
                       const Counts &counts)
{
    char number[64];
    std::snprintf(number, sizeof(number), "%.6g", value);
    std::string line = R"({"name": ")" + name + R"(", "unit": ")" + unit + R"(", "value": )" +
                       number + R"(, "counts": {)";
    const char *comma = "";
    for (const auto &[what, count] : counts) {
        line += std::string(comma) + '"' + what + "\": " + std::to_string(count);
        comma = ", ";
    }
    return line + "}}";
}

void printResult(const std::string &name, const char *unit, double value, const Counts &counts)
{
    std::printf("%s\n", resultLine(name, unit, value, counts).c_str());
    std::fflush(stdout);
}
