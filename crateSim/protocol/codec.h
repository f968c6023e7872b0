// Calls and answers to and from payloads. What arrives may be anything: every
// decoding function throws BadFrame for a payload that it cannot understand.
#pragma once

#include <string_view>

#include "frame.h"
#include "messages.h"
#include "operations.h"

namespace sim::wire {

constexpr size_t maxNesting = 8;

// Keeps the memory that the decoded objects point into.
using Unpacked = msgpack::object_handle;

inline Unpacked unpackPayload(std::string_view payload)
{
    // Texts and lists cannot be longer than the payload that they came in.
    const msgpack::unpack_limit limit(maxPayload, maxPayload, maxPayload, maxPayload, maxPayload,
                                      maxNesting);
    try {
        return msgpack::unpack(payload.data(), payload.size(), nullptr, nullptr, limit);
    } catch (const std::exception &) {
        throw BadFrame("the payload is not a message");
    }
}

template <class Target> Target convert(const msgpack::object &object)
{
    try {
        Target target;
        object.convert(target);
        return target;
    } catch (const std::exception &) {
        throw BadFrame("the message is of another type");
    }
}

// The elements of an array of at least the given length.
inline const msgpack::object *elements(const msgpack::object &object, size_t count)
{
    if (object.type != msgpack::type::ARRAY || object.via.array.size < count)
        throw BadFrame("the message is of another type");
    return object.via.array.ptr;
}

// [code, body]
template <class Body> std::string makeMessage(int32_t code, const Body &body)
{
    msgpack::sbuffer buffer;
    msgpack::packer<msgpack::sbuffer> packer(buffer);
    packer.pack_array(2).pack(code).pack(body);
    return makeFrame(buffer.data(), buffer.size());
}

template <class Body> std::string makeCall(Operation operation, const Body &body)
{
    return makeMessage(static_cast<uint8_t>(operation), body);
}

struct Call {
    Operation operation{};
    msgpack::object body; // lives as long as the Unpacked it was read from
};

inline Call readCall(const Unpacked &unpacked)
{
    const msgpack::object *parts = elements(unpacked.get(), 2);
    const auto operation = convert<uint8_t>(parts[0]);
    if (operation >= operationCount)
        throw BadFrame("unknown operation");
    return {static_cast<Operation>(operation), parts[1]};
}

// The body of a failed call is ignored.
template <class Body> std::string makeAnswer(int32_t result, const Body &body)
{
    return makeMessage(result, body);
}

struct Answer {
    int32_t result;
    msgpack::object body;
};

inline Answer readAnswer(const Unpacked &unpacked)
{
    const msgpack::object *parts = elements(unpacked.get(), 2);
    return {convert<int32_t>(parts[0]), parts[1]};
}

} // namespace sim::wire
