// Batches of events: [handle, [[kind, slot, channel, name, value] ...]].
// A value is a 32-bit float, an integer or a text, as the item's type has it.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

#include "codec.h"

namespace sim::wire {

enum class EventKind : int32_t { Parameter = 0, Alarm = 1, KeepAlive = 2 };

// Bounds what a receiver has to allocate for one batch.
constexpr size_t maxBatchRecords = 8192;

// Collects the records of one batch and frames them.
class BatchWriter {
public:
    BatchWriter() = default;
    BatchWriter(const BatchWriter &) = delete;
    BatchWriter &operator=(const BatchWriter &) = delete;

    template <class Value>
    void add(EventKind kind, int32_t slot, int32_t channel, std::string_view name,
             const Value &value)
    {
        m_packer.pack_array(5);
        m_packer.pack(static_cast<int32_t>(kind)).pack(slot).pack(channel);
        m_packer.pack_str(static_cast<uint32_t>(name.size()));
        m_packer.pack_str_body(name.data(), static_cast<uint32_t>(name.size()));
        packValue(value);
        ++m_count;
    }

    size_t count() const { return m_count; }
    size_t size() const { return m_records.size(); }

    std::string finish(int32_t handle) const
    {
        msgpack::sbuffer payload;
        msgpack::packer<msgpack::sbuffer> packer(payload);
        packer.pack_array(2).pack(handle);
        packer.pack_array(static_cast<uint32_t>(m_count));
        payload.write(m_records.data(), m_records.size());
        return makeFrame(payload.data(), payload.size());
    }

private:
    template <class Value> void packValue(const Value &value) { m_packer.pack(value); }

    // The packer turns a whole float into an integer; the reader tells the member of the value
    // union by the kind, so a float has to stay one.
    void packValue(float value)
    {
        constexpr unsigned char float32 = 0xca;
        uint32_t bits;
        std::memcpy(&bits, &value, sizeof(bits));
        const unsigned char bytes[] = {
            float32, static_cast<unsigned char>(bits >> 24), static_cast<unsigned char>(bits >> 16),
            static_cast<unsigned char>(bits >> 8), static_cast<unsigned char>(bits)};
        m_records.write(reinterpret_cast<const char *>(bytes), sizeof(bytes));
    }

    msgpack::sbuffer m_records;
    msgpack::packer<msgpack::sbuffer> m_packer{m_records};
    size_t m_count = 0;
};

struct Event {
    EventKind kind;
    int32_t slot;
    int32_t channel;
    std::string_view name;
    const msgpack::object *value;
};

// Walks a batch; the events live as long as the Unpacked.
class BatchReader {
public:
    explicit BatchReader(const Unpacked &unpacked)
    {
        const msgpack::object *parts = elements(unpacked.get(), 2);
        m_handle = convert<int32_t>(parts[0]);
        m_records = elements(parts[1], 0);
        m_count = parts[1].via.array.size;
        if (m_count > maxBatchRecords)
            throw BadFrame("the batch is too long");
    }

    int32_t handle() const { return m_handle; }
    size_t count() const { return m_count; }

    Event event(size_t index) const
    {
        const msgpack::object *parts = elements(m_records[index], 5);
        return {static_cast<EventKind>(convert<int32_t>(parts[0])), convert<int32_t>(parts[1]),
                convert<int32_t>(parts[2]), convert<std::string_view>(parts[3]), &parts[4]};
    }

private:
    int32_t m_handle = 0;
    const msgpack::object *m_records = nullptr;
    size_t m_count = 0;
};

} // namespace sim::wire
