// The command line of serverBench and limitBench.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct Options {
    uint16_t boards = 16;
    int core = -1; // the last one that is allowed
    uint32_t puts = 1000;
    uint32_t shown = 40; // puts that are followed up to the read-back
    bool client = false; // this process is the client of an IOC that runs
    bool turns = false;  // the names only say what to start; each line read asks for one of them
    std::vector<std::string> names;

    bool wants(const std::string &name) const;
    // Any measurement of the records, for which the IOC must run.
    bool wantsRecords() const;
};

// Whether a client in a process of its own takes the measurement.
bool isClients(const std::string &measurement);

// False for words that it does not understand, when nothing is to be measured, or for events
// beside records, whose scans would run in between.
bool parseOptions(const std::vector<std::string> &words, Options &options);
