// The words by which people know the codes of a crate and the bits of the status
// words: in descriptions, at the control port.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "codes.h"
#include "description.h"

namespace sim {

// One table for each of ParamType, Mode, Unit, Role, PropertyType, PropertyRole
// and Action; there is no other instance. Codes without a word give an empty one.
template <class Code> std::string_view wordOf(Code code);
template <class Code> std::optional<Code> findWord(std::string_view word);
// All of them, separated by commas, for messages.
template <class Code> std::string allWords();

// Symbol with the prefix for the exponent, as in "uA"; empty without a unit.
std::string unitSymbol(Unit unit, int16_t exponent);

struct StatusWord {
    uint32_t bit;
    std::string_view word;
    bool isCondition; // comes from outside, so that it can be raised and dropped
};

constexpr std::array<StatusWord, 16> channelStatusWords = {{
    {channelbit::On, "on", false},
    {channelbit::RampingUp, "ramping-up", false},
    {channelbit::RampingDown, "ramping-down", false},
    {channelbit::OverCurrent, "over-current", false},
    {channelbit::OverVoltage, "over-voltage", true},
    {channelbit::UnderVoltage, "under-voltage", true},
    {channelbit::ExternalTrip, "external-trip", false},
    {channelbit::HvMax, "hv-max", false},
    {channelbit::ExternalDisable, "external-disable", true},
    {channelbit::InternalTrip, "internal-trip", false},
    {channelbit::CalibrationError, "calibration-error", true},
    {channelbit::Unplugged, "unplugged", true},
    {channelbit::UnderCurrent, "under-current", true},
    {channelbit::OverVoltageProtection, "over-voltage-protection", true},
    {channelbit::PowerFail, "power-fail", true},
    {channelbit::TemperatureError, "temperature-error", true},
}};

constexpr std::array<StatusWord, 6> boardStatusWords = {{
    {boardbit::PowerFail, "power-fail", true},
    {boardbit::FirmwareChecksum, "firmware-checksum", true},
    {boardbit::HvCalibration, "calibration-error", true},
    {boardbit::TemperatureError, "temperature-error", true},
    {boardbit::UnderTemperature, "under-temperature", false},
    {boardbit::OverTemperature, "over-temperature", false},
}};

} // namespace sim
