// What zantocrate may be told on its command line.
#pragma once

#include <string>

#include "server.h"

namespace CLI {
class App;
}

namespace sim::daemon {

struct Arguments {
    ServerSettings server;
    std::string file;
    bool check = false;
    bool printDefault = false;
    std::string user;
    std::string password;
    std::string logLevel = "info";
};

// Declares the options that fill the arguments, which must outlive the parsing.
void declare(CLI::App &app, Arguments &arguments);

} // namespace sim::daemon
