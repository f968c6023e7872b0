#include "runningCrate.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <spdlog/spdlog.h>
#include <sys/socket.h>
#include <unistd.h>

#include "accesslib/session.h"
#include "description/defaultcrate.h"

namespace crateTest {

using namespace std::chrono_literals;

sim::daemon::ServerSettings RunningCrate::quick()
{
    sim::daemon::ServerSettings settings;
    settings.address = "127.61.80.1";
    settings.port = 0;
    settings.tick = 2ms;
    settings.links.retry = 2ms;
    return settings;
}

RunningCrate::RunningCrate(sim::daemon::ServerSettings settings)
    : RunningCrate(sim::defaultCrate(), std::move(settings))
{
}

RunningCrate::RunningCrate(sim::CrateDescription description, sim::daemon::ServerSettings settings)
    : m_settings(std::move(settings)), m_server(std::move(description), m_settings)
{
    spdlog::set_level(spdlog::level::off);
    sim::accesslib::tuning().port = m_server.port();
    sim::accesslib::tuning().timeout = 20s;
}

void RunningCrate::order(const sim::FaultFields &fields)
{
    std::vector<sim::FaultProblem> problems;
    const auto read = sim::readFaultOrder(fields, problems);
    ASSERT_TRUE(read) << problems.front().text;
    on([&](auto &state) {
        state.orderFault(*read);
        return 0;
    });
}

uint64_t RunningCrate::applied(sim::FaultKind kind)
{
    return on([kind](auto &state) { return state.statistics.faults.of(kind); });
}

Login::Login(const RunningCrate &crate, const char *user, const char *password)
{
    result = VEXAHV_InitSystem(VEXAHV_SYSTEM_MAINFRAME, VEXAHV_LINK_TCPIP, crate.address().c_str(),
                               user, password, &handle);
}

Login::~Login()
{
    if (result == 0)
        VEXAHV_DeinitSystem(handle);
}

namespace {

bool isReadable(int descriptor)
{
    pollfd entry{descriptor, POLLIN, 0};
    const auto limit = std::chrono::milliseconds(patience).count();
    return poll(&entry, 1, static_cast<int>(limit)) == 1;
}

SeenEvent seen(const VEXAHVEventData_t &event)
{
    return {event.Type,
            event.SystemHandle,
            event.BoardIndex,
            event.ChannelIndex,
            event.ItemID,
            event.Value.FloatValue,
            event.Value.IntValue,
            std::string(event.Value.StringValue,
                        strnlen(event.Value.StringValue, sizeof event.Value.StringValue))};
}

} // namespace

EventReceiver::EventReceiver()
{
    m_listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    socklen_t size = sizeof address;
    bind(m_listener, reinterpret_cast<sockaddr *>(&address), size);
    listen(m_listener, 8);
    getsockname(m_listener, reinterpret_cast<sockaddr *>(&address), &size);
    m_port = ntohs(address.sin_port);
}

EventReceiver::~EventReceiver()
{
    close(m_listener);
    hangUp();
}

void EventReceiver::hangUp()
{
    if (m_socket >= 0)
        close(m_socket);
    m_socket = -1;
}

bool EventReceiver::accept()
{
    if (!isReadable(m_listener))
        return false;
    hangUp();
    m_socket = ::accept(m_listener, nullptr, nullptr);
    // Who reads from the socket itself is to be as patient as the others.
    const timeval limit{patience.count(), 0};
    return setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit) == 0;
}

std::vector<SeenEvent> EventReceiver::nextBatch()
{
    std::vector<SeenEvent> batch;
    VEXAHVSystemStatus_t status;
    VEXAHVEventData_t *events = nullptr;
    uint32_t count = 0;
    if (!isReadable(m_socket) || VEXAHV_GetEventData(m_socket, &status, &events, &count) != 0)
        return batch;
    for (uint32_t index = 0; index < count; ++index)
        batch.push_back(seen(events[index]));
    EXPECT_EQ(VEXAHV_FreeEventData(&events), 0);
    EXPECT_EQ(events, nullptr);
    return batch;
}

bool EventReceiver::waitFor(const std::string &name,
                            const std::function<bool(const SeenEvent &)> &condition)
{
    for (auto batch = nextBatch(); !batch.empty(); batch = nextBatch())
        for (const auto &event : batch)
            if (event.name == name && condition(event))
                return true;
    return false;
}

bool EventReceiver::isClosed()
{
    char byte = 0;
    while (isReadable(m_socket)) {
        const ssize_t received = recv(m_socket, &byte, 1, 0);
        if (received <= 0)
            return true;
    }
    return false;
}

} // namespace crateTest
