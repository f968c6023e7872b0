// Subscriptions to change events.
#include "boundary.h"

using namespace sim;
using namespace sim::accesslib;

namespace {

using wire::Operation;

constexpr int32_t none = -1;

VEXAHVRESULT change(Operation operation, int32_t handle, int16_t port, int32_t slot,
                    int32_t channel, const char *names, uint32_t count, char *results)
{
    return guarded([&] {
        requireArguments(names);
        if (results == nullptr && count > 0)
            throw CallFailure{failure::badArgument};
        const wire::SubscriptionRequest request{static_cast<uint16_t>(port), slot, channel, names,
                                                count};
        const auto bytes = call(handle, operation, request).body<wire::BytesAnswer>().bytes;
        requireUnderstood(bytes.size() == count);
        if (count > 0)
            std::memcpy(results, bytes.data(), count);
    });
}

} // namespace

extern "C" {

VEXAHVRESULT VEXAHV_SubscribeSystemParams(int32_t handle, int16_t port, const char *names,
                                          uint32_t count, char *results)
{
    return change(Operation::SubscribeSystemParams, handle, port, none, none, names, count,
                  results);
}

VEXAHVRESULT VEXAHV_UnSubscribeSystemParams(int32_t handle, int16_t port, const char *names,
                                            uint32_t count, char *results)
{
    return change(Operation::UnSubscribeSystemParams, handle, port, none, none, names, count,
                  results);
}

VEXAHVRESULT VEXAHV_SubscribeBoardParams(int32_t handle, int16_t port, uint16_t slot,
                                         const char *names, uint32_t count, char *results)
{
    return change(Operation::SubscribeBoardParams, handle, port, slot, none, names, count, results);
}

VEXAHVRESULT VEXAHV_UnSubscribeBoardParams(int32_t handle, int16_t port, uint16_t slot,
                                           const char *names, uint32_t count, char *results)
{
    return change(Operation::UnSubscribeBoardParams, handle, port, slot, none, names, count,
                  results);
}

VEXAHVRESULT VEXAHV_SubscribeChannelParams(int32_t handle, int16_t port, uint16_t slot,
                                           uint16_t channel, const char *names, uint32_t count,
                                           char *results)
{
    return change(Operation::SubscribeChannelParams, handle, port, slot, channel, names, count,
                  results);
}

VEXAHVRESULT VEXAHV_UnSubscribeChannelParams(int32_t handle, int16_t port, uint16_t slot,
                                             uint16_t channel, const char *names, uint32_t count,
                                             char *results)
{
    return change(Operation::UnSubscribeChannelParams, handle, port, slot, channel, names, count,
                  results);
}

} // extern "C"
