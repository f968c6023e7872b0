// The library's C operations on events and buffers.
#include "FakeCall.h"

#include <algorithm>

namespace {

int32_t subscription(const std::string &call, int32_t handle, const std::string &names,
                     uint32_t count, char *results)
{
    return operate(call, handle, [&] {
        std::size_t at = 0;
        for (uint32_t i = 0; i < count; ++i) {
            at = std::min(names.find_first_not_of(':', at), names.size());
            const std::size_t end = std::min(names.find(':', at), names.size());
            results[i] = fake().isRefused(names.substr(at, end - at)) ? 1 : 0;
            at = end;
        }
        return 0;
    });
}

} // namespace

VEXAHVRESULT VEXAHV_SubscribeSystemParams(int32_t handle, int16_t port, const char *names,
                                          uint32_t count, char *results)
{
    const FakeOperation operation;
    return subscription(callText("SubscribeSystemParams", handle, port, names, count), handle,
                        names, count, results);
}

VEXAHVRESULT VEXAHV_UnSubscribeSystemParams(int32_t handle, int16_t port, const char *names,
                                            uint32_t count, char *results)
{
    const FakeOperation operation;
    return subscription(callText("UnSubscribeSystemParams", handle, port, names, count), handle,
                        names, count, results);
}

VEXAHVRESULT VEXAHV_SubscribeBoardParams(int32_t handle, int16_t port, uint16_t slot,
                                         const char *names, uint32_t count, char *results)
{
    const FakeOperation operation;
    return subscription(callText("SubscribeBoardParams", handle, port, slot, names, count), handle,
                        names, count, results);
}

VEXAHVRESULT VEXAHV_UnSubscribeBoardParams(int32_t handle, int16_t port, uint16_t slot,
                                           const char *names, uint32_t count, char *results)
{
    const FakeOperation operation;
    return subscription(callText("UnSubscribeBoardParams", handle, port, slot, names, count),
                        handle, names, count, results);
}

VEXAHVRESULT VEXAHV_SubscribeChannelParams(int32_t handle, int16_t port, uint16_t slot,
                                           uint16_t channel, const char *names, uint32_t count,
                                           char *results)
{
    const FakeOperation operation;
    return subscription(
        callText("SubscribeChannelParams", handle, port, slot, channel, names, count), handle,
        names, count, results);
}

VEXAHVRESULT VEXAHV_UnSubscribeChannelParams(int32_t handle, int16_t port, uint16_t slot,
                                             uint16_t channel, const char *names, uint32_t count,
                                             char *results)
{
    const FakeOperation operation;
    return subscription(
        callText("UnSubscribeChannelParams", handle, port, slot, channel, names, count), handle,
        names, count, results);
}

// Outputs of a failed call mean nothing: an array that is gone, and a count.
VEXAHVRESULT VEXAHV_GetEventData(int32_t socket, VEXAHVSystemStatus_t *status,
                                 VEXAHVEventData_t **events, uint32_t *count)
{
    static char gone[1];
    const FakeOperation operation;
    const int32_t fault = fake().enter(callText("GetEventData", socket));
    std::vector<VEXAHVEventData_t> batch;
    std::memset(status, 0xA5, sizeof(*status));
    *events = reinterpret_cast<VEXAHVEventData_t *>(gone);
    *count = 1000;
    if (fault != 0)
        return fault;
    if (!fake().takeEvents(batch))
        return FakeAccessLibrary::eventsEnded;
    std::string bytes;
    for (const VEXAHVEventData_t &event : batch)
        bytes += FakeBytes::of(event).raw;
    *count = static_cast<uint32_t>(batch.size());
    *events = handOut<VEXAHVEventData_t>("events", bytes);
    return VEXAHV_OK;
}

VEXAHVRESULT VEXAHV_FreeEventData(VEXAHVEventData_t **events)
{
    const FakeOperation operation;
    const int32_t fault = fake().enter("FreeEventData");
    fake().release(*events);
    *events = nullptr;
    return fault;
}

VEXAHVRESULT VEXAHV_Free(void *buffer)
{
    const FakeOperation operation;
    fake().release(buffer);
    return VEXAHV_OK;
}
