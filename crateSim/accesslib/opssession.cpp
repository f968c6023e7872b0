// Login, logout and the release of buffers.
#include "boundary.h"

using namespace sim;
using namespace sim::accesslib;

namespace {

Socket connected(const char *host)
{
    Socket socket;
    const Deadline deadline = std::chrono::steady_clock::now() + tuning().timeout;
    const Transfer result = socket.connect(host, tuning().port, deadline);
    if (result == Transfer::Interrupted)
        throw CallFailure{failure::interrupted};
    if (result != Transfer::Done)
        throw CallFailure{failure::cannotConnect};
    return socket;
}

} // namespace

extern "C" {

VEXAHVRESULT VEXAHV_InitSystem(int32_t systemType, int32_t linkType, const char *linkArg,
                               const char *userName, const char *password, int32_t *handle)
{
    return guarded([&] {
        requireArguments(linkArg, userName, password, handle);
        auto &table = SessionTable::instance();
        const int32_t number = table.newHandle();
        const auto session = std::make_shared<Session>(connected(linkArg));
        const wire::LoginRequest request{number, systemType, linkType, linkArg, userName, password};
        constexpr auto operation = wire::Operation::InitSystem;
        const Reply reply(session->exchange(operation, wire::makeCall(operation, request)));
        const auto types = reply.body<wire::LoginAnswer>().propertyTypes;
        session->setPropertyTypes({types.begin(), types.end()});
        table.add(number, session);
        *handle = number;
    });
}

VEXAHVRESULT VEXAHV_DeinitSystem(int32_t handle)
{
    return guarded([&] {
        const auto session = SessionTable::instance().take(handle);
        constexpr auto operation = wire::Operation::DeinitSystem;
        Reply(session->exchange(operation, wire::makeCall(operation, wire::Nothing())));
    });
}

VEXAHVRESULT VEXAHV_Free(void *buffer)
{
    std::free(buffer);
    return VEXAHV_OK;
}

} // extern "C"
