#include "client.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "problem.h"

namespace sim::ctl {

namespace {

std::string noCrateText(const std::string &path, int error)
{
    return fmt::format("no crate answers at {} ({}).\n"
                       "Start one with \"zantocrate --control {}\", or give the path of its"
                       " control port with --control",
                       path, std::strerror(error), path);
}

sockaddr_un addressOf(const std::string &path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path)
        throw Problem(fmt::format("\"{}\" cannot be the path of a socket: it is empty or longer"
                                  " than {} bytes",
                                  path, sizeof address.sun_path - 1));
    path.copy(address.sun_path, path.size());
    return address;
}

std::chrono::milliseconds patienceOf(const Settings &settings)
{
    return std::chrono::milliseconds(static_cast<int64_t>(settings.timeout * 1000));
}

} // namespace

Client::Client(const Settings &settings) : m_settings(settings)
{
    const std::string &path = settings.control;
    const sockaddr_un address = addressOf(path);
    m_socket = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (m_socket < 0)
        throw Problem(fmt::format("cannot create a socket: {}", std::strerror(errno)));
    if (connect(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        const int error = errno;
        close(m_socket);
        throw Problem(noCrateText(path, error));
    }
}

Client::~Client() { close(m_socket); }

Json Client::ask(const Json &request) { return ask(request, patienceOf(m_settings)); }

Json Client::askToWait(Json request)
{
    request["timeout"] = m_settings.timeout;
    constexpr auto forTheAnswer = std::chrono::seconds(5);
    return ask(request, patienceOf(m_settings) + forTheAnswer);
}

Json Client::ask(const Json &request, std::chrono::milliseconds timeout)
{
    send(lineOf(request) + '\n');
    Json answer = Json::parse(receiveLine(timeout), nullptr, false);
    if (!answer.is_object())
        throw Problem(fmt::format("what answers at {} is not a crate", m_settings.control));
    if (!answer.value("ok", false))
        throw Refused(std::move(answer));
    return answer;
}

void Client::send(const std::string &line)
{
    for (size_t sent = 0; sent < line.size();) {
        const ssize_t count =
            ::send(m_socket, line.data() + sent, line.size() - sent, MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            throw Problem(fmt::format("the crate at {} is gone: {}", m_settings.control,
                                      std::strerror(errno)));
        sent += static_cast<size_t>(count);
    }
}

std::string Client::receiveLine(std::chrono::milliseconds timeout)
{
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + timeout;
    size_t searched = 0;
    for (;;) {
        const size_t end = m_input.find('\n', searched);
        if (end != std::string::npos) {
            std::string line = m_input.substr(0, end);
            m_input.erase(0, end + 1);
            return line;
        }
        searched = m_input.size();
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd poll{m_socket, POLLIN, 0};
        if (left <= 0 || ::poll(&poll, 1, static_cast<int>(left)) == 0)
            throw Problem(fmt::format("the crate at {} did not answer within {} s",
                                      m_settings.control,
                                      static_cast<double>(timeout.count()) / 1000));
        std::array<char, 65536> buffer;
        const ssize_t count = recv(m_socket, buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (count > 0)
            m_input.append(buffer.data(), static_cast<size_t>(count));
        else if (count == 0 || (errno != EAGAIN && errno != EINTR))
            throw Problem(
                fmt::format("the crate at {} has closed the connection", m_settings.control));
    }
}

std::string lineOf(const Json &json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace sim::ctl
