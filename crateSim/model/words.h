// The words by which people know the codes of parameters and the bits of the
// status words.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "codes.h"
#include "description.h"

namespace sim {

std::string_view wordOf(ParamType type);
std::string_view wordOf(PropertyType type);
std::string_view wordOf(Mode mode);
// Empty for a parameter that is a plain store.
std::string_view wordOf(Role role);

struct StatusWord {
    uint32_t bit;
    std::string_view word;
    bool isCondition;  // comes from outside, so that it can be raised and dropped
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
