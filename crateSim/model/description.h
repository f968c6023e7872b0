// What a crate consists of, as plain data. A running Crate is built from it;
// it says nothing about the present state beyond the start values.
#pragma once

#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "codes.h"
#include "value.h"

namespace sim {

// What a parameter means to the physics. A parameter without a role is a plain
// store. The numeric order is that of a channel's role table.
enum class Role : uint8_t {
    None,
    // of a channel
    VoltageSet,
    CurrentSet,
    RampUp,
    RampDown,
    TripTime, // at its upper limit the channel never trips
    VoltageLimit,
    Power,
    PowerDown, // 0: killed when switched off or tripped, otherwise ramped
    Voltage,
    Current,
    Status,
    TripCause,      // text of the last trip
    ClearTrip,      // writing anything but 0 clears the channel's trip
    CurrentMinimum, // drawing less at a steady voltage is an under-current
    // of a board
    BoardStatus,
    Temperature,
    BoardVoltageLimit,
    BoardEnable, // 0: every channel of the board is disabled
    Count_
};

struct ParameterDescription {
    std::string name;
    ParamType type = ParamType::Numeric;
    Mode mode = Mode::Read;
    Role role = Role::None;
    float minimum = 0;
    float maximum = 0;
    Unit unit = Unit::None;
    int16_t exponent = 0; // the value counts in units of ten to this power
    int16_t decimals = 0;
    std::string onLabel;
    std::string offLabel;
    Value start = 0.0f;
};

// The one of that name, or null.
const ParameterDescription *findParameter(const std::vector<ParameterDescription> &parameters,
                                          const std::string &name);

struct Load {
    double ohm = std::numeric_limits<double>::infinity();
    double farad = 0; // draws current while the voltage ramps
    // Amplitude of the current's noise in steps of the read-back's resolution.
    double noise = 0;
};

// Two models may show the same name: boards that look alike need not have the
// same parameters.
struct ModelDescription {
    std::string key;  // by which boards and channels name it
    std::string name; // as the crate map shows it
    std::vector<ParameterDescription> board;
    std::vector<ParameterDescription> channel;
};

// Start values that differ from the model's, by parameter name.
using StartValues = std::map<std::string, Value>;

const Value &startOf(const ParameterDescription &parameter, const StartValues &start);

struct ChannelDescription {
    std::string name;
    Load load;
    // Key of the model whose channel parameters it has; empty: the board's.
    std::string model;
    StartValues start;
};

struct BoardDescription {
    std::string model; // key of a ModelDescription
    std::string description;
    uint16_t serialNumber = 0;
    uint8_t firmwareMajor = 0;
    uint8_t firmwareMinor = 0;
    StartValues start;
    std::vector<ChannelDescription> channels;
};

// System properties that the crate itself keeps up to date.
enum class PropertyRole : uint8_t { None, HostAddress, OutputPower, UptimeMinutes, TripCount };

struct PropertyDescription {
    std::string name;
    PropertyType type = PropertyType::Text;
    Mode mode = Mode::Read;
    PropertyRole role = PropertyRole::None;
    Value start = std::string();
};

enum class Action : uint8_t { None, KillAll, SwitchAllOff, ClearAlarms };

struct CommandDescription {
    std::string name;
    Action action = Action::None;
};

struct User {
    std::string name;
    std::string password;
};

struct CrateDescription {
    std::string name;
    std::vector<PropertyDescription> properties;
    std::vector<CommandDescription> commands;
    std::vector<User> users;
    std::vector<ModelDescription> models;
    std::vector<std::optional<BoardDescription>> slots; // empty ones included

    // The model with that key, or null.
    const ModelDescription *findModel(const std::string &key) const;
    // The model whose channel parameters a channel of the board has, or null.
    const ModelDescription *channelModel(const BoardDescription &board,
                                         const ChannelDescription &channel) const;
};

} // namespace sim
