// Output files in a folder that anybody may write to.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string_view>

// A file opened for writing, closed at the latest by the destructor.
class ZANTOOutputFile {
public:
    // Creates or empties the file. Never follows a symbolic link, never waits for a reader of
    // a FIFO and takes nothing but a regular file: somebody may have planted them there. One
    // that others could hold open for writing (of another user than `user`, with another name,
    // writable by others) is replaced by a fresh one, or not opened if it cannot be replaced.
    // Waits for some milliseconds at most, where others create and remove the file meanwhile.
    explicit ZANTOOutputFile(const char *path, uid_t user = geteuid());

    bool isOpen() const { return m_file != nullptr; }
    void write(std::string_view text);
    // False when anything that was written did not reach the file.
    bool close();

private:
    struct Closer {
        void operator()(FILE *file) const { std::fclose(file); }
    };
    std::unique_ptr<FILE, Closer> m_file;
    bool m_failed = false;
};

// The live-insertion flag file.
constexpr const char *ZANTOLiveInsertionPath = "/tmp/lievnt.txt";
// Replaces the flag file's contents; false when it cannot be opened or written.
bool ZANTOWriteLiveInsertionFlag(const char *contents);
