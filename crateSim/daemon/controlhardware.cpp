// What happens to boards and channels from outside.
#include "controlfields.h"
#include "controltables.h"

namespace sim::daemon {

namespace {

using nlohmann::json;

json trip(World &world, const json &request)
{
    const bool external = boolField(request, "external", false);
    require(world.crate.tripChannel(
        addressOf(request), external ? channelbit::ExternalTrip : channelbit::InternalTrip));
    return json::object();
}

// Raises or drops a status bit from outside: "bit" counts from 0. Without a
// channel it is the board's.
json condition(World &world, const json &request)
{
    constexpr uint32_t settableOnBoard = 0xf;
    constexpr uint32_t settableOnChannel =
        channelbit::OverVoltage | channelbit::UnderVoltage | channelbit::ExternalDisable
        | channelbit::CalibrationError | channelbit::Unplugged | channelbit::UnderCurrent
        | channelbit::OverVoltageProtection | channelbit::PowerFail
        | channelbit::TemperatureError;
    const Address address = addressOf(request);
    const int32_t number = countField(request, "bit", 32);
    const uint32_t bit = number < 32 ? 1u << number : 0;
    const bool on = boolField(request, "on", true);
    const bool ofBoard = address.channel < 0;
    if ((bit & (ofBoard ? settableOnBoard : settableOnChannel)) == 0)
        throw ControlError("\"bit\" is missing or no condition that can be set");
    require(ofBoard ? world.crate.setBoardCondition(address.slot, bit, on)
                    : world.crate.setChannelCondition(address, bit, on));
    return json::object();
}

json remove(World &world, const json &request)
{
    require(world.crate.removeBoard(addressOf(request).slot));
    return json::object();
}

json insert(World &world, const json &request)
{
    require(world.crate.insertBoard(addressOf(request).slot));
    return json::object();
}

} // namespace

const CommandTable &hardwareCommands()
{
    static const CommandTable table = {
        {"condition", condition},
        {"insert", insert},
        {"remove", remove},
        {"trip", trip},
    };
    return table;
}

} // namespace sim::daemon
