/// The command line of serverBench and limitBench.
#ifndef OPTIONS_H
#define OPTIONS_H

#include <cstdint>
#include <string>
#include <vector>

struct Options {
    uint16_t boards = 16;
    int core = -1;        // the last one that is allowed
    uint32_t puts = 3000;
    uint32_t shown = 300; // puts that are followed up to the read-back
    bool client = false;  // this process is the client of an IOC that runs
    std::vector<std::string> names;

    bool wants(const std::string &name) const;
    /// Any measurement of the records, for which the IOC must run.
    bool wantsRecords() const;
};

/// Measurements of records, in the order in which they are taken: inside the IOC, by clients.
extern const std::vector<std::string> measurementsInside;
extern const std::vector<std::string> measurementsByClients;

/// False for words that it does not understand, or when nothing is to be measured.
bool parseOptions(const std::vector<std::string> &words, Options &options);

#endif
