// The measurements that a client of the records makes, in a process of its own.
#pragma once

#include <cstdint>
#include <string>

struct ClientTask {
    std::string name; // ca-put, pva-put, set-to-rbv
    uint16_t boards = 0;
    uint32_t puts = 0;
};

// Prints the result; the exit code of the client's process.
int runClient(const ClientTask &task);
