// For tests that read and write files.
#pragma once

#include "unitSupport.h"

#include <string>
#include <sys/resource.h>

std::string contents(const std::string &path);
void put(const std::string &path, const std::string &text);

// No file of this process may grow beyond `bytes`, for a scope: a disk that is full.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes);
    ~FileSizeLimit();
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

private:
    void (*m_handler)(int);
    rlimit m_before = {};
};

constexpr const char *databasePath = "/tmp/ZANTO.db";
constexpr const char *pvListPath = "/tmp/pvlist.txt";
constexpr const char *liveInsertionPath = "/tmp/lievnt.txt";

// For tests of the start-up files, whose paths are fixed. Before the first test the process
// gets a /tmp of its own where the system allows it; where it does not, it waits for other
// processes of this program, and a test fails if one of the files exists already, since a
// server that runs would lose it.
class StartupFilesTest : public ZantoTest {
protected:
    void SetUp() override;
    void TearDown() override;

    // Removes what stands at the three paths.
    static void removeFiles();

private:
    bool m_mayRemove = false;
};
