// What the programs print: one JSON object a line for each measurement.
#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

using BenchClock = std::chrono::steady_clock;

inline double nanosecondsSince(BenchClock::time_point begin)
{
    return std::chrono::duration<double, std::nano>(BenchClock::now() - begin).count();
}

// Time of the process, all its threads together: on its one core that is the time that passes,
// less what other processes and waiting take.
class Stopwatch {
public:
    double nanoseconds() const { return cpuNow() - m_cpu; }
    // With all that came between.
    double wallNanoseconds() const { return nanosecondsSince(m_wall); }

private:
    static double cpuNow()
    {
        timespec now = {};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
        return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
    }

    BenchClock::time_point m_wall = BenchClock::now();
    double m_cpu = cpuNow();
};

// NaN of nothing.
double median(std::vector<double> values);

using Counts = std::vector<std::pair<const char *, uint64_t>>;
std::string resultLine(const std::string &name, const char *unit, double value,
                       const Counts &counts);
void printResult(const std::string &name, const char *unit, double value, const Counts &counts);
