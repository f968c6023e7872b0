#include "defaultcrate.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace sim {

namespace {

constexpr float word = 65535; // upper limit of a 16-bit pattern

using Parameters = std::vector<ParameterDescription>;

ParameterDescription numeric(const char *name, Mode mode, Role role, float minimum, float maximum,
                             Unit unit, int16_t exponent, int16_t decimals, float start)
{
    return {name, ParamType::Numeric, mode,     role, minimum, maximum,
            unit, exponent,           decimals, "",   "",      start};
}

ParameterDescription onOff(const char *name, Mode mode, Role role, const char *onLabel,
                           const char *offLabel, uint32_t start)
{
    return {name, ParamType::OnOff, mode, role, 0, 1, Unit::None, 0, 0, onLabel, offLabel, start};
}

ParameterDescription integer(const char *name, ParamType type, Mode mode, Role role, float maximum,
                             int32_t start)
{
    return {name, type, mode, role, 0, maximum, Unit::None, 0, 0, "", "", start};
}

ParameterDescription text(const char *name, Mode mode, Role role, const char *start)
{
    return {name, ParamType::Text, mode, role, 0, 0, Unit::None, 0, 0, "", "", std::string(start)};
}

// What distinguishes the three models electrically.
struct Rating {
    const char *model;
    float volts;
    float currentLimit; // in the unit of currentExponent
    int16_t currentExponent;
    int16_t voltageDecimals;
    int16_t currentDecimals;
    float startLimit;
    float rampLimit;
};

constexpr Rating ratings[] = {
    {"ZA12P", 3000, 3000, -6, 1, 2, 1000, 500},
    {"ZA24N", 8000, 500, -6, 1, 3, 200, 800},
    {"ZA48L", 500, 20, -3, 2, 3, 10, 100},
};

Parameters channelParameters(const Rating &r)
{
    using P = ParamType;
    const auto amps = r.currentExponent;
    return {
        numeric("VSet", Mode::ReadWrite, Role::VoltageSet, 0, r.volts, Unit::Volt, 0,
                r.voltageDecimals, 0),
        numeric("ISet", Mode::ReadWrite, Role::CurrentSet, 0, r.currentLimit, Unit::Ampere, amps,
                r.currentDecimals, r.startLimit),
        numeric("VMon", Mode::Read, Role::Voltage, 0, r.volts, Unit::Volt, 0, r.voltageDecimals, 0),
        numeric("IMon", Mode::Read, Role::Current, 0, r.currentLimit, Unit::Ampere, amps,
                r.currentDecimals, 0),
        numeric("SVMax", Mode::ReadWrite, Role::VoltageLimit, 0, r.volts, Unit::Volt, 0, 0,
                r.volts),
        numeric("RUp", Mode::ReadWrite, Role::RampUp, 1, r.rampLimit, Unit::VoltPerSecond, 0, 0,
                50),
        numeric("RDwn", Mode::ReadWrite, Role::RampDown, 1, r.rampLimit, Unit::VoltPerSecond, 0, 0,
                100),
        numeric("Trip", Mode::ReadWrite, Role::TripTime, 0, 1000, Unit::Second, 0, 1, 1),
        onOff("Pw", Mode::ReadWrite, Role::Power, "On", "Off", 0),
        onOff("PDwn", Mode::ReadWrite, Role::PowerDown, "Ramp", "Kill", 1),
        onOff("POn", Mode::ReadWrite, Role::None, "Enabled", "Disabled", 0),
        onOff("ClrTrip", Mode::Write, Role::ClearTrip, "Clear", "Idle", 0),
        integer("Status", P::ChannelStatus, Mode::Read, Role::Status, 0, 0),
        integer("Trip Int", P::Integer, Mode::ReadWrite, Role::None, word, 0),
        integer("TripExt", P::Integer, Mode::ReadWrite, Role::None, word, 0),
        integer("Inputs", P::Integer, Mode::Read, Role::None, word, 0),
        integer("Range", P::Enumeration, Mode::ReadWrite, Role::None, 1, 0),
        text("LastTrip", Mode::Read, Role::TripCause, ""),
        text("Comment", Mode::ReadWrite, Role::None, ""),
        numeric("Factory", Mode::None, Role::None, 0, 0, Unit::None, 0, 0, 0),
    };
}

Parameters boardParameters(const Rating &r)
{
    using P = ParamType;
    return {
        integer("BdStatus", P::BoardStatus, Mode::Read, Role::BoardStatus, 0, 0),
        numeric("HVMax", Mode::Read, Role::BoardVoltageLimit, 0, r.volts, Unit::Volt, 0, 0,
                r.volts),
        numeric("Temp", Mode::Read, Role::Temperature, -20, 120, Unit::Celsius, 0, 1, 27),
        numeric("Fan Speed", Mode::ReadWrite, Role::None, 0, 6000, Unit::Rpm, 0, 0, 2400),
        onOff("BdEnable", Mode::ReadWrite, Role::BoardEnable, "Enabled", "Disabled", 1),
        onOff("Interlck", Mode::Read, Role::None, "Open", "Closed", 0),
        onOff("Identify", Mode::Write, Role::None, "Blink", "Steady", 0),
        integer("AlarmMsk", P::Integer, Mode::ReadWrite, Role::None, word, 0x3f),
        integer("Jumpers", P::Integer, Mode::Read, Role::None, word, 5),
        integer("FanMode", P::Enumeration, Mode::ReadWrite, Role::None, 2, 0),
        text("PartNr", Mode::Read, Role::None, "ZA-0417-B"),
        numeric("Factory", Mode::None, Role::None, 0, 0, Unit::None, 0, 0, 0),
    };
}

// Every third channel of a board draws more than its start limit at full
// voltage, so that it can be brought to trip; the last one is not connected.
ChannelDescription channelOf(const Rating &r, size_t index, size_t count, double noise)
{
    char name[maxChannelName + 1];
    std::snprintf(name, sizeof name, "CHANNEL%02u", static_cast<unsigned>(index % 100));
    ChannelDescription channel;
    channel.name = name;
    if (index + 1 == count)
        return channel;
    const double ampsAtLimit =
        static_cast<double>(r.startLimit) * (r.currentExponent == -6 ? 1e-6 : 1e-3);
    const double share = index % 3 == 2 ? 1.6 : 0.4;
    channel.load.ohm = std::round(static_cast<double>(r.volts) / (ampsAtLimit * share));
    channel.load.noise = noise;
    return channel;
}

struct Placement {
    size_t slot;
    size_t rating;
    size_t channels;
    const char *description;
    uint16_t serialNumber;
    uint8_t firmwareMajor;
    uint8_t firmwareMinor;
    double noise;
};

constexpr size_t slots = 16;
constexpr Placement placements[] = {
    {0, 0, 12, "12 channels 3 kV 3 mA", 101, 1, 4, 0},
    {2, 1, 24, "24 channels -8 kV 0.5 mA", 202, 3, 5, 1.2},
    {3, 2, 48, "48 channels 500 V 20 mA", 65001, 2, 10, 0},
    {7, 1, 24, "24 channels -8 kV 0.5 mA", 203, 3, 5, 0},
    {15, 0, 12, "12 channels 3 kV 3 mA", 102, 1, 4, 0},
};

BoardDescription boardOf(const Placement &placement)
{
    const Rating &rating = ratings[placement.rating];
    BoardDescription board{rating.model,
                           placement.description,
                           placement.serialNumber,
                           placement.firmwareMajor,
                           placement.firmwareMinor,
                           {},
                           {}};
    for (size_t index = 0; index < placement.channels; ++index)
        board.channels.push_back(channelOf(rating, index, placement.channels, placement.noise));
    return board;
}

std::vector<PropertyDescription> systemProperties()
{
    using T = PropertyType;
    using R = PropertyRole;
    return {
        {"ModelName", T::Text, Mode::Read, R::None, std::string("ZC16")},
        {"SwRelease", T::Text, Mode::Read, R::None, std::string("1.00.04")},
        {"IPAddr", T::Text, Mode::Read, R::HostAddress, std::string("127.0.0.1")},
        {"Location", T::Text, Mode::ReadWrite, R::None, std::string("Test stand")},
        {"OutPower", T::Real, Mode::Read, R::OutputPower, 0.0f},
        {"PowerLimit", T::Real, Mode::ReadWrite, R::None, 600.0f},
        {"TripCount", T::UInt16, Mode::Read, R::TripCount, 0u},
        {"ResFlag", T::UInt16, Mode::ReadWrite, R::None, 0u},
        {"Uptime", T::UInt32, Mode::Read, R::UptimeMinutes, 0u},
        {"AlarmMask", T::UInt32, Mode::ReadWrite, R::None, 0xffu},
        {"FanTrim", T::Int16, Mode::ReadWrite, R::None, int32_t{-5}},
        {"ClockShift", T::Int32, Mode::ReadWrite, R::None, int32_t{0}},
        {"Interlock", T::Boolean, Mode::Read, R::None, int32_t{0}},
        {"RemoteOnly", T::Boolean, Mode::ReadWrite, R::None, int32_t{1}},
        {"PanelLock", T::Boolean, Mode::Write, R::None, int32_t{0}},
        {"FactoryCode", T::UInt32, Mode::None, R::None, 0u},
    };
}

} // namespace

CrateDescription defaultCrate()
{
    CrateDescription crate;
    crate.name = "ZC16";
    crate.properties = systemProperties();
    crate.commands = {{"Kill", Action::KillAll},
                      {"ClearAlarm", Action::ClearAlarms},
                      {"AllOff", Action::SwitchAllOff}};
    crate.users = {{"admin", "admin"}};
    for (const auto &rating : ratings)
        crate.models.push_back(
            {rating.model, rating.model, boardParameters(rating), channelParameters(rating)});
    crate.slots.resize(slots);
    for (const auto &placement : placements)
        crate.slots[placement.slot] = boardOf(placement);
    return crate;
}

} // namespace sim
