/// What the programs print: one JSON object a line for each measurement.
#ifndef RESULTS_H
#define RESULTS_H

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

using BenchClock = std::chrono::steady_clock;

inline double nanosecondsSince(BenchClock::time_point begin)
{
    return std::chrono::duration<double, std::nano>(BenchClock::now() - begin).count();
}

/// NaN of nothing.
double median(std::vector<double> values);

using Counts = std::vector<std::pair<const char *, uint64_t>>;
std::string resultLine(const std::string &name, const char *unit, double value,
                       const Counts &counts);
void printResult(const std::string &name, const char *unit, double value, const Counts &counts);

#endif
