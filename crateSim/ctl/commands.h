// The subcommands: what the user may write, the request that comes of it, and
// how the answer is shown.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "connection.h"
#include "views.h"

namespace CLI {
class App;
}

namespace sim::ctl {

struct Settings {
    std::string control;
    bool json = false;
    double timeout = 10;  // s, for an answer

    std::chrono::milliseconds patience() const
    {
        return std::chrono::milliseconds(static_cast<int64_t>(timeout * 1000));
    }
};

// What a subcommand works with.
class Client {
public:
    explicit Client(const Settings &settings)
        : m_settings(settings), m_connection(settings.control)
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

// Carries out what the user chose; the result is the exit status.
using Action = std::function<int(Client &)>;

// Each declares subcommands that set the action when they are chosen.
void declareCrateCommands(CLI::App &app, Action &chosen);
void declareHardwareCommands(CLI::App &app, Action &chosen);
void declareClockCommands(CLI::App &app, Action &chosen);
void declareTrafficCommands(CLI::App &app, Action &chosen);
void declareFaultCommands(CLI::App &app, Action &chosen);

} // namespace sim::ctl
