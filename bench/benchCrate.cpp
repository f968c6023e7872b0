#include "benchCrate.h"

#include "accesslib/session.h"
#include "description/defaultcrate.h"
#include "vexahvwrapper.h"

#include <netinet/in.h>
#include <pthread.h>
#include <spdlog/spdlog.h>
#include <sys/socket.h>
#include <unistd.h>

namespace crateBench {

namespace {

constexpr const char *address = "127.61.80.2";
constexpr size_t slots = 16;
constexpr size_t channels = 48;

} // namespace

sim::CrateDescription fullCrate()
{
    sim::CrateDescription crate = sim::defaultCrate();
    const auto board = *crate.slots.front();
    crate.slots.assign(slots, board);
    for (auto &slot : crate.slots)
        slot->channels.assign(channels, board.channels.front());
    return crate;
}

sim::daemon::ServerSettings BenchCrate::settings()
{
    sim::daemon::ServerSettings settings;
    settings.address = address;
    settings.port = 0;
    return settings;
}

BenchCrate::BenchCrate(sim::CrateDescription description)
    : m_server(std::move(description), settings())
{
    spdlog::set_level(spdlog::level::off);
    sim::accesslib::tuning().port = m_server.port();
}

double BenchCrate::cpuSeconds()
{
    clockid_t clock{};
    timespec time{};
    if (pthread_getcpuclockid(m_server.thread().native_handle(), &clock) == 0)
        clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

Login::Login()
{
    int32_t made = -1;
    if (VEXAHV_InitSystem(VEXAHV_SYSTEM_MAINFRAME, VEXAHV_LINK_TCPIP, address, "admin", "admin",
                          &made) == 0)
        handle = made;
}

Login::~Login()
{
    if (handle >= 0)
        VEXAHV_DeinitSystem(handle);
}

Subscriber::Subscriber()
{
    m_listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_addr.s_addr = htonl(INADDR_ANY);
    socklen_t size = sizeof local;
    if (bind(m_listener, reinterpret_cast<sockaddr *>(&local), size) == 0 &&
        listen(m_listener, 8) == 0 &&
        getsockname(m_listener, reinterpret_cast<sockaddr *>(&local), &size) == 0)
        m_port = ntohs(local.sin_port);
}

Subscriber::~Subscriber()
{
    if (m_socket >= 0)
        close(m_socket);
    close(m_listener);
}

bool Subscriber::subscribe(int32_t handle, const sim::CrateDescription &crate, const char *name)
{
    bool accepted = true;
    for (size_t slot = 0; slot < crate.slots.size(); ++slot)
        for (size_t channel = 0; crate.slots[slot] && channel < crate.slots[slot]->channels.size();
             ++channel) {
            char result = 1;
            accepted &= VEXAHV_SubscribeChannelParams(
                            handle, static_cast<int16_t>(m_port), static_cast<uint16_t>(slot),
                            static_cast<uint16_t>(channel), name, 1, &result) == 0 &&
                        result == 0;
        }
    return accepted;
}

bool Subscriber::accept()
{
    m_socket = ::accept(m_listener, nullptr, nullptr);
    return m_socket >= 0;
}

uint32_t Subscriber::nextBatch()
{
    VEXAHVSystemStatus_t status;
    VEXAHVEventData_t *events = nullptr;
    uint32_t count = 0;
    if (VEXAHV_GetEventData(m_socket, &status, &events, &count) != 0)
        return 0;
    VEXAHV_FreeEventData(&events);
    return count;
}

} // namespace crateBench
