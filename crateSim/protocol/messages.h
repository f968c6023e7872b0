// Bodies of the calls and of their answers, shared by both sides.
//
// Lists and values that the access library hands to its caller travel as the
// very bytes that the caller gets: the crate decides what they hold, the
// library only checks that they fit.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#ifndef MSGPACK_NO_BOOST
#define MSGPACK_NO_BOOST
#endif
#include <msgpack.hpp>

namespace sim::wire {

struct Nothing {
    MSGPACK_DEFINE()
};

struct LoginRequest {
    int32_t handle = 0; // by which the caller knows the session; comes back in events
    int32_t systemType = 0;
    int32_t linkType = 0;
    std::string linkArgument;
    std::string user;
    std::string password;
    MSGPACK_DEFINE(handle, systemType, linkType, linkArgument, user, password)
};

// The type codes of the system properties tell the library how wide the
// caller's value buffers are.
struct LoginAnswer {
    std::vector<std::pair<std::string, uint32_t>> propertyTypes;
    MSGPACK_DEFINE(propertyTypes)
};

struct NameRequest {
    std::string name;
    MSGPACK_DEFINE(name)
};

struct PackedListAnswer {
    uint16_t count = 0;
    std::string list;
    MSGPACK_DEFINE(count, list)
};

struct PropertyInfoAnswer {
    uint32_t mode = 0;
    uint32_t type = 0;
    MSGPACK_DEFINE(mode, type)
};

// A value in the width and byte order in which the caller gets it.
struct BytesAnswer {
    std::string bytes;
    MSGPACK_DEFINE(bytes)
};

struct SetPropertyRequest {
    std::string name;
    std::string bytes;
    MSGPACK_DEFINE(name, bytes)
};

struct CrateMapAnswer {
    uint16_t slotCount = 0;
    std::vector<uint16_t> channelCounts;
    std::string models;
    std::string descriptions;
    std::vector<uint16_t> serialNumbers;
    std::vector<uint8_t> firmwareMinor;
    std::vector<uint8_t> firmwareMajor;
    MSGPACK_DEFINE(slotCount, channelCounts, models, descriptions, serialNumbers, firmwareMinor,
                   firmwareMajor)
};

// channel is -1 where the item is the board's own.
struct PlaceRequest {
    int32_t slot = 0;
    int32_t channel = -1;
    MSGPACK_DEFINE(slot, channel)
};

struct NameTableAnswer {
    std::string table;
    int32_t count = 0;
    MSGPACK_DEFINE(table, count)
};

struct ParameterPropertyRequest {
    int32_t slot = 0;
    int32_t channel = -1;
    std::string parameter;
    std::string property;
    MSGPACK_DEFINE(slot, channel, parameter, property)
};

struct BoardParameterRequest {
    std::vector<uint16_t> slots;
    std::string parameter;
    MSGPACK_DEFINE(slots, parameter)
};

// The value is the 4 bytes of the caller's buffer as a number.
struct SetBoardParameterRequest {
    std::vector<uint16_t> slots;
    std::string parameter;
    uint32_t word = 0;
    MSGPACK_DEFINE(slots, parameter, word)
};

struct ChannelNameRequest {
    uint16_t slot = 0;
    std::vector<uint16_t> channels;
    MSGPACK_DEFINE(slot, channels)
};

struct SetChannelNameRequest {
    uint16_t slot = 0;
    std::vector<uint16_t> channels;
    std::string name;
    MSGPACK_DEFINE(slot, channels, name)
};

struct ChannelParameterRequest {
    uint16_t slot = 0;
    std::string parameter;
    std::vector<uint16_t> channels;
    MSGPACK_DEFINE(slot, parameter, channels)
};

struct SetChannelParameterRequest {
    uint16_t slot = 0;
    std::string parameter;
    std::vector<uint16_t> channels;
    uint32_t word = 0;
    MSGPACK_DEFINE(slot, parameter, channels, word)
};

// slot and channel are -1 where they do not apply.
struct SubscriptionRequest {
    uint16_t port = 0;
    int32_t slot = -1;
    int32_t channel = -1;
    std::string names;
    uint32_t count = 0;
    MSGPACK_DEFINE(port, slot, channel, names, count)
};

} // namespace sim::wire
