// The command line of zantoioc.
#pragma once

#include <cstdint>
#include <string>

struct ZANTOCommandLine {
    std::string script;              // at most 254 bytes
    std::string crateName = "ZANTO"; // from -c
    std::string host = "127.0.0.1";  // from -c
    std::string user;                // at most 254 bytes
    std::string password;            // at most 254 bytes
    bool credentials = false;        // -u or -p had a value
    bool daemon = false;
    bool version = false;   // -v was met; later arguments were not read
    int16_t crateCount = 0; // how many -c had a value
};

// Reads the arguments from the second one on; the first is the script's path. Stores the debug
// level in DEBUG. Overwrites the password in `argv` once it is copied, so that no process list
// shows it.
ZANTOCommandLine ZANTOParseCommandLine(int argc, char *argv[]);

// The two tokens of a -c value, split as strtok does at "@".
void ZANTOSplitCrate(const std::string &value, std::string &crateName, std::string &host);
