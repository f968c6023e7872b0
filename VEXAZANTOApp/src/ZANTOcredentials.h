// User and password from a file, for servers whose command line others can read.
#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <string>

struct ZANTOCredentials {
    std::string user;     // at most 254 bytes
    std::string password; // at most 254 bytes
};

// Reads lines "user=..." and "password=...", each exactly once; empty lines and those whose first
// character is "#" mean nothing. Refuses anything but a regular file of `self` or of root that
// nobody else can read or write; one of root may be readable by its group. Never waits for a
// writer. Returns what is wrong with the file, without any of its contents, and then leaves
// `credentials` alone; an empty text if it could be used. What was read is blanked.
std::string ZANTOReadCredentials(const char *path, ZANTOCredentials &credentials,
                                 uid_t self = geteuid());
