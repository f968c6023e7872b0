// The connection to a crate's control port. Blocks.
#pragma once

#include <chrono>
#include <string>

#include "json.h"

namespace sim::ctl {

struct Settings {
    std::string control; // path of the control port
    bool json = false;
    double timeout = 10; // s, for an answer
};

class Client {
public:
    // Throws Problem when nobody answers there.
    explicit Client(const Settings &settings);
    ~Client();
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;

    const Settings &settings() const { return m_settings; }

    // The answer, whole however long it is. Throws Refused when the crate says no, Problem when it
    // says nothing within the timeout or is gone.
    Json ask(const Json &request);
    // The crate itself waits until the timeout, then refuses.
    Json askToWait(Json request);

private:
    Json ask(const Json &request, std::chrono::milliseconds timeout);
    void send(const std::string &line);
    std::string receiveLine(std::chrono::milliseconds timeout);

    const Settings m_settings;
    int m_socket = -1;
    std::string m_input;
};

// One line, without its end.
std::string lineOf(const Json &json);

} // namespace sim::ctl
