// A crate as plain data: what FakeAccessLibrary answers from.
#pragma once

#include "vexahvwrapper.h"

#include <cstdint>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

// A value exactly as the library writes it into the caller's buffer: these bytes and no more.
struct FakeBytes {
    std::string raw;

    template <typename T> static FakeBytes of(T value)
    {
        FakeBytes bytes;
        bytes.raw.resize(sizeof(T));
        std::memcpy(bytes.raw.data(), &value, sizeof(T));
        return bytes;
    }
    // With the NUL that ends it.
    static FakeBytes text(const std::string &text)
    {
        return {std::string(text.c_str(), text.size() + 1)};
    }

    template <typename T> T as() const
    {
        T value{};
        std::memcpy(&value, raw.data(), raw.size() < sizeof(T) ? raw.size() : sizeof(T));
        return value;
    }
    std::string asText() const { return raw.c_str(); }
};

struct FakeSysProp {
    std::string name;
    uint32_t type = VEXAHV_SYSPROP_TEXT;
    uint32_t mode = VEXAHV_MODE_READ;
    FakeBytes value;
};

// A parameter of a board or a channel. A property that is not in the map cannot be read;
// "Type" and "Mode" are answered from the members.
struct FakeParameter {
    std::string name;
    uint32_t type = VEXAHV_PARAM_NUMERIC;
    uint32_t mode = VEXAHV_MODE_READ;
    FakeBytes value;
    std::map<std::string, FakeBytes> properties;
};

struct FakeChannel {
    std::string name;
    std::vector<FakeParameter> parameters;
};

// A slot of the crate; without channels it is empty.
struct FakeBoard {
    std::string model;
    std::string description;
    uint16_t serialNumber = 0;
    uint8_t firmwareMinor = 0;
    uint8_t firmwareMajor = 0;
    std::vector<FakeParameter> parameters;
    std::vector<FakeChannel> channels;
};

struct FakeCrate {
    std::vector<FakeSysProp> properties;
    std::vector<std::string> commands;
    std::vector<FakeBoard> slots;

    // Answers that no sane library gives.

    // Lists that come back null from a call that succeeds: "sysPropNames", "commandNames",
    // "boardParamNames", "channelParamNames", "channelCounts", "models", "descriptions",
    // "serialNumbers", "firmwareMinor", "firmwareMajor".
    std::set<std::string> withheldLists;
    // Added to the count that comes with a channel's parameter table.
    int32_t paramCountError = 0;
};

FakeSysProp fakeSysProp(const std::string &name, uint32_t type, uint32_t mode,
                        const FakeBytes &value);
// With all five properties. `exponent` is a power of ten, `unit` a unit code.
FakeParameter fakeNumeric(const std::string &name, uint32_t mode, float value, float lowest,
                          float highest, uint16_t unit = 0, int16_t exponent = 0,
                          int16_t decimals = 0);
FakeParameter fakeOnOff(const std::string &name, uint32_t mode, uint32_t value,
                        const std::string &on = "On", const std::string &off = "Off");
// A parameter without properties: status words, texts, unknown types.
FakeParameter fakePlain(const std::string &name, uint32_t type, uint32_t mode, int32_t value = 0);
// An integer or an enumeration with limits, unit and exponent.
FakeParameter fakeInteger(const std::string &name, uint32_t type, uint32_t mode, int32_t value);
// `channelCount` channels named CH0, CH1, ... with these parameters each.
FakeBoard fakeBoard(const std::string &model, uint16_t channelCount,
                    const std::vector<FakeParameter> &boardParameters,
                    const std::vector<FakeParameter> &channelParameters);

// Slots: board, empty, board. Every kind of item once, two channels per board.
FakeCrate smallFakeCrate();
