#include "port.h"

#include <spdlog/spdlog.h>
#include <sys/stat.h>
#include <unistd.h>

#include "commands.h"

namespace sim::control {

namespace {

constexpr size_t longestLine = size_t{64} * 1024;
constexpr std::chrono::milliseconds retry{50};

// One connection: a line in, a line out, in turn.
class ControlSession : public std::enable_shared_from_this<ControlSession> {
public:
    ControlSession(Local::socket socket, const ControlContext &context)
        : m_socket(std::move(socket)), m_context(context)
    {
    }

    void read()
    {
        asio::async_read_until(m_socket, asio::dynamic_buffer(m_input, longestLine), '\n',
                               [self = shared_from_this()](const Error &error, size_t length) {
                                   if (!error)
                                       self->execute(length);
                                   else if (error == asio::error::not_found)
                                       self->answer(failure("the line is too long"), false);
                               });
    }

private:
    void execute(size_t length)
    {
        const std::string line = m_input.substr(0, length - 1);
        m_input.erase(0, length);
        runControlCommand(m_context, line, [self = shared_from_this()](const Json &json) {
            self->answer(json, true);
        });
    }

    void answer(const Json &json, bool goOn)
    {
        m_output = json.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
        asio::async_write(m_socket, asio::buffer(m_output),
                          [self = shared_from_this(), goOn](const Error &error, size_t) {
                              if (!error && goOn)
                                  self->read();
                          });
    }

    Local::socket m_socket;
    const ControlContext m_context;
    std::string m_input;
    std::string m_output;
};

Local::endpoint endpointFor(const std::string &path)
{
    try {
        return Local::endpoint(path);
    } catch (const asio::system_error &) {
        throw std::invalid_argument("the control port's path is too long: " + path);
    }
}

// A socket file at which nobody answers is left over from an earlier run.
void removeLeftOver(asio::io_context &context, const Local::endpoint &endpoint)
{
    struct stat status {};
    if (lstat(endpoint.path().c_str(), &status) != 0 || !S_ISSOCK(status.st_mode))
        return;
    Local::socket probe(context);
    Error error;
    probe.connect(endpoint, error);
    if (error == asio::error::connection_refused)
        unlink(endpoint.path().c_str());
}

} // namespace

ControlPort::ControlPort(asio::io_context &context, const std::string &path, SimulationState &state)
    : m_context(context), m_state(state), m_path(path), m_waits(context), m_acceptor(context)
{
    const Local::endpoint endpoint = endpointFor(path);
    removeLeftOver(context, endpoint);
    const mode_t before = umask(0077); // for the user of the crate only
    try {
        m_acceptor.open();
        m_acceptor.bind(endpoint);
        umask(before);
        m_acceptor.listen();
    } catch (const asio::system_error &failure) {
        umask(before);
        throw asio::system_error(failure.code(), "cannot open the control port " + path);
    }
    m_state.onChange = [this] { m_waits.check(); };
    accept();
}

ControlPort::~ControlPort() { unlink(m_path.c_str()); }

// Without a free descriptor the next attempt waits for a while.
void ControlPort::accept()
{
    m_acceptor.async_accept([this](const Error &error, Local::socket socket) {
        if (error == asio::error::operation_aborted)
            return;
        if (error) {
            spdlog::warn("control port: cannot accept: {}", error.message());
            auto pause = std::make_shared<asio::steady_timer>(m_context, retry);
            pause->async_wait([this, pause](const Error &) { accept(); });
            return;
        }
        const ControlContext context{m_context, m_state, m_waits};
        std::make_shared<ControlSession>(std::move(socket), context)->read();
        accept();
    });
}

} // namespace sim::control
