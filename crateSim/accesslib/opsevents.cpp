// Events from the socket that the caller accepted.
#include <algorithm>

#include "protocol/events.h"
#include "boundary.h"

using namespace sim;
using namespace sim::accesslib;

namespace {

// Judged as the bytes come in, so that nothing waits for a peer that speaks something else and
// sends little.
wire::Header readHeader(int32_t socket)
{
    wire::Header header{};
    size_t received = 0;
    while (received < header.size()) {
        received += receiveSome(socket, header.data() + received, header.size() - received);
        if (!wire::isHeaderStart(header, received))
            throw CallFailure{failure::notUnderstood};
    }
    return header;
}

std::string readPayload(int32_t socket, uint32_t length)
{
    std::string payload(length, '\0');
    size_t received = 0;
    while (received < payload.size())
        received += receiveSome(socket, payload.data() + received, payload.size() - received);
    return payload;
}

// The record's memory is zero already, so a cut text keeps its NUL.
void copyText(std::string_view text, char *target, size_t size)
{
    if (!text.empty())
        text.copy(target, size - 1);
}

void fillValue(const msgpack::object &value, IDValue_t &target)
{
    if (value.type == msgpack::type::STR)
        copyText(wire::convert<std::string_view>(value), target.StringValue,
                 sizeof target.StringValue);
    else if (value.type == msgpack::type::FLOAT32)
        target.FloatValue = wire::convert<float>(value);
    else
        target.IntValue = static_cast<int32_t>(wire::convert<int64_t>(value));
}

void fillRecord(const wire::Event &event, int32_t handle, VEXAHVEventData_t &record)
{
    record.Type = static_cast<int32_t>(event.kind);
    record.SystemHandle = handle;
    record.BoardIndex = event.slot;
    record.ChannelIndex = event.channel;
    copyText(event.name, record.ItemID, sizeof record.ItemID);
    fillValue(*event.value, record.Value);
}

Buffer<VEXAHVEventData_t> makeRecords(const wire::BatchReader &batch)
{
    Buffer<VEXAHVEventData_t> records(static_cast<VEXAHVEventData_t *>(
        std::calloc(std::max<size_t>(batch.count(), 1), sizeof(VEXAHVEventData_t))));
    if (!records)
        throw std::bad_alloc();
    for (size_t index = 0; index < batch.count(); ++index)
        fillRecord(batch.event(index), batch.handle(), records[index]);
    return records;
}

} // namespace

extern "C" {

VEXAHVRESULT VEXAHV_GetEventData(int32_t socket, VEXAHVSystemStatus_t *status,
                                 VEXAHVEventData_t **events, uint32_t *count)
{
    return guarded({events, count}, [&] {
        const std::string payload = readPayload(socket, wire::payloadLength(readHeader(socket)));
        const wire::Unpacked unpacked = wire::unpackPayload(payload);
        const wire::BatchReader batch(unpacked);
        auto records = makeRecords(batch);
        if (status != nullptr)
            std::memset(status, 0, sizeof *status);
        *events = records.release();
        *count = static_cast<uint32_t>(batch.count());
    });
}

VEXAHVRESULT VEXAHV_FreeEventData(VEXAHVEventData_t **events)
{
    if (events == nullptr)
        return failure::badArgument;
    std::free(*events);
    *events = nullptr;
    return VEXAHV_OK;
}

} // extern "C"
