// What a subcommand works with: the crate, and how its answers are wanted.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "connection.h"

namespace sim::ctl {

struct Settings {
    std::string control;
    bool json = false;
    double timeout = 10; // s, for an answer

    std::chrono::milliseconds patience() const
    {
        return std::chrono::milliseconds(static_cast<int64_t>(timeout * 1000));
    }
};

class Client {
public:
    explicit Client(const Settings &settings) : m_settings(settings), m_connection(settings.control)
    {
    }

    const Settings &settings() const { return m_settings; }
    Json ask(const Json &request) { return m_connection.ask(request, m_settings.patience()); }
    // The crate itself waits as long as the user has patience, then says so.
    Json askToWait(Json request);

    // For commands whose success says nothing.
    void order(const Json &request) { show(ask(request), {}); }
    // Prints the answer as JSON if that is wanted, otherwise by the function.
    void show(const Json &answer, const std::function<void(const Json &)> &print) const;

private:
    const Settings m_settings;
    Connection m_connection;
};

} // namespace sim::ctl
