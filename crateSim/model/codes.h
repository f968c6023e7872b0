// Codes that a mainframe uses to describe itself, and the bits of its status
// words. They are part of the access library's interface; the model keeps its
// own names for them so that it depends on nothing.
#pragma once

#include <cstdint>

namespace sim {

enum class ParamType : uint32_t {
    Numeric = 0,
    OnOff = 1,
    ChannelStatus = 2,
    BoardStatus = 3,
    Integer = 4,
    Text = 5,
    Enumeration = 6
};

// Which members of a parameter mean something, by its type.
constexpr bool hasDecimals(ParamType type)
{
    return type == ParamType::Numeric || type == ParamType::Integer;
}
// Minimum, maximum, unit, exponent
constexpr bool hasLimits(ParamType type)
{
    return hasDecimals(type) || type == ParamType::Enumeration;
}
constexpr bool hasLabels(ParamType type) { return type == ParamType::OnOff; }

enum class Mode : uint32_t { Read = 0, Write = 1, ReadWrite = 2, None = 3 };

enum class PropertyType : uint32_t {
    Text = 0,
    Real = 1,
    UInt16 = 2,
    UInt32 = 3,
    Int16 = 4,
    Int32 = 5,
    Boolean = 6
};

enum class Unit : uint16_t {
    None = 0,
    Ampere = 1,
    Volt = 2,
    Watt = 3,
    Celsius = 4,
    Hertz = 5,
    Bar = 6,
    VoltPerSecond = 7,
    Second = 8,
    Rpm = 9,
    Count = 10
};

namespace channelbit {
constexpr uint32_t On = 1u << 0;
constexpr uint32_t RampingUp = 1u << 1;
constexpr uint32_t RampingDown = 1u << 2;
constexpr uint32_t OverCurrent = 1u << 3;
constexpr uint32_t OverVoltage = 1u << 4;
constexpr uint32_t UnderVoltage = 1u << 5;
constexpr uint32_t ExternalTrip = 1u << 6;
constexpr uint32_t HvMax = 1u << 7;
constexpr uint32_t ExternalDisable = 1u << 8;
constexpr uint32_t InternalTrip = 1u << 9;
constexpr uint32_t CalibrationError = 1u << 10;
constexpr uint32_t Unplugged = 1u << 11;
constexpr uint32_t UnderCurrent = 1u << 12;
constexpr uint32_t OverVoltageProtection = 1u << 13;
constexpr uint32_t PowerFail = 1u << 14;
constexpr uint32_t TemperatureError = 1u << 15;

// What latches until it is cleared.
constexpr uint32_t trips = ExternalTrip | InternalTrip;
// What may come from outside, besides trips; the rest is up to the channel.
constexpr uint32_t conditions = OverVoltage | UnderVoltage | ExternalDisable | CalibrationError |
                                Unplugged | UnderCurrent | OverVoltageProtection | PowerFail |
                                TemperatureError;
} // namespace channelbit

namespace boardbit {
constexpr uint32_t PowerFail = 1u << 0;
constexpr uint32_t FirmwareChecksum = 1u << 1;
constexpr uint32_t HvCalibration = 1u << 2;
constexpr uint32_t TemperatureError = 1u << 3;
constexpr uint32_t UnderTemperature = 1u << 4;
constexpr uint32_t OverTemperature = 1u << 5;

constexpr uint32_t conditions = PowerFail | FirmwareChecksum | HvCalibration | TemperatureError |
                                UnderTemperature | OverTemperature;
} // namespace boardbit

// Longest names without their NUL; the access library has no room for more.
constexpr unsigned maxParameterName = 9;
constexpr unsigned maxChannelName = 11;
constexpr unsigned maxPropertyName = 19;
constexpr unsigned maxText = 1023;

// Bytes of a name or text with its NUL.
constexpr unsigned parameterSlot = maxParameterName + 1;
constexpr unsigned channelSlot = maxChannelName + 1;
constexpr unsigned textSize = maxText + 1;

} // namespace sim
