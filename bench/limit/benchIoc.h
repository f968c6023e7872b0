// The IOC that serves the records of the start-up file on loopback.
#pragma once

#include <cstdint>

// Servers and clients of this process and its children use loopback alone, unless the
// environment says otherwise.
void stayOnLoopback();
// Loads definitions and records and starts the IOC; false: it could not.
bool startIoc();
// Waits until the scans at the start are over.
void waitUntilIdle();

uint64_t countRecords();
// Records of a type that wait for its list.
uint64_t countScanned(const char *recordType);
