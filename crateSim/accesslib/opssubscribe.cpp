// Subscriptions to change events.
#include "boundary.h"

using namespace sim;
using namespace sim::accesslib;

namespace {

using wire::Operation;

VEXAHVRESULT change(Operation operation, int32_t handle, int16_t port, const char *names,
                    uint32_t count, char *results, int32_t slot = -1, int32_t channel = -1)
{
    return guarded({names}, [&] {
        if (results == nullptr && count > 0)
            throw CallFailure{failure::badArgument};
        const wire::SubscriptionRequest request{static_cast<uint16_t>(port), slot, channel, names,
                                                count};
        const auto bytes = call<wire::BytesAnswer>(handle, operation, request).bytes;
        requireUnderstood(bytes.size() == count);
        bytes.copy(results, count);
    });
}

} // namespace

extern "C" {

VEXAHVRESULT VEXAHV_SubscribeSystemParams(int32_t handle, int16_t port, const char *names,
                                          uint32_t count, char *results)
{
    return change(Operation::SubscribeSystemParams, handle, port, names, count, results);
}

VEXAHVRESULT VEXAHV_UnSubscribeSystemParams(int32_t handle, int16_t port, const char *names,
                                            uint32_t count, char *results)
{
    return change(Operation::UnSubscribeSystemParams, handle, port, names, count, results);
}

VEXAHVRESULT VEXAHV_SubscribeBoardParams(int32_t handle, int16_t port, uint16_t slot,
                                         const char *names, uint32_t count, char *results)
{
    return change(Operation::SubscribeBoardParams, handle, port, names, count, results, slot);
}

VEXAHVRESULT VEXAHV_UnSubscribeBoardParams(int32_t handle, int16_t port, uint16_t slot,
                                           const char *names, uint32_t count, char *results)
{
    return change(Operation::UnSubscribeBoardParams, handle, port, names, count, results, slot);
}

VEXAHVRESULT VEXAHV_SubscribeChannelParams(int32_t handle, int16_t port, uint16_t slot,
                                           uint16_t channel, const char *names, uint32_t count,
                                           char *results)
{
    return change(Operation::SubscribeChannelParams, handle, port, names, count, results, slot,
                  channel);
}

VEXAHVRESULT VEXAHV_UnSubscribeChannelParams(int32_t handle, int16_t port, uint16_t slot,
                                             uint16_t channel, const char *names, uint32_t count,
                                             char *results)
{
    return change(Operation::UnSubscribeChannelParams, handle, port, names, count, results, slot,
                  channel);
}

} // extern "C"
