// Login, logout and the release of buffers.
#include "boundary.h"

using namespace sim;
using namespace sim::accesslib;
using wire::Operation;

extern "C" {

VEXAHVRESULT VEXAHV_InitSystem(int32_t systemType, int32_t linkType, const char *linkArg,
                               const char *userName, const char *password, int32_t *handle)
{
    return guarded({linkArg, userName, password, handle}, [&] {
        auto &table = SessionTable::instance();
        const int32_t number = table.newHandle();
        const auto session = std::make_shared<Session>(linkArg);
        const wire::LoginRequest request{number, systemType, linkType, linkArg, userName, password};
        const auto types =
            call<wire::LoginAnswer>(*session, Operation::InitSystem, request).propertyTypes;
        session->setPropertyTypes({types.begin(), types.end()});
        table.add(number, session);
        *handle = number;
    });
}

VEXAHVRESULT VEXAHV_DeinitSystem(int32_t handle)
{
    return guarded({}, [&] {
        call(*SessionTable::instance().take(handle), Operation::DeinitSystem, wire::Nothing());
    });
}

VEXAHVRESULT VEXAHV_Free(void *buffer)
{
    std::free(buffer);
    return VEXAHV_OK;
}

} // extern "C"
