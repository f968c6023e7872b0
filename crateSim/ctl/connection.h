// The connection to a crate's control port. Blocks.
#pragma once

#include <chrono>
#include <string>

#include "json.h"

namespace sim::ctl {

class Connection {
public:
    // Throws Problem when nobody answers there.
    explicit Connection(const std::string &path);
    ~Connection();
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    // The answer, whole however long it is. Throws Refused when the crate says
    // no, Problem when it says nothing for that long or is gone.
    Json ask(const Json &request, std::chrono::milliseconds timeout);

private:
    void send(const std::string &line);
    std::string receiveLine(std::chrono::milliseconds timeout);

    const std::string m_path;
    int m_socket = -1;
    std::string m_input;
};

} // namespace sim::ctl
