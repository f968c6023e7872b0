// A crate with a control port, and what talks to it.
#pragma once

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "control/fields.h"
#include "runningCrate.h"

namespace crateTest {

using sim::control::Json;

inline std::string temporaryPath()
{
    return testing::TempDir() + "zantocrate-" + std::to_string(getpid()) + ".control";
}

// One connection to the control port.
class Controller {
public:
    explicit Controller(const std::string &path = temporaryPath())
    {
        m_socket = socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(connect(m_socket, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    }
    ~Controller() { close(m_socket); }

    void send(const std::string &line)
    {
        const std::string bytes = line + "\n";
        EXPECT_EQ(write(m_socket, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }
    Json receive()
    {
        std::string line;
        for (char byte = 0; ::read(m_socket, &byte, 1) == 1 && byte != '\n';)
            line += byte;
        return Json::parse(line);
    }
    Json ask(const Json &request)
    {
        send(request.dump());
        return receive();
    }
    std::string errorOf(const std::string &line)
    {
        send(line);
        const Json answer = receive();
        EXPECT_EQ(answer["ok"], false);
        return answer["error"];
    }

private:
    int m_socket = -1;
};

inline sim::daemon::ServerSettings controlled()
{
    auto settings = RunningCrate::quick();
    settings.controlPath = temporaryPath();
    return settings;
}

} // namespace crateTest
